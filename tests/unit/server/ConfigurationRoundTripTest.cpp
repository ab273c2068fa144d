// Configurations that are saved, loaded into a new server and saved again: nothing gets lost but a byte of each
// buffer.

#include "server/SavedConfiguration.h"
#include "unit/server/ConfigurationFixture.h"
#include "values/Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <random>
#include <set>
#include <vector>

namespace orvo::testing {
namespace {

class ConfigurationRoundTrip : public ConfigurationTest {
 protected:
  void SetUp() override { Renew(); }
  // A new server with a new driver, whose device takes every identifier and whose questions all say yes.
  void Renew(std::int32_t status = StatusStopped) {
    plant.reset();
    plant = std::make_unique<Plant>();
    Driver().groupCapacity = 1'000'000;
    Driver().prepareDevice = [](ScriptedDevice& device) {
      device.compile = [](const std::string&, double& address, std::int32_t& words, std::int32_t& type) {
        address = 1;
        words = 1;
        type = 0;
        return true;
      };
    };
    BringTo(status);
  }
};

class RandomConfiguration {
 public:
  explicit RandomConfiguration(std::uint64_t seed) : random_(seed) {}

  void Build(KELDataServer& server, ScriptedDriver& driver) {
    driver.baudRate = Number();
    driver.comPortNumber = Number();
    driver.wordIO = static_cast<std::int16_t>(Number());
    driver.timeout = static_cast<std::int16_t>(Number());
    server.PutDeviceType(Chance() ? 1 : 2);
    server.SetDeviceName(Text(&IsCarriedAsValue));
    server.PutAutoDownloadFirmware(Chance());
    server.PutAutoDownloadProject(Chance());
    std::set<std::string> names;
    for (int left = Below(5); left > 0; --left)
      Build(*server.KELDataGroups()->Add(Name(names)));
  }

 private:
  void Build(KELDataGroup& group) {
    group.PutActive(Chance());
    group.PutSubscribed(Chance());
    group.PutUpdateRate(std::max(0, Number()));
    group.SetGroupId(Number());
    if (Chance()) group.SetCompiledBufferDimension(Below(2000));
    std::set<std::string> names;
    for (int left = Below(8); left > 0; --left) {
      const auto item = group.KELDataItems()->Add(Text(&IsCarried), Variant(Name(names)));
      item->SetItemType(Number());
      item->SetItemGroupBufferOffset(Number());
      group.Items().ResizeItem(*item, Below(40000));
      item->SetCompiledAddress(Address());
      item->SetAccessRights(Number());
      if (Chance()) Chance() ? item->PutSigned(true) : item->PutBCD(true);
    }
  }
  int Below(int end) { return std::uniform_int_distribution<int>(0, end - 1)(random_); }
  bool Chance() { return Below(2) == 0; }
  std::int32_t Number() {
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
    const std::vector<std::int32_t> edges = {0, 1, -1, lowest, highest};
    if (Below(4) == 0) return edges[static_cast<std::size_t>(Below(5))];
    return std::uniform_int_distribution<std::int32_t>(lowest, highest)(random_);
  }
  double Address() {
    using Limits = std::numeric_limits<double>;
    const std::vector<double> edges = {0.0,           -0.0,          1e308,
                                       -1e308,        Limits::min(), Limits::denorm_min(),
                                       5e-310,        Limits::max(), Limits::infinity(),
                                       0.1,           1.0 / 3,       -Limits::infinity(),
                                       1e15,          1e16 + 2,      Limits::quiet_NaN(),
                                       4294967296.75, 123456789.0,   -Limits::quiet_NaN()};
    if (Chance()) return edges[static_cast<std::size_t>(Below(static_cast<int>(edges.size())))];
    const double any = std::bit_cast<double>(random_());
    return any != any ? 1.5 : any;
  }
  // Texts of 0 to 11 characters, most of which would mean something elsewhere in the file.
  std::string Text(bool (*carried)(std::string_view) noexcept) {
    static const std::vector<std::string> characters = {
        "a", "B", "7", " ", " ",      ",",      ";",      ":",          ".",          "\"",           "'",
        "%", "-", "0", "=", "#",      "[",      "]",      "\\",         "/",          "\t",           "True",
        "Ä", "ä", "ß", "İ", "\u00A0", "\u0416", "\u0436", "\u6F22",     "\u2028",     "\U0001F600",   "e\u0301",
        "~", "!", "&", "|", "Groups", "Group:", "\uFEFF", "\U00010400", "\U00010428", "\xEF\xBF\xBD", "\u0080"};
    for (;;) {
      std::string text;
      for (int left = Below(12); left > 0; --left)
        text += characters[static_cast<std::size_t>(Below(static_cast<int>(characters.size())))];
      if (carried(text)) return text;
    }
  }
  std::string Name(std::set<std::string>& used) {
    for (;;) {
      std::string name = Text(&IsCarried);
      if (used.insert(FoldCase(name)).second) return name;
    }
  }

