// Loading and saving whole configurations, with files on disk. A save is measured in real time, which holds its
// waiting for the disk; a load, whose file the system has in memory, in processor time.

#include "Measure.h"
#include "Plant.h"
#include "platform/portable/DiskFiles.h"

#include <unistd.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <unordered_map>

namespace orvo::bench {

namespace {

// A folder for the files of one benchmark, gone with it.
class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvo-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { std::filesystem::remove_all(path_); }

  std::string File(const char* name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// A server on the bench driver whose files are on disk.
class DiskPlant {
 public:
  DiskPlant() {
    drivers_.Register(BenchDriver::ProgId, [](DriverHost host) { return std::make_shared<BenchDriver>(host); });
    std::ofstream(folder.File("bench.ini")) << DriverFile(BenchDriver::ProgId);
    server = KELDataServer::Create({platform_, files_, drivers_});
    server->SetDriverConfigurationFile(folder.File("bench.ini"));
    server->PutDeviceType(2);
  }

  std::size_t ItemCount() const {
    std::size_t count = 0;
    for (const auto& group : server->KELDataGroups()->NewEnum())
      count += static_cast<std::size_t>(group->ItemCount());
    return count;
  }

  Folder folder;

 private:
  SimulatedPlatform platform_;
  DiskFiles files_;
  DriverRegistry drivers_;

 public:
  std::shared_ptr<KELDataServer> server;
};

// A configuration of so many items, as a save writes it.
void WriteConfiguration(const std::string& fileName, std::size_t items) {
  Plant plant(items);
  plant.AddGroups();
  plant.AddItems();
  plant.server->SaveConfigurationToFile("plant.cfg");
  std::ofstream(fileName, std::ios::binary) << plant.files.ReadWhole("plant.cfg");
}

void ReportMilliseconds(benchmark::State& state) {
  state.counters["figure"] =
      benchmark::Counter(1e-3, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Load(benchmark::State& state) {
  DiskPlant plant;
  const std::string file = plant.folder.File("plant.cfg");
  WriteConfiguration(file, ItemsOf(state));
  for (auto _ : state)
    plant.server->LoadConfigurationFromFile(file, Variant(false));
  if (plant.ItemCount() != ItemsOf(state)) state.SkipWithError("not every item was loaded");
  ReportMilliseconds(state);
}

void Save(benchmark::State& state) {
  DiskPlant plant;
  const std::string file = plant.folder.File("plant.cfg");
  WriteConfiguration(file, ItemsOf(state));
  plant.server->LoadConfigurationFromFile(file, Variant(false));
  const std::string saved = plant.folder.File("saved.cfg");
  for (auto _ : state)
    plant.server->SaveConfigurationToFile(saved);
  if (std::filesystem::file_size(saved) != std::filesystem::file_size(file))
    state.SkipWithError("what was saved is not what was loaded");
  ReportMilliseconds(state);
}

// The file cut into lines and fields, its numbers read, a record per item under its name.
void PlainLoad(benchmark::State& state) {
  struct Record {
    std::string identifier;
    std::array<double, 6> numbers{};
    bool isSigned = false;
    bool bcd = false;
  };
  const Folder folder;
  const std::string file = folder.File("plant.cfg");
  WriteConfiguration(file, ItemsOf(state));
  for (auto _ : state) {
    std::ifstream input(file, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(input)), std::istreambuf_iterator<char>());
    std::unordered_map<std::string, std::unordered_map<std::string, Record>> groups;
    std::unordered_map<std::string, Record>* group = nullptr;
    for (std::size_t begin = 0; begin < text.size();) {
      const std::size_t end = text.find("\r\n", begin);
      std::string_view line = std::string_view(text).substr(begin, end - begin);
      begin = end + 2;
      if (line.starts_with('[')) {
        group = &groups[std::string(line)];
        continue;
      }
      const std::size_t equals = line.find('=');
      Record& record = (*group)[std::string(line.substr(0, equals))];
      line.remove_prefix(equals + 1);
      for (std::size_t field = 0; !line.empty(); ++field) {
        const std::string_view part = line.substr(0, line.find('#'));
        line.remove_prefix(std::min(line.size(), part.size() + 1));
        if (field == 0)
          record.identifier = part;
        else if (field < 6)
          std::from_chars(part.data(), part.data() + part.size(), record.numbers[field]);
        else
          (field == 6 ? record.isSigned : record.bcd) = part == "True";
      }
    }
    benchmark::DoNotOptimize(groups.size());
  }
  ReportMilliseconds(state);
}

// The same number of bytes made of texts and numbers, written and made durable.
void PlainSave(benchmark::State& state) {
  const Folder folder;
  const std::string file = folder.File("plant.cfg");
  DiskFiles files;
  for (auto _ : state) {
    std::string text;
    for (std::size_t index = 0; index < ItemsOf(state); ++index) {
      std::array<char, 24> number{};
      const auto append = [&](double value) {
        const auto end = std::to_chars(number.data(), number.data() + number.size(), value).ptr;
        text.append(number.data(), end).append("#");
      };
      text.append("Item_").append(std::to_string(index + 1)).append("=");
      text.append(Identifier(index, index)).append("#");
      append(0);
      append(0);
      append(KindOfItem(index).words);
      append(static_cast<double>(index) + 1);
      append(0);
      text.append("False#False#\r\n");
    }
    ReplaceWhole(files, file, text);
  }
  ReportMilliseconds(state);
}

BENCHMARK(Load)->Apply(Sizes);
BENCHMARK(PlainLoad)->Apply(Sizes);
BENCHMARK(Save)->Apply(Sizes)->UseRealTime();
BENCHMARK(PlainSave)->Apply(Sizes)->UseRealTime();

}  // namespace

}  // namespace orvo::bench
