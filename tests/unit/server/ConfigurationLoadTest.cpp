// What a load does with a file, step by step.

#include "unit/server/ConfigurationFixture.h"

#include <gtest/gtest.h>

#include <vector>

namespace orvo::testing {
namespace {

using ConfigurationLoading = ConfigurationTest;

constexpr const char* Example =
    "[Communication Parameters]\nBaudRate=19200\nComPortNumber=1\nDeviceType=2\nDeviceName=Press "
    "line\nQZPar1=0\n"
    "QZPar2=1000\nAutoDownloadFirmware=False\nAutoDownloadProject=False\n"
    "[Groups]\nGroup_1=True#False#500#1#\n[Group:Group_1]\nSpeed=DW100#3#0#2#0#1#False#False#\n";

TEST_F(ConfigurationLoading, AnExampleComesBackFieldByField) {
  Put(Example);
  EXPECT_EQ(LoadStrictly(), "none");
  EXPECT_EQ(Server().BaudRate(), 19200);
  EXPECT_EQ(Server().ComPortNumber(), 1);
  EXPECT_EQ(Server().DeviceType(), 2);
  EXPECT_EQ(Server().DeviceName(), "Press line");
  EXPECT_EQ(Server().WordIO(), 0);
  EXPECT_EQ(Server().Timeout(), 1000);
  EXPECT_FALSE(Server().AutoDownloadFirmware());
  EXPECT_FALSE(Server().AutoDownloadProject());
  const auto group = Group("Group_1");
  EXPECT_EQ(Server().KELDataGroups()->Count(), 1);
  EXPECT_TRUE(group->Active());
  EXPECT_FALSE(group->Subscribed());
  EXPECT_EQ(group->UpdateRate(), 500);
  EXPECT_EQ(group->GroupId(), 1);
  EXPECT_TRUE(group->CompiledBuffer().IsEmpty());
  EXPECT_EQ(group->KELDataItems()->Count(), 1);
  const auto item = Item("Group_1", "Speed");
  EXPECT_EQ(item->ItemId(), "DW100");
  EXPECT_EQ(item->ItemType(), 3);
  EXPECT_EQ(item->ItemGroupBufferOffset(), 0);
  EXPECT_EQ(item->ItemWordLength(), 2);
  EXPECT_EQ(item->CompiledAddress(), 0);
  EXPECT_EQ(item->AccessRights(), 1);
  EXPECT_FALSE(item->Signed());
  EXPECT_FALSE(item->BCD());
}

TEST_F(ConfigurationLoading, TheDriverSeesPortAndBaudRateBeforeTheDeviceType) {
  Put(Example);
  Driver().logQuestions = true;
  Load();
  const std::vector<std::string> expected = {"SetConfigurationMode()", "PutProjectName(set.ini)",
                                             "PutComPortNumber(1)",    "ComPortNumber()",
                                             "PutBaudRate(19200)",     "BaudRate()",
                                             "CreateDevice(PanelB)",   "PutWordIO(0)",
                                             "PutTimeout(1000)"};
  ASSERT_GE(Driver().log.size(), expected.size());
  EXPECT_EQ(std::vector<std::string>(Driver().log.begin(), Driver().log.begin() + 9), expected);
}

TEST_F(ConfigurationLoading, IsRefusedWhileCommunicationIsOpen) {
  Server().OpenCommunication();
  Put(Example);
  EXPECT_EQ(ErrorOf([&] { Load(); }), Own(errInvalidState, "Server is running"));
  EXPECT_EQ(Server().ProjectName(), "");
}

TEST_F(ConfigurationLoading, WorksAtStatus1AndConfiguresTheServer) {
  plant = std::make_unique<Plant>();
  BringTo(StatusNotConfigured);
  Put(Example);
  EXPECT_EQ(LoadStrictly(), "none");
  EXPECT_EQ(Server().ServerStatus(), StatusStopped);
}

TEST_F(ConfigurationLoading, TheFilesNameBecomesTheProjectNameEvenWhenTheFileIsRefused) {
  Put("[Groups]\nG=True#\n");
  Server().KELDataGroups()->Add("kept");
  EXPECT_EQ(ErrorOf([&] { Load(); }), Own(errInvalidFileFormat, "set.ini"));
  EXPECT_EQ(Server().ProjectName(), "set.ini");
  EXPECT_EQ(Server().KELDataGroups()->Count(), 1);
}

TEST_F(ConfigurationLoading, AFileThatDoesNotExistHasNoSection) {
  EXPECT_EQ(ErrorOf([&] { Server().LoadConfigurationFromFile("nowhere.ini"); }),
            Own(errInvalidFileFormat, "nowhere.ini"));
}

TEST_F(ConfigurationLoading, AFileThatCannotBeReadRaisesItsOwnErrorAndChangesNothing) {
  Put(Example);
  plant->files.FailNextRead("set.ini", RuntimeError::PermissionDenied);
  EXPECT_EQ(ErrorOf([&] { Load(); }), "70: Permission denied: set.ini");
  EXPECT_EQ(Server().ProjectName(), "");
}

TEST_F(ConfigurationLoading, ConfigurationModeAndProjectNameMayFail) {
  Put(Example);
  Driver().Fail("SetConfigurationMode", 1, "no");
  Driver().Fail("PutProjectName", 1, "no");
  EXPECT_EQ(LoadStrictly(), "none");
  EXPECT_EQ(Server().BaudRate(), 19200);
}

TEST_F(ConfigurationLoading, KeysThatAreMissingLeaveTheirPropertiesAndAllGroupsGo) {
  Driver().baudRate = 4800;
  Driver().timeout = 77;
  Server().SetDeviceName("before");
  Server().PutAutoDownloadFirmware(true);
  Server().KELDataGroups()->Add();
  Put(std::string(Parameters) + "DeviceType=1\n");
  EXPECT_EQ(LoadStrictly(), "none");
  EXPECT_EQ(Server().DeviceType(), 1);
  EXPECT_EQ(Server().BaudRate(), 4800);
  EXPECT_EQ(Server().Timeout(), 77);
  EXPECT_EQ(Server().DeviceName(), "before");
  EXPECT_TRUE(Server().AutoDownloadFirmware());
  EXPECT_EQ(Server().KELDataGroups()->Count(), 0);
}

TEST_F(ConfigurationLoading, APortOrBaudRateThatReadsBackDifferentlyIsACommunicationError) {
  struct Row {
    const char* text;
    const char* failing;  // the driver's operation that fails, or none
    const char* error;    // the detail, or none
  };
  const std::vector<Row> rows = {{"ComPortNumber=5", "", ""},
                                 {"ComPortNumber=5", "PutComPortNumber", "Can't set COM port"},
                                 {"ComPortNumber=5", "ComPortNumber", "Can't set COM port"},
                                 {"ComPortNumber=2.5", "", "Can't set COM port"},  // 2 is not 2.5
                                 {"ComPortNumber=1", "PutComPortNumber", ""},      // it is 1 already
                                 {"ComPortNumber=99999999999", "", "Can't set COM port"},
                                 {"BaudRate=300", "", ""},
                                 {"BaudRate=300", "PutBaudRate", "Can't set Baudrate"},
                                 {"BaudRate=300", "BaudRate", "Can't set Baudrate"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.text) + " " + row.failing);
    plant = std::make_unique<Plant>();
    BringTo(StatusStopped);
    if (*row.failing != '\0') Driver().Fail(row.failing, 3, "no");
    Put(std::string(Parameters) + row.text + "\nDeviceName=after\n");
    EXPECT_EQ(LoadStrictly(), *row.error == '\0' ? "none" : Own(errCommunication, row.error));
    EXPECT_EQ(Server().DeviceName(), *row.error == '\0' ? "after" : "");
    EXPECT_EQ(ErrorOf([&] { Load(); }), "none");
    EXPECT_EQ(Server().DeviceName(), "after");
  }
}

TEST_F(ConfigurationLoading, MalformedValuesNameFileLineSectionAndKey) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"[Communication Parameters]\nBaudRate=fast\n",
       "line 2, section 'Communication Parameters', key 'BaudRate': 'fast'"},
      {"[Communication Parameters]\nDeviceType=\n",
       "line 2, section 'Communication Parameters', key 'DeviceType': ''"},
      {"[Communication Parameters]\n;\nQZPar1=40000\n",
       "line 3, section 'Communication Parameters', key 'QZPar1': '40000'"},
      {"[Communication Parameters]\nQZPar2=1,5\n",
       "line 2, section 'Communication Parameters', key 'QZPar2': '1,5'"},
      {"[Communication Parameters]\nAutoDownloadFirmware=maybe\n",
       "line 2, section 'Communication Parameters', key 'AutoDownloadFirmware': 'maybe'"},
      {"[Communication Parameters]\nAutoDownloadProject=Vrai\n",
       "line 2, section 'Communication Parameters', key 'AutoDownloadProject': 'Vrai'"},
      {"[Communication Parameters]\n[Groups]\nG=Yes#\n", "line 3, section 'Groups', key 'G': 'Yes'"},
      {"[Communication Parameters]\n[Groups]\nG=True#x#\n", "line 3, section 'Groups', key 'G': 'x'"},
      {"[Communication Parameters]\n[Groups]\nG=##x#\n", "line 3, section 'Groups', key 'G': 'x'"},
      {"[Communication Parameters]\n[Groups]\nG=###x#\n", "line 3, section 'Groups', key 'G': 'x'"},
      {"[Communication Parameters]\n[Groups]\nG=####-1#\n", "line 3, section 'Groups', key 'G': '-1'"},
      {"[Communication Parameters]\n[Groups]\nG=\n[Group:G]\nI=WO1#x#\n",
       "line 5, section 'Group:G', key 'I': 'x'"},
      {"[Communication Parameters]\n[Groups]\nG=\n[Group:G]\nI=WO1#####9999999999#\n",
       "line 5, section 'Group:G', key 'I': '9999999999'"},
      {"[Communication Parameters]\n[Groups]\nG=\n[Group:G]\nI=WO1####1e999#\n",
       "line 5, section 'Group:G', key 'I': '1e999'"},
      {"[Communication Parameters]\n[Groups]\nG=\n[Group:G]\nI=WO1#######no#\n",
       "line 5, section 'Group:G', key 'I': 'no'"}};
  for (const auto& [text, detail] : rows) {
    SCOPED_TRACE(text);
    Put(text);
    EXPECT_EQ(LoadStrictly(), Own(errInvalidFileFormat, "set.ini, " + detail));
    EXPECT_EQ(ErrorOf([&] { Load(); }), "none");
  }
}

