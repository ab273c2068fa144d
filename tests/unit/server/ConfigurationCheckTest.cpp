// Every problem of a saved configuration, with its line.
#include "unit/server/ConfigurationFixture.h"

namespace orvo::testing {
namespace {

class ConfigurationCheck : public ConfigurationTest {
 protected:
  // "line number text" of each problem, one per line; the numbers of the system's own table by their names.
  std::string Check(const std::string& text) {
    Put(text);
    std::string report;
    for (const ConfigurationProblem& problem : Server().CheckConfigurationFile("set.ini")) {
      const DataErrorRow* row = FindDataError(problem.number);
      report += std::to_string(problem.line) + ' ' +
                (row != nullptr ? std::string(row->name) : std::to_string(problem.number)) + ' ' +
                problem.text + '\n';
    }
    return report;
  }
};

TEST_F(ConfigurationCheck, AFileThatIsWellHasNoProblemAndIsLoaded) {
  EXPECT_EQ(Check("; of the press\n[Communication Parameters]\nBaudRate=19200\nQZPar2=700\n\n"
                  "[Groups]\nLine=False#False#500#0#\n[Group:Line]\nSpeed=WO100#0#0#1#1#1#False#False#\n"),
            "");
  EXPECT_EQ(Server().BaudRate(), 19200);
  EXPECT_EQ(Item("Line", "Speed")->ItemId(), "WO100");
}

TEST_F(ConfigurationCheck, WhatASaveWritesHasNoProblem) {
  Server().KELDataGroups()->Add("Line")->KELDataItems()->Add("WO100", Variant("Speed"));
  Put(Saved());
  EXPECT_TRUE(Server().CheckConfigurationFile("set.ini").empty());
}

TEST_F(ConfigurationCheck, EveryFailureOfALoadIsToldWithItsLineAndTheRestIsApplied) {
  EXPECT_EQ(
      Check("[Communication Parameters]\n"
            "BaudRate=fast\n"
            "QZPar2=70000\n"
            "AutoDownloadProject=perhaps\n"
            "AutoDownloadFirmware=True\n"
            "[Groups]\n"
            "Line=False#maybe#-5#0#\n"
            "Line=False#False#100#0#\n"
            "[Group:Line]\n"
            "Speed=WO100#0#0#1#1#1#False#False#\n"
            "Speed=WO102#0#0#1#1#1#False#False#\n"
            "Torque=wrong\n"
            "Level=WO104#0#zero#1#1#1#False#False#\n"),
      "2 errInvalidFileFormat Invalid file format: set.ini, line 2, section 'Communication Parameters', key "
      "'BaudRate': 'fast'\n"
      "3 errInvalidFileFormat Invalid file format: set.ini, line 3, section 'Communication Parameters', key "
      "'QZPar2': '70000'\n"
      "4 errInvalidFileFormat Invalid file format: set.ini, line 4, section 'Communication Parameters', key "
      "'AutoDownloadProject': 'perhaps'\n"
      "7 errInvalidFileFormat Invalid file format: set.ini, line 7, section 'Groups', key 'Line': 'maybe'\n"
      "7 errInvalidValue Update rate must be >= 0\n"
      "8 errInvalidName Invalid Name: Line:Name already used\n"
      "11 errInternal INTERNAL ERROR, please contact support. code-2147221497:Invalid Name: Speed:Name already "
      "used: Group Name= LineGroupHandle: 1\r\n:DataItem.Add(ItemId=WO102,ItemName=Speed\n"
      "12 errInvalidItemId Invalid ItemID: wrong: Group Name= LineGroupHandle: 1\n"
      "13 errInvalidFileFormat Invalid file format: set.ini, line 13, section 'Group:Line', key 'Level': "
      "'zero'\n");
  EXPECT_TRUE(Server().AutoDownloadFirmware());
  EXPECT_EQ(Group("Line")->KELDataItems()->Count(), 1);
}

TEST_F(ConfigurationCheck, ADeviceTypeThatTheDriverDoesNotKnowFailsAtItsLineAndTheItemsAreToldOnce) {
  EXPECT_EQ(Check("[Communication "
                  "Parameters]\nDeviceType=9\n[Groups]\nLine=\n[Group:Line]\nSpeed=WO100#\nTorque=wrong\n"),
            "0 errInvalidState Invalid State: there is no device, so 2 items were not checked\n"
            "2 errInvalidDeviceType Invalid device type: 9\n");
}

TEST_F(ConfigurationCheck, WhatNothingReadsIsTold) {
  EXPECT_EQ(
      Check("Stray=1\n"
            "[Communication Parameters]\n"
            "BaudRate=9600\n"
            "Baudrate=9600\n"
            "BaudRate=19200\n"
            "a line of its own\n"
            "[Grups]\n"
            "[Groups]\n"
            "Line=False#False#500#0#12#more#\n"
            "[Group:Lime]\n"
            "[Group:Line]\n"
            "Speed=WO100#0#0#1#1#1#False#False#extra\n"),
      "1 errInvalidFileFormat Invalid file format: 'Stray=1' is neither a section, nor key=value of one, nor a "
      "comment\n"
      "4 errInvalidFileFormat Invalid file format: key 'Baudrate' is not read: no parameter has this name\n"
      "5 errInvalidFileFormat Invalid file format: key 'BaudRate' is not read: it comes again, the first one "
      "counts\n"
      "6 errInvalidFileFormat Invalid file format: 'a line of its own' is neither a section, nor key=value of "
      "one, nor a comment\n"
      "7 errInvalidFileFormat Invalid file format: section 'Grups' is not read: no section has this name\n"
      "9 errInvalidFileFormat Invalid file format: key 'Line': field 6 and what follows is not read\n"
      "10 errInvalidFileFormat Invalid file format: section 'Group:Lime' is not read: section 'Groups' has no "
      "such group\n"
      "12 errInvalidFileFormat Invalid file format: key 'Speed': field 9 and what follows is not read\n");
  EXPECT_EQ(Server().BaudRate(), 9600);
}

TEST_F(ConfigurationCheck, FactsThatAreNotThoseOfTheDeviceAreToldAndTakenAllTheSame) {
  EXPECT_EQ(Check("[Communication Parameters]\n[Groups]\nLine=\n[Group:Line]\n"
                  "Speed=WO100\nTorque=WO102#2##3#77#\n"),
            "6 errInvalidFileFormat Invalid file format: key 'Torque': the type is 2, but 'WO102' has 0, the "
            "word length "
            "is 3, but 'WO102' has 1, the compiled address is 77, but 'WO102' has 2\n");
  EXPECT_EQ(Item("Line", "Torque")->CompiledAddress(), 77);
}

TEST_F(ConfigurationCheck, AnItemThatTheDeviceRefusesTheSecondTimeIsNotCompared) {
  Driver().LastDevice()->compile = [asked = 0](const std::string&, double& address, std::int32_t& words,
                                               std::int32_t&) mutable {
    address = 5;
    words = 1;
    return ++asked == 1;
  };
  EXPECT_EQ(Check("[Communication Parameters]\n[Groups]\nLine=\n[Group:Line]\nSpeed=WO100###1#77#\n"), "");
}

TEST_F(ConfigurationCheck, AnItemThatIsBothSignedAndBCDIsTold) {
  EXPECT_EQ(
      Check("[Communication Parameters]\n[Groups]\nLine=\n[Group:Line]\nSpeed=WO100######True#True#\n"),
      "5 errInvalidFileFormat Invalid file format: key 'Speed': Signed and BCD are both True; BCD counts\n");
  EXPECT_TRUE(Item("Line", "Speed")->BCD());
}

TEST_F(ConfigurationCheck, AFileWithoutParametersIsAProblemOfTheWholeFile) {
  EXPECT_EQ(
      Check("[Groups]\nLine=False#False#500#0#\n"),
      "0 errInvalidFileFormat Invalid file format: set.ini: there is no section 'Communication Parameters'\n");
  EXPECT_EQ(Server().KELDataGroups()->Count(), 0);
}

TEST_F(ConfigurationCheck, AGroupThatDoesNotFitTheDeviceIsAProblemOfItsSection) {
  // Each item is asked for when it is added, the whole group at the end.
  Driver().checkVariable = [asked = 0](std::int32_t, std::int32_t) mutable { return ++asked == 1; };
  EXPECT_EQ(
      Check("[Communication Parameters]\n[Groups]\nLine=\n[Group:Line]\nSpeed=DW100#0#0#2#1#1#False#False#\n"),
      "4 errInvalidGroupSize Invalid group size: GroupName=Line\n");
}

TEST_F(ConfigurationCheck, AFileThatIsNotThereChangesNothing) {
  Server().KELDataGroups()->Add("Line");
  EXPECT_EQ(ErrorOf([&] { Server().CheckConfigurationFile("nowhere.ini"); }),
            "53: File not found: nowhere.ini");
  EXPECT_EQ(Server().KELDataGroups()->Count(), 1);
}

TEST_F(ConfigurationCheck, WhileCommunicationIsOpenNothingIsChecked) {
  Put("[Communication Parameters]\nBaudRate=1200\n");
  Server().OpenCommunication();
  EXPECT_EQ(ErrorOf([&] { Server().CheckConfigurationFile("set.ini"); }),
            Own(errInvalidState, "Server is running"));
  EXPECT_EQ(Server().BaudRate(), 9600);
}

}  // namespace
}  // namespace orvo::testing