  std::mt19937_64 random_;
};

// What a buffer's upper bound becomes in one cycle.
std::size_t Fallen(std::size_t upperBound) {
  return upperBound == 0 ? 0 : upperBound - 1;
}

std::string AfterOneCycle(const std::string& saved) {
  std::string text;
  bool groups = false;
  for (std::size_t at = 0; at < saved.size();) {
    const std::size_t end = saved.find("\r\n", at) + 2;
    std::string line = saved.substr(at, end - at);
    at = end;
    if (line.front() == '[') {
      groups = line == "[Groups]\r\n";
    } else if (groups && std::count(line.begin(), line.end(), '#') == 5) {
      const std::size_t last = line.rfind('#');
      const std::size_t field = line.rfind('#', last - 1) + 1;
      line.replace(field, last - field, std::to_string(Fallen(std::stoul(line.substr(field, last - field)))));
    }
    text += line;
  }
  return text;
}

// Everything that a file holds, one line per fact; buffers as they are after `cycles` more cycles (0 or 1).
std::vector<std::string> Facts(KELDataServer& server, int cycles) {
  std::vector<std::string> facts = {std::to_string(server.BaudRate()),
                                    std::to_string(server.ComPortNumber()),
                                    std::to_string(server.DeviceType()),
                                    server.DeviceName(),
                                    std::to_string(server.WordIO()),
                                    std::to_string(server.Timeout()),
                                    std::to_string(server.AutoDownloadFirmware()),
                                    std::to_string(server.AutoDownloadProject())};
  const auto add = [&](const std::string& name, const std::string& value) { facts.push_back(name + value); };
  for (const auto& group : server.KELDataGroups()->NewEnum()) {
    add("group ", group->GroupName());
    add("active ", std::to_string(group->Active()));
    add("subscribed ", std::to_string(group->Subscribed()));
    add("rate ", std::to_string(group->UpdateRate()));
    add("id ", std::to_string(group->GroupId()));
    add("handle ", std::to_string(group->Handle()));
    add("words ", std::to_string(group->KELDataItems()->TotalWordLength()));
    const std::size_t size = group->CompiledBuffer().Size();
    add("buffer ", std::to_string(size == 0 || cycles == 0 ? size : Fallen(size - 1) + 1));
    for (const auto& item : group->KELDataItems()->NewEnum()) {
      add("item ", item->ItemName());
      add("identifier ", item->ItemId());
      add("handle ", std::to_string(item->Handle()));
      add("type ", std::to_string(item->ItemType()));
      add("offset ", std::to_string(item->ItemGroupBufferOffset()));
      add("words ", std::to_string(item->ItemWordLength()));
      add("address ", std::to_string(std::bit_cast<std::uint64_t>(item->CompiledAddress())));
      add("rights ", std::to_string(item->AccessRights()));
      add("signed ", std::to_string(item->Signed()));
      add("decimal ", std::to_string(item->BCD()));
    }
  }
  return facts;
}

TEST_F(ConfigurationRoundTrip, AThousandRandomConfigurationsComeBackButForTheLastByteOfTheirBuffers) {
  const char* const replay = std::getenv("ORVO_SEED");
  const std::uint64_t first = replay != nullptr ? std::strtoull(replay, nullptr, 10) : std::random_device()();
  const std::uint64_t count = replay != nullptr ? 1 : 1000;
  std::cout << "ORVO_SEED=" << first << " and the " << count - 1 << " that follow\n";
  for (std::uint64_t seed = first; seed != first + count && !HasFailure(); ++seed) {
    SCOPED_TRACE("ORVO_SEED=" + std::to_string(seed));
    Renew();
    RandomConfiguration(seed).Build(Server(), Driver());
    const std::string saved = Saved();
    const std::vector<std::string> expected = Facts(Server(), 1);
    Renew(seed % 2 == 0 ? StatusStopped : StatusNotConfigured);
    Put(saved);
    ASSERT_EQ(LoadStrictly(), "none");
    EXPECT_EQ(Facts(Server(), 0), expected);
    EXPECT_EQ(Saved(), AfterOneCycle(saved));
  }
}

TEST_F(ConfigurationRoundTrip, AHundredThousandItemsOfEightGroupsComeBack) {
  for (int g = 0; g < 8; ++g) {
    const auto items = Server().KELDataGroups()->Add("Group " + std::to_string(g))->KELDataItems();
    for (int k = 0; k < 12'500; ++k)
      items->Add("WO" + std::to_string(k), Variant("Item " + std::to_string(k)));
  }
  const std::string saved = Saved();
  Renew();
  Put(saved);
  ASSERT_EQ(LoadStrictly(), "none");
  for (const auto& group : Server().KELDataGroups()->NewEnum()) {
    EXPECT_EQ(group->KELDataItems()->Count(), 12'500);
    EXPECT_EQ(Item(group->GroupName(), "Item 12499")->ItemId(), "WO12499");
  }
  EXPECT_TRUE(Saved() == saved);
}

TEST_F(ConfigurationRoundTrip, ItemsWithoutAnIdentifierAreSavedButDoNotComeBack) {
  plant = std::make_unique<Plant>();  // a device that refuses an empty identifier
  BringTo(StatusStopped);
  const auto items = Server().KELDataGroups()->Add("G")->KELDataItems();
  items->Add("WO1", Variant("before"));
  items->AddCompiled("compiled");
  items->Add("WO2", Variant("after"));
  const std::string saved = Saved();
  EXPECT_NE(saved.find("\r\ncompiled=#0#0#0#0#0#False#False#\r\n"), std::string::npos);
  Put(saved);
  EXPECT_EQ(LoadStrictly(), Own(errInvalidItemId, ": Group Name= GGroupHandle: 1"));
  EXPECT_EQ(Group("G")->KELDataItems()->Count(), 1);
  EXPECT_EQ(ErrorOf([&] { Load(); }), "none");
  EXPECT_EQ(Group("G")->KELDataItems()->Count(), 2);
  EXPECT_EQ(Item("G", "before")->ItemId(), "WO1");
  EXPECT_EQ(Item("G", "after")->ItemId(), "WO2");
}

TEST_F(ConfigurationRoundTrip, FlagsAndOffsetsThatAreNotTheirInitialOnesAreLoaded) {
  Put(std::string(Parameters) +
      "AutoDownloadFirmware=True\nAutoDownloadProject=True\n[Groups]\nG=False#True#0#0#\n[Group:G]\n"
      "s=WO1#0#6#1#1#2#True#False#\nb=WO2#0#-8#1#2#3#False#True#\nboth=WO3#0#10#1#3#0#True#True#\n");
  ASSERT_EQ(LoadStrictly(), "none");
  EXPECT_TRUE(Server().AutoDownloadFirmware());
  EXPECT_TRUE(Server().AutoDownloadProject());
  struct Row {
    const char* name;
    std::int32_t offset, rights;
    bool isSigned, isBcd;
  };
  // The later field wins where both are set.
  for (const Row& row :
       {Row{"s", 6, 2, true, false}, {"b", -8, 3, false, true}, {"both", 10, 0, false, true}}) {
    SCOPED_TRACE(row.name);
    const auto item = Item("G", row.name);
    EXPECT_EQ(item->ItemGroupBufferOffset(), row.offset);
    EXPECT_EQ(item->AccessRights(), row.rights);
    EXPECT_EQ(item->Signed(), row.isSigned);
    EXPECT_EQ(item->BCD(), row.isBcd);
  }
}

}  // namespace
}  // namespace orvo::testing
