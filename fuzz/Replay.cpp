// Replays inputs:  fuzz_replay TARGET FOLDER|FILE...
//
// Each file of the folders is one input. Prints how many were replayed. Exit code 2 for a target that does not
// exist and for a folder that is missing or empty; a property that does not hold ends the program as it does
// under the fuzzer.
#include "Property.h"
#include "Targets.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct TargetRow {
  std::string_view name;
  orvo::fuzz::TargetFunction run;
};

constexpr std::array TargetTable{
#define ORVO_FUZZ_ROW(name, function) TargetRow{#name, orvo::fuzz::function},
#include "Targets.inc"
#undef ORVO_FUZZ_ROW
};

std::vector<std::uint8_t> Content(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// The files of a folder in the order of their names, or the file itself.
std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& place) {
  if (std::filesystem::is_regular_file(place)) return {place};
  std::vector<std::filesystem::path> files;
  if (!std::filesystem::is_directory(place)) return files;
  for (const auto& entry : std::filesystem::directory_iterator(place))
    if (entry.is_regular_file()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int count, char** arguments) {
  const std::vector<std::string> words(arguments + 1, arguments + count);
  if (words.size() < 2) {
    std::fputs("usage: fuzz_replay TARGET FOLDER|FILE...\n", stderr);
    return 2;
  }
  const auto target = std::find_if(TargetTable.begin(), TargetTable.end(),
                                   [&](const TargetRow& row) { return row.name == words.front(); });
  if (target == TargetTable.end()) {
    std::fprintf(stderr, "there is no target '%s'\n", words.front().c_str());
    return 2;
  }
  std::size_t replayed = 0;
  for (std::size_t k = 1; k < words.size(); ++k) {
    const std::vector<std::filesystem::path> files = FilesOf(words[k]);
    if (files.empty()) {
      std::fprintf(stderr, "'%s' is missing or empty: nothing was replayed from it\n", words[k].c_str());
      return 2;
    }
    for (const std::filesystem::path& file : files) {
      // Told before, so that the last line names the file that ended the program.
      std::fprintf(stderr, "%s\n", file.c_str());
      const std::vector<std::uint8_t> bytes = Content(file);
      orvo::fuzz::RunTarget(target->run, bytes.data(), bytes.size());
      ++replayed;
    }
  }
  std::printf("%s: %zu inputs, every property holds\n", words.front().c_str(), replayed);
}
