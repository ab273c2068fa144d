#include "PanelFixture.h"

#include <set>

namespace orvo {
namespace {

using testing::FailureOf;
using testing::Log;
using testing::PanelTest;

class PanelProperties : public PanelTest {};

TEST_F(PanelProperties, ANewPanelAnswersItsOptionsAndDefaults) {
  PanelOptions options;
  options.bootVersion = 1.25F;
  options.bootDate = "boot date";
  options.firmwareVersion = 2.5F;
  options.boardDescription = "board";
  options.majorVersion = 3;
  options.minorVersion = 4;
  options.description = "driver";
  options.groupCapacity = 6;
  options.groupTransfer = true;
  Remake(options);
  EXPECT_EQ(panel->BootVersion(), 1.25F);
  EXPECT_EQ(panel->BootDate(), "boot date");
  EXPECT_EQ(panel->FirmwareVersion(), 2.5F);
  EXPECT_EQ(panel->BoardDescription(), "board");
  EXPECT_EQ(panel->MajorVersion(), 3);
  EXPECT_EQ(panel->MinorVersion(), 4);
  EXPECT_EQ(panel->Description(), "driver");
  EXPECT_EQ(panel->GroupCapacity(), 6);
  EXPECT_TRUE(panel->GroupTransfer());
  panel->Options().groupTransfer = false;
  EXPECT_FALSE(panel->GroupTransfer());
  EXPECT_EQ(panel->BoardStatus(), 0);
  EXPECT_EQ(panel->CommunicationStatus(), 0);
  EXPECT_EQ(panel->BaudRate(), 9600);
  EXPECT_EQ(panel->ComPortNumber(), 1);
  EXPECT_EQ(panel->NetworkType(), 0);
  EXPECT_EQ(panel->WordIO(), 0);
  EXPECT_EQ(panel->Timeout(), 1000);
  EXPECT_EQ(panel->ProjectName(), "");
  EXPECT_FALSE(PanelOptions().groupTransfer);
  EXPECT_EQ(PanelOptions().groupCapacity, 8);
}

TEST_F(PanelProperties, TheBaudRateIsOneOfTheUsualOnes) {
  for (const std::int32_t rate : {300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200}) {
    panel->PutBaudRate(rate);
    EXPECT_EQ(panel->BaudRate(), rate);
  }
  for (const std::int32_t rate : {0, -9600, 150, 9601, 230400})
    EXPECT_EQ(FailureOf([&] { panel->PutBaudRate(rate); }),
              "10:The panel has no baud rate " + std::to_string(rate));
  EXPECT_EQ(panel->BaudRate(), 115200);
}

TEST_F(PanelProperties, ThePortLiesWithin1And255) {
  for (const std::int32_t port : {255, 1, 7}) {
    panel->PutComPortNumber(port);
    EXPECT_EQ(panel->ComPortNumber(), port);
  }
  for (const std::int32_t port : {0, -1, 256})
    EXPECT_EQ(FailureOf([&] { panel->PutComPortNumber(port); }),
              "10:Port " + std::to_string(port) + " is not within 1..255");
  EXPECT_EQ(panel->ComPortNumber(), 7);
}

TEST_F(PanelProperties, PortAndBaudRateDoNotChangeWhileOpen) {
  panel->OpenCommunication(true);
  EXPECT_EQ(FailureOf([&] { panel->PutBaudRate(1200); }),
            "2:The baud rate does not change while communication is open");
  EXPECT_EQ(FailureOf([&] { panel->PutComPortNumber(2); }),
            "2:The port does not change while communication is open");
  EXPECT_EQ(panel->BaudRate(), 9600);
  EXPECT_EQ(panel->ComPortNumber(), 1);
  panel->CloseCommunication();
  panel->PutBaudRate(1200);
  panel->PutComPortNumber(2);
  EXPECT_EQ(panel->BaudRate(), 1200);
  EXPECT_EQ(panel->ComPortNumber(), 2);
}

TEST_F(PanelProperties, TheOtherPropertiesKeepWhatIsPut) {
  panel->PutWordIO(-5);
  panel->PutTimeout(32767);
  panel->PutNetworkType(-9);
  panel->PutProjectName("plant.prj");
  EXPECT_EQ(panel->WordIO(), -5);
  EXPECT_EQ(panel->Timeout(), 32767);
  EXPECT_EQ(panel->NetworkType(), -9);
  EXPECT_EQ(panel->ProjectName(), "plant.prj");
  panel->PutTimeout(0);
  EXPECT_EQ(FailureOf([&] { panel->PutTimeout(-1); }), "10:A time-out of -1 ms is below 0");
  EXPECT_EQ(panel->Timeout(), 0);
}

TEST_F(PanelProperties, CommunicationOpensAndClosesAsOftenAsAsked) {
  panel->OpenCommunication(true);
  panel->OpenCommunication(true);
  EXPECT_EQ(panel->CommunicationStatus(), 1);
  panel->CutLink(true);
  EXPECT_EQ(panel->CommunicationStatus(), 2);
  panel->CloseCommunication();
  panel->CloseCommunication();
  EXPECT_EQ(panel->CommunicationStatus(), 0);
  EXPECT_EQ(FailureOf([&] { panel->OpenCommunication(false); }), "10:OpenCommunication takes true only");
  EXPECT_EQ(panel->CommunicationStatus(), 0);
}

TEST_F(PanelProperties, ConfigurationModeLastsUntilCommunicationOpens) {
  EXPECT_TRUE(panel->SetConfigurationMode());
  EXPECT_EQ(panel->BoardStatus(), 1);
  panel->OpenCommunication(true);
  EXPECT_EQ(panel->BoardStatus(), 0);
  panel->CloseCommunication();
  panel->RefuseConfigurationMode(true);
  EXPECT_FALSE(panel->SetConfigurationMode());
  EXPECT_EQ(panel->BoardStatus(), 0);
  panel->RefuseConfigurationMode(false);
  EXPECT_TRUE(panel->SetConfigurationMode());
}

TEST_F(PanelProperties, DefinitionsAreCountedPerGroup) {
  panel->SetGroupDefinition(0, -1);
  panel->SetGroupDefinition(0, -1);
  panel->SetGroupDefinition(7, -1);
  EXPECT_EQ(panel->Definitions(), 3);
  EXPECT_EQ(panel->Definitions(0), 2);
  panel->SetGroupDefinition(0, 0);
  panel->SetGroupDefinition(0, 0);
  EXPECT_EQ(FailureOf([&] { panel->SetGroupDefinition(0, 0); }),
            "10:The panel holds no definition of group 0 to release");
  EXPECT_EQ(FailureOf([&] { panel->SetGroupDefinition(7, 1); }),
            "10:A definition is made with -1 or released with 0, not with 1");
  EXPECT_EQ(panel->Definitions(), 1);
  EXPECT_EQ(panel->Definitions(0), 0);
  EXPECT_EQ(panel->Definitions(7), 1);
}

TEST_F(PanelProperties, AFullPanelGivesUpItsOldestDefinitionForANewOne) {
  PanelOptions options;
  options.groupCapacity = 3;
  Remake(options);
  for (const std::int32_t id : {9, 2, 5, 7})
    panel->SetGroupDefinition(id, -1);
  EXPECT_EQ(panel->Definitions(), 3);
  EXPECT_EQ(panel->Definitions(9), 0);
  EXPECT_EQ(FailureOf([&] { panel->SetGroupDefinition(9, 0); }),
            "10:The panel holds no definition of group 9 to release");
  panel->SetGroupDefinition(1, -1);
  EXPECT_EQ(panel->Definitions(2), 0);
  EXPECT_EQ(panel->Definitions(5) + panel->Definitions(7) + panel->Definitions(1), 3);
  panel->Options().groupCapacity = 1;
  panel->SetGroupDefinition(4, -1);
  EXPECT_EQ(panel->Definitions(), 1);
  EXPECT_EQ(panel->Definitions(4), 1);
}

TEST_F(PanelProperties, OfEqualDefinitionsTheNewestIsReleased) {
  PanelOptions options;
  options.groupCapacity = 3;
  Remake(options);
  for (const std::int32_t id : {7, 1, 7})
    panel->SetGroupDefinition(id, -1);
  panel->SetGroupDefinition(7, 0);
  panel->SetGroupDefinition(2, -1);
  panel->SetGroupDefinition(3, -1);
  EXPECT_EQ(panel->Definitions(7), 0);
  EXPECT_EQ(panel->Definitions(1), 1);
}

TEST_F(PanelProperties, APanelWithoutPlacesTakesNoDefinition) {
  PanelOptions options;
  options.groupCapacity = 0;
  Remake(options);
  EXPECT_EQ(FailureOf([&] { panel->SetGroupDefinition(8, -1); }),
            "10:No room to define group 8: the panel holds no groups");
  EXPECT_EQ(panel->Definitions(), 0);
}

TEST_F(PanelProperties, DefinitionsOutliveCommunication) {
  panel->SetGroupDefinition(7, -1);
  panel->OpenCommunication(true);
  panel->CloseCommunication();
  EXPECT_EQ(panel->Definitions(7), 1);
}

TEST_F(PanelProperties, AGroupFitsUpToTheLimitsOfWordsAndItems) {
  EXPECT_TRUE(panel->CheckVariable(0, 0));
  EXPECT_TRUE(panel->CheckVariable(4096, 1000000));
  EXPECT_FALSE(panel->CheckVariable(4097, 1));
  EXPECT_FALSE(panel->CheckVariable(1, 1000001));
  EXPECT_FALSE(panel->CheckVariable(-1, 1));
  EXPECT_FALSE(panel->CheckVariable(1, -1));
  panel->Options().maximumGroupWords = 10;
  panel->Options().maximumGroupItems = 2;
  EXPECT_TRUE(panel->CheckVariable(10, 2));
  EXPECT_FALSE(panel->CheckVariable(11, 2));
  EXPECT_FALSE(panel->CheckVariable(10, 3));
}

TEST_F(PanelProperties, DevicesAreMadeForTheKindsOfTheOptionsOnly) {
  const auto one = panel->CreateDevice("PanelA");
  const auto two = panel->CreateDevice("PanelA");
  ASSERT_NE(one, nullptr);
  EXPECT_NE(one, two);
  EXPECT_NE(panel->CreateDevice("PanelB"), nullptr);
  EXPECT_EQ(panel->CreateDevice("panela"), nullptr);
  EXPECT_EQ(panel->CreateDevice(""), nullptr);
  panel.reset();
  double address = 0;
  std::int32_t words = 0;
  std::int32_t type = 0;
  EXPECT_TRUE(one->CompileItemId("WO100", address, words, type));
  EXPECT_EQ(address, Compiled("WO100"));
}

// --- Scripted failures

struct OperationCall {
  PanelOperation operation;
  std::function<void(SimulatedPanel&)> call;
};

const std::vector<OperationCall>& EveryOperation() {
  using O = PanelOperation;
  static const std::vector<OperationCall> calls{
      {O::SetEventSink, [](auto& p) { p.SetEventSink(nullptr); }},
      {O::WriteItems, [](auto& p) { p.WriteItems({}, {}, {}); }},
      {O::ReadItems, [](auto& p) { p.ReadItems({}, {}); }},
      {O::WriteGroup, [](auto& p) { p.WriteGroup(0, {}); }},
      {O::ReadGroup, [](auto& p) { p.ReadGroup(0, {}); }},
      {O::OpenCommunication, [](auto& p) { p.OpenCommunication(true); }},
      {O::CloseCommunication, [](auto& p) { p.CloseCommunication(); }},
      {O::BootVersion, [](auto& p) { p.BootVersion(); }},
      {O::BootDate, [](auto& p) { p.BootDate(); }},
      {O::FirmwareVersion, [](auto& p) { p.FirmwareVersion(); }},
      {O::BoardDescription, [](auto& p) { p.BoardDescription(); }},
      {O::BoardStatus, [](auto& p) { p.BoardStatus(); }},
      {O::CommunicationStatus, [](auto& p) { p.CommunicationStatus(); }},
      {O::DownloadFirmware, [](auto& p) { p.DownloadFirmware("f", 0); }},
      {O::DownloadProject, [](auto& p) { p.DownloadProject("f", 0); }},
      {O::BaudRate, [](auto& p) { p.BaudRate(); }},
      {O::PutBaudRate, [](auto& p) { p.PutBaudRate(9600); }},
      {O::Reserved18, [](auto& p) { p.Reserved18(); }},
      {O::SetConfigurationMode, [](auto& p) { p.SetConfigurationMode(); }},
      {O::SetGroupDefinition, [](auto& p) { p.SetGroupDefinition(0, -1); }},
      {O::GroupCapacity, [](auto& p) { p.GroupCapacity(); }},
      {O::PutNetworkType, [](auto& p) { p.PutNetworkType(0); }},
      {O::Reserved23, [](auto& p) { p.Reserved23(); }},
      {O::MinorVersion, [](auto& p) { p.MinorVersion(); }},
      {O::MajorVersion, [](auto& p) { p.MajorVersion(); }},
      {O::Description, [](auto& p) { p.Description(); }},
      {O::PutComPortNumber, [](auto& p) { p.PutComPortNumber(1); }},
      {O::ComPortNumber, [](auto& p) { p.ComPortNumber(); }},
      {O::Reserved29, [](auto& p) { p.Reserved29(); }},
      {O::ProjectName, [](auto& p) { p.ProjectName(); }},
      {O::PutProjectName, [](auto& p) { p.PutProjectName("p"); }},
      {O::GroupTransfer, [](auto& p) { p.GroupTransfer(); }},
      {O::CheckVariable, [](auto& p) { p.CheckVariable(1, 1); }},
      {O::PutWordIO, [](auto& p) { p.PutWordIO(0); }},
      {O::WordIO, [](auto& p) { p.WordIO(); }},
      {O::PutTimeout, [](auto& p) { p.PutTimeout(0); }},
      {O::Timeout, [](auto& p) { p.Timeout(); }},
      {O::FirmwareDownloadNeeded, [](auto& p) { p.FirmwareDownloadNeeded(); }},
      {O::ProjectDownloadNeeded, [](auto& p) { p.ProjectDownloadNeeded(); }},
      {O::CreateDevice, [](auto& p) { p.CreateDevice("PanelA"); }},
  };
  return calls;
}

TEST_F(PanelProperties, EveryOperationFailsWhenScriptedAndCountsItsCallsAlone) {
  ASSERT_EQ(EveryOperation().size(), PanelOperationCount);
  std::int32_t slot = 0;
  for (const OperationCall& row : EveryOperation()) {
    Remake({});
    SCOPED_TRACE(std::string(PanelOperationName(row.operation)));
    EXPECT_EQ(static_cast<std::int32_t>(row.operation), ++slot);
    const int before = panel->Faults().Calls(row.operation);
    panel->Faults().FailNext(row.operation, 40 + slot, "scripted");
    EXPECT_EQ(FailureOf([&] { row.call(*panel); }), std::to_string(40 + slot) + ":scripted");
    EXPECT_EQ(panel->Faults().Calls(row.operation), before + 1);
    const std::string again = FailureOf([&] { row.call(*panel); });
    EXPECT_EQ(again.find("scripted"), std::string::npos);
    EXPECT_EQ(panel->Faults().Calls(row.operation), before + 2);
    int others = 0;
    for (const OperationCall& other : EveryOperation())
      if (other.operation != row.operation && other.operation != PanelOperation::SetEventSink)
        others += panel->Faults().Calls(other.operation);
    EXPECT_EQ(others, 0);
  }
}

TEST_F(PanelProperties, AScriptedFailureComesBeforeAnyEffect) {
  panel->Faults().FailNext(PanelOperation::PutTimeout, 4, "no");
  panel->Faults().FailNext(PanelOperation::OpenCommunication, 1, "no");
  panel->Faults().FailNext(PanelOperation::SetGroupDefinition, 3, "no");
  EXPECT_EQ(FailureOf([&] { panel->PutTimeout(5); }), "4:no");
  EXPECT_EQ(FailureOf([&] { panel->OpenCommunication(true); }), "1:no");
  EXPECT_EQ(FailureOf([&] { panel->SetGroupDefinition(1, -1); }), "3:no");
  EXPECT_EQ(panel->Timeout(), 1000);
  EXPECT_EQ(panel->CommunicationStatus(), 0);
  EXPECT_EQ(panel->Definitions(), 0);
}

TEST(PanelFaults, ScriptedFailuresOfOneOperationAreUsedUpInTheirOrder) {
  PanelFaults faults;
  faults.FailNext(PanelOperation::ReadItems, 1, "one", 2);
  faults.FailNext(PanelOperation::ReadItems, 2, "two");
  faults.FailNext(PanelOperation::ReadItems, 3, "never", 0);
  Log failures;
  for (int call = 0; call < 4; ++call)
    failures.push_back(FailureOf([&] { faults.Enter(PanelOperation::ReadItems); }));
  EXPECT_EQ(failures, (Log{"1:one", "1:one", "2:two", "0:"}));
  EXPECT_EQ(faults.Calls(PanelOperation::ReadItems), 4);
  EXPECT_EQ(faults.Calls(PanelOperation::WriteItems), 0);
}

TEST(PanelFaults, EachOperationHasANameOfItsOwn) {
  std::set<std::string_view> names;
  for (std::size_t slot = 1; slot <= PanelOperationCount; ++slot)
    names.insert(PanelOperationName(static_cast<PanelOperation>(slot)));
  EXPECT_EQ(names.size(), PanelOperationCount);
  EXPECT_EQ(PanelOperationName(PanelOperation::SetEventSink), "SetEventSink");
  EXPECT_EQ(PanelOperationName(PanelOperation::CloseCommunication), "CloseCommunication");
  EXPECT_EQ(PanelOperationName(PanelOperation::SetGroupDefinition), "SetGroupDefinition");
  EXPECT_EQ(PanelOperationName(PanelOperation::CheckVariable), "CheckVariable");
  EXPECT_EQ(PanelOperationName(PanelOperation::CreateDevice), "CreateDevice");
}

// --- Registration

TEST_F(PanelProperties, TheRegistryMakesAPanelOfItsOwnEachTimeAndTellsOfIt) {
  DriverRegistry registry;
  PanelOptions options;
  options.description = "registered";
  std::vector<std::shared_ptr<SimulatedPanel>> made;
  RegisterSimulatedPanel(registry, options, [&](std::shared_ptr<SimulatedPanel> one) { made.push_back(one); });
  const auto first = registry.Create("simulatedpanel.CHANNEL", {platform, files});
  const auto second = registry.Create("SimulatedPanel.Channel", {platform, files});
  ASSERT_EQ(made.size(), 2U);
  EXPECT_EQ(made[0], first);
  EXPECT_EQ(made[1], second);
  EXPECT_NE(first, second);
  first->PutTimeout(5);
  made[0]->Memory().PutByte(0, 1);
  EXPECT_EQ(second->Timeout(), 1000);
  EXPECT_EQ(made[1]->Memory().Byte(0), 0);
  EXPECT_EQ(second->Description(), "registered");
}

TEST_F(PanelProperties, ItRegistersWithoutOptionsToo) {
  DriverRegistry registry;
  RegisterSimulatedPanel(registry);
  EXPECT_EQ(registry.Create(SimulatedPanel::ProgId, {platform, files})->Description(),
            "Simulated panel driver");
}

}  // namespace
}  // namespace orvo
