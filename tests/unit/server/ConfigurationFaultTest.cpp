// Loads of files that were cut, and loads during which the driver fails.

#include "unit/server/ConfigurationFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

namespace orvo::testing {
namespace {

class ConfigurationFault : public ConfigurationTest {
 protected:
  void SetUp() override {}
  // A new server at status 2 with a group that every load removes.
  void Renew() {
    plant.reset();
    ASSERT_EQ(AutomationObject::LiveCount(), 0);
    plant = std::make_unique<Plant>();
    BringTo(StatusStopped);
    Server().KELDataGroups()->Add("before");
  }
  std::string LoadIgnoring() {
    return ErrorOf([this] { Load(); });
  }
  std::int32_t Groups() { return Server().KELDataGroups()->Count(); }
  std::int32_t Items() {
    std::int32_t count = 0;
    for (const auto& group : Server().KELDataGroups()->NewEnum())
      count += group->KELDataItems()->Count();
    return count;
  }
};

bool IsKnown(std::int32_t number) {
  return FindDataError(number) != nullptr ||
         std::any_of(RuntimeErrorTable.begin(), RuntimeErrorTable.end(), [&](const RuntimeErrorRow& row) {
           return static_cast<std::int32_t>(row.error) == number;
         });
}

TEST_F(ConfigurationFault, AFileCutAtAnyByteLoadsItsWholeLinesOrFailsWithAKnownError) {
  Renew();
  Server().KELDataGroups()->RemoveAll();
  Server().SetDeviceName("Pr\xC3\xBC\x66stand");
  for (const std::string name : {"\xC3\x84 one", "two"}) {
    const auto group = Server().KELDataGroups()->Add(name);
    group->PutUpdateRate(500);
    group->PutActive(true);
    group->SetCompiledBufferDimension(12);
    group->KELDataItems()->Add("WO100", "f\xC3\xBCnf")->SetCompiledAddress(1.5e-7);
    group->KELDataItems()->Add("DW102")->PutSigned(true);
  }
  const std::string saved = Saved();
  const std::size_t header = std::string("[Communication Parameters]").size();
  const auto wholeLines = [&](std::size_t cut, const std::vector<std::string>& lines) {
    std::int32_t count = 0;
    std::size_t at = saved.find("[Groups]");
    for (const std::string& line : lines) {
      at = saved.find("\r\n" + line + "=", at) + 2;
      if (saved.find("\r\n", at) <= cut) ++count;
    }
    return count;
  };
  int strictFailures = 0;
  for (std::size_t cut = 0; cut <= saved.size(); ++cut) {
    SCOPED_TRACE(cut);
    Renew();
    Put(saved.substr(0, cut));
    const std::int32_t strictly =
        ErrorNumberOf([&] { Server().LoadConfigurationFromFile("set.ini", Variant(false)); });
    EXPECT_TRUE(strictly == 0 || IsKnown(strictly)) << strictly;
    if (strictly != 0) ++strictFailures;
    Renew();
    Put(saved.substr(0, cut));
    if (cut < header) {
      EXPECT_EQ(LoadIgnoring(), Own(errInvalidFileFormat, "set.ini"));
      EXPECT_EQ(strictly, errInvalidFileFormat);
      EXPECT_EQ(Groups(), 1);
      continue;
    }
    EXPECT_EQ(LoadIgnoring(), "none");
    const std::int32_t groups = wholeLines(cut, {"\xC3\x84 one", "two"});
    const std::int32_t items = wholeLines(cut, {"f\xC3\xBCnf", "Item_1", "f\xC3\xBCnf", "Item_1"});
    EXPECT_GE(Groups(), groups);
    EXPECT_LE(Groups(), groups + 1);
    EXPECT_GE(Items(), items);
    EXPECT_LE(Items(), items + 1);
  }
  EXPECT_EQ(Groups(), 2);
  EXPECT_EQ(Items(), 4);
  // Beside the header: an empty number, half a boolean, half an identifier, a refused port.
  EXPECT_GT(strictFailures, static_cast<int>(header));
  plant.reset();
  EXPECT_EQ(AutomationObject::LiveCount(), 0);
}

// Two groups, three items; port and baud rate are not those that the driver has.
constexpr const char* Whole =
    "[Communication Parameters]\nBaudRate=19200\nComPortNumber=2\nDeviceType=2\nDeviceName=n\nQZPar1=5\n"
    "QZPar2=6\nAutoDownloadFirmware=True\nAutoDownloadProject=True\n[Groups]\nA=True#True#250#1#\nB=False#\n"
    "[Group:A]\na=WO1#\nb=WO2#\n[Group:B]\nc=WO3#\n";

struct Outcome {
  std::string strictly;
  std::int32_t groups, items;  // with errors ignored
};

TEST_F(ConfigurationFault, ADriverThatFailsAtAnyCallOfALoadHasTheOutcomeOfThatStep) {
  // By operation and number of the call.
  const std::string port = Own(errCommunication, "Can't set COM port");
  const std::string rate = Own(errCommunication, "Can't set Baudrate");
  const std::string line = Own(errCommunication, "line");
  const std::string activation = Own(errInternal, "4:line\r\n:DataGroup.Active(GroupName=A,NewValue=True");
  const std::string size = Own(errInternal, "4:line\r\n:Server.LoadConfigurationFromFile(FileName=set.ini");
  const auto refused = [](const std::string& item, const std::string& group) {
    return Own(errInvalidItemId,
               item + ": Group Name= " + group + "GroupHandle: " + (group == "A" ? "1" : "2"));
  };
  const std::map<std::string, Outcome> outcomes = {
      {"SetConfigurationMode 1", {"none", 2, 3}},
      {"PutProjectName 1", {"none", 2, 3}},
      {"PutComPortNumber 1", {port, 2, 3}},
      {"ComPortNumber 1", {port, 2, 3}},
      {"PutBaudRate 1", {rate, 2, 3}},
      {"BaudRate 1", {rate, 2, 3}},
      // The device object is gone, and without one no item can be added.
      {"CreateDevice 1", {Own(errInternal, "4:line\r\n:Server.DeviceType(NewValue=2"), 2, 0}},
      {"PutWordIO 1", {line, 2, 3}},
      {"PutTimeout 1", {line, 2, 3}},
      {"GroupCapacity 1", {activation, 2, 3}},
      // Asked again when the active group gets its update rate.
      {"GroupCapacity 2", {activation, 2, 3}},
      {"CheckVariable 1", {refused("WO1", "A"), 2, 2}},
      {"CheckVariable 2", {refused("WO2", "A"), 2, 2}},
      {"CheckVariable 3", {size, 2, 3}},
      {"CheckVariable 4", {refused("WO3", "B"), 2, 2}},
      {"CheckVariable 5", {size, 2, 3}}};
  Renew();
  Put(Whole);
  Driver().logQuestions = true;
  ASSERT_EQ(LoadStrictly(), "none");
  std::map<std::string, int> calls;
  std::vector<std::pair<std::string, int>> steps;
  for (const std::string& entry : Driver().log) {
    const std::string operation = entry.substr(0, entry.find('('));
    steps.emplace_back(operation, ++calls[operation]);
  }
  EXPECT_EQ(steps.size(), outcomes.size());
  for (const auto& [operation, number] : steps) {
    const std::string step = operation + " " + std::to_string(number);
    SCOPED_TRACE(step);
    const auto row = outcomes.find(step);
    if (row == outcomes.end()) {
      ADD_FAILURE() << "no outcome is known";
      continue;
    }
    for (const bool ignore : {false, true}) {
      Renew();
      Put(Whole);
      const auto left = std::make_shared<int>(number);
      Driver().during[operation] = [left] {
        if (--*left == 0) throw AutomationError(4, "line");
      };
      EXPECT_EQ(ignore ? LoadIgnoring() : LoadStrictly(), ignore ? "none" : row->second.strictly);
      if (!ignore && row->second.strictly != "none") continue;
      EXPECT_EQ(Groups(), row->second.groups);
      EXPECT_EQ(Items(), row->second.items);
      EXPECT_EQ(Server().DeviceName(), "n");
      EXPECT_TRUE(Server().AutoDownloadProject());
      EXPECT_EQ(Group("A")->GroupId(), 1);
      EXPECT_EQ(Group("A")->Active(), operation != "GroupCapacity");
    }
  }
  plant.reset();
  EXPECT_EQ(AutomationObject::LiveCount(), 0);
}

}  // namespace
}  // namespace orvo::testing