TEST_F(ConfigurationLoading, WithErrorsIgnoredOnlyTheFailingEntryIsMissing) {
  Put("[Communication Parameters]\nDeviceType=9\nBaudRate=x\nDeviceName=n\n"
      "[Groups]\nA=maybe#True#250#\na=True#\nB=True#\n"
      "[Group:A]\nok=WO1#\nbad=WO2#x#\nrefused=XX1#\nlast=WO3#\n[Group:B]\nb=WO4#\n");
  Driver().deviceKinds.insert("Unknown");
  EXPECT_EQ(ErrorOf([&] { Load(); }), "none");
  EXPECT_EQ(Server().DeviceName(), "n");
  EXPECT_EQ(Server().KELDataGroups()->Count(), 2);
  EXPECT_FALSE(Group("A")->Active());
  EXPECT_TRUE(Group("A")->Subscribed());
  EXPECT_EQ(Group("A")->UpdateRate(), 250);
  EXPECT_EQ(Group("A")->KELDataItems()->Count(), 2);
  EXPECT_EQ(Item("A", "ok")->ItemId(), "WO1");
  EXPECT_EQ(Item("A", "last")->ItemId(), "WO3");
  EXPECT_EQ(Group("B")->KELDataItems()->Count(), 1);
}

TEST_F(ConfigurationLoading, WithErrorsRaisedTheFirstOneEndsTheLoadAndWhatCameBeforeStays) {
  Put("[Communication Parameters]\nDeviceName=n\n[Groups]\nA=\nB=#x#\nC=\n[Group:A]\ni=WO1#\n");
  EXPECT_EQ(LoadStrictly(), Own(errInvalidFileFormat, "set.ini, line 5, section 'Groups', key 'B': 'x'"));
  EXPECT_EQ(Server().DeviceName(), "n");
  EXPECT_EQ(Server().KELDataGroups()->Count(), 2);
  EXPECT_EQ(Group("A")->KELDataItems()->Count(), 0);
}

TEST_F(ConfigurationLoading, OtherFailuresKeepTheirOwnCodes) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"[Communication Parameters]\nDeviceType=5\n", Own(errInvalidDeviceType, "5")},
      {"[Communication Parameters]\n[Groups]\nG=\nG=\n", Own(errInvalidName, "G:Name already used")},
      {"[Communication Parameters]\n[Groups]\nG=\ng=\n",
       "457: This key is already associated with an element of this collection"},
      {"[Communication Parameters]\n[Groups]\nG=##-5#\n",
       std::to_string(errInvalidValue) + ": Update rate must be >= 0"},
      {"[Communication Parameters]\n[Groups]\nG=\n[Group:G]\nI=XX#\n",
       Own(errInvalidItemId, "XX: Group Name= GGroupHandle: 1")},
      {"[Communication Parameters]\n[Groups]\nG=\n[Group:G]\nI=#\n",
       Own(errInvalidItemId, ": Group Name= GGroupHandle: 1")}};
  for (const auto& [text, error] : rows) {
    SCOPED_TRACE(text);
    plant = std::make_unique<Plant>();
    BringTo(StatusStopped);
    Put(text);
    EXPECT_EQ(LoadStrictly(), error);
    EXPECT_EQ(ErrorOf([&] { Load(); }), "none");
  }
}

TEST_F(ConfigurationLoading, TheSizeCheckFollowsEachGroupsSection) {
  Put("[Communication "
      "Parameters]\n[Groups]\nBig=\nSmall=\n[Group:Big]\nI=WO1#0#0#500#\n[Group:Small]\nI=WO1#\n");
  Driver().checkVariable = [](std::int32_t words, std::int32_t) { return words < 100; };
  EXPECT_EQ(LoadStrictly(), Own(errInvalidGroupSize, "GroupName=Big"));
  EXPECT_EQ(Group("Small")->KELDataItems()->Count(), 0);
  Load();
  EXPECT_EQ(Group("Big")->KELDataItems()->TotalWordLength(), 500);
  EXPECT_EQ(Group("Small")->KELDataItems()->Count(), 1);
}

TEST_F(ConfigurationLoading, TheUpperBoundOfTheBufferIsTakenForItsLengthSoItFallsByOnePerCycle) {
  Server().KELDataGroups()->Add("G")->SetCompiledBufferDimension(3);
  std::vector<std::size_t> sizes;
  for (int cycle = 0; cycle < 5; ++cycle) {
    Put(Saved());
    Load();
    sizes.push_back(Group("G")->CompiledBuffer().Size());
  }
  // A length of 0 makes a buffer of one byte, whose upper bound is 0.
  EXPECT_EQ(sizes, (std::vector<std::size_t>{2, 1, 1, 1, 1}));
}

TEST_F(ConfigurationLoading, TheDeviceIsToldTheLoadedFactsAndMayRefuse) {
  Put("[Communication Parameters]\n[Groups]\nG=\n[Group:G]\nI=WO1#3#0#2#77.5#1#\nJ=WO2#\n");
  std::vector<std::string> told;
  Server().PutDeviceType(2);
  Driver().LastDevice()->loaded = [&](const std::string& itemId, double address, std::int32_t words,
                                      std::int32_t type) {
    told.push_back(itemId + " " + std::to_string(address) + " " + std::to_string(words) + " " +
                   std::to_string(type));
    if (itemId == "WO2") throw AutomationError(10, "not here");
  };
  EXPECT_EQ(LoadStrictly(), Own(errInvalidItemId, "WO2: Group Name= GGroupHandle: 1"));
  EXPECT_EQ(told, (std::vector<std::string>{"WO1 77.500000 2 3", "WO2 2.000000 1 0"}));
  EXPECT_EQ(Group("G")->KELDataItems()->Count(), 1);
}

TEST_F(ConfigurationLoading, AbsentFieldsSkipTheirStep) {
  Put("[Communication Parameters]\n[Groups]\nG=\nH=True\n[Group:G]\nI=WO1\n");
  EXPECT_EQ(LoadStrictly(), "none");
  EXPECT_FALSE(Group("G")->Active());
  EXPECT_TRUE(Group("H")->Active());
  EXPECT_EQ(Item("G", "I")->ItemWordLength(), 1);
  EXPECT_EQ(Item("G", "I")->CompiledAddress(), 1);
}

TEST_F(ConfigurationLoading, ActivationBeyondTheLimitIsRaisedOrPassedOver) {
  Driver().groupCapacity = 2;
  Put("[Communication Parameters]\n[Groups]\nA=True#\nB=True#True#\n");
  EXPECT_EQ(LoadStrictly(),
            std::to_string(errInvalidValue) +
                ": Too many active groups : the max number of groups that can be active at the same "
                "time is 1");
  Load();
  EXPECT_FALSE(Group("B")->Active());
  EXPECT_TRUE(Group("B")->Subscribed());
}

TEST_F(ConfigurationLoading, TheArgumentIsReadAsABoolean) {
  Put("[Communication Parameters]\nBaudRate=x\n");
  EXPECT_EQ(ErrorOf([&] { Server().LoadConfigurationFromFile("set.ini", Variant("True")); }), "none");
  EXPECT_NE(ErrorOf([&] { Server().LoadConfigurationFromFile("set.ini", Variant(std::int32_t{0})); }), "none");
  EXPECT_EQ(ErrorOf([&] { Server().LoadConfigurationFromFile("set.ini", Variant("perhaps")); }),
            Own(errInternal, "13:Type mismatch\r\n:Server.LoadConfigurationFromFile(FileName=set.ini"));
}

TEST_F(ConfigurationLoading, Windows1252AndUtf8WithAndWithoutMarkAreRead) {
  const std::string body = "[Communication Parameters]\r\nDeviceName=";
  for (const std::string& text :
       {body + "M\xFCll\r\n", body + "M\xC3\xBCll\n", "\xEF\xBB\xBF" + body + "M\xC3\xBCll"}) {
    Put(text);
    EXPECT_EQ(LoadStrictly(), "none");
    EXPECT_EQ(Server().DeviceName(), "M\xC3\xBCll");
  }
}

}  // namespace
}  // namespace orvo::testing
