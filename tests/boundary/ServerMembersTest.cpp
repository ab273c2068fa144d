// KELDataServer: each member by slot and by name.

#include "boundary/MemberTable.h"

namespace orvo::testing {
namespace {

constexpr const char* Invalid = "Invalid State: Server is running\" ORVOBusiness.KELDataServer";
using Server = _KELDataServer;
using Rows = std::vector<Row<Server>>;

ComPtr<Server> FreshServer(Scene& scene) {
  scene.server = Scene::NewServer();
  return scene.server;
}
ComPtr<Server> Scripted(Scene& scene) {
  scene.Configure("scripted.ini");
  return scene.server;
}
ComPtr<Server> Running(Scene& scene) {
  scene.Open("scripted.ini");
  return scene.server;
}

template <class Read>
Row<Server> Property(const wchar_t* name, Read read, std::string answer) {
  return {name, Get, {}, read, std::move(answer)};
}

Rows Properties() {
  return {
      Property(
          L"MinorVersion", [](Server& s, Slot& r) { return s.get_MinorVersion(r.I2()); }, "I2:2"),
      Property(
          L"MajorVersion", [](Server& s, Slot& r) { return s.get_MajorVersion(r.I2()); }, "I2:1"),
      Property(
          L"Description", [](Server& s, Slot& r) { return s.get_Description(r.Str()); },
          "Str:\"KEL Active Data Server\r\nScripted driver\""),
      Property(
          L"DeviceName", [](Server& s, Slot& r) { return s.get_DeviceName(r.Str()); }, "Str:\"\""),
      Property(
          L"BootVersion", [](Server& s, Slot& r) { return s.get_BootVersion(r.R4()); }, "R4:1.5"),
      Property(
          L"BootDate", [](Server& s, Slot& r) { return s.get_BootDate(r.Str()); }, "Str:\"2020-01-02\""),
      Property(
          L"FirmwareVersion", [](Server& s, Slot& r) { return s.get_FirmwareVersion(r.R4()); }, "R4:2.5"),
      Property(
          L"BoardDescription", [](Server& s, Slot& r) { return s.get_BoardDescription(r.Str()); },
          "Str:\"Scripted board\""),
      Property(
          L"BoardStatus", [](Server& s, Slot& r) { return s.get_BoardStatus(r.I4()); }, "I4:0"),
      Property(
          L"CommunicationStatus", [](Server& s, Slot& r) { return s.get_CommunicationStatus(r.I4()); }, "I4:0"),
      Property(
          L"ServerStatus", [](Server& s, Slot& r) { return s.get_ServerStatus(r.I4()); }, "I4:2"),
      Property(
          L"KELDataGroups", [](Server& s, Slot& r) { return s.get_KELDataGroups(r.Object<_KELDataGroups>()); },
          "Object"),
      Property(
          L"AutoDownloadFirmware", [](Server& s, Slot& r) { return s.get_AutoDownloadFirmware(r.Flag()); },
          "Bool:False"),
      Property(
          L"AutoDownloadProject", [](Server& s, Slot& r) { return s.get_AutoDownloadProject(r.Flag()); },
          "Bool:False"),
      Property(
          L"WordIO", [](Server& s, Slot& r) { return s.get_WordIO(r.I2()); }, "I2:0"),
      Property(
          L"Timeout", [](Server& s, Slot& r) { return s.get_Timeout(r.I2()); }, "I2:1000"),
      Property(
          L"ComPortNumber", [](Server& s, Slot& r) { return s.get_ComPortNumber(r.I4()); }, "I4:1"),
      Property(
          L"ProjectName", [](Server& s, Slot& r) { return s.get_ProjectName(r.Str()); }, "Str:\"\""),
      Property(
          L"BaudRate", [](Server& s, Slot& r) { return s.get_BaudRate(r.I4()); }, "I4:9600"),
      Property(
          L"DeviceType", [](Server& s, Slot& r) { return s.get_DeviceType(r.I4()); }, "I4:2"),
  };
}

// Each put in status 2 and what it answers there and in status 3.
Rows Puts(bool running) {
  const std::string refused = running ? std::string("80040001 \"") + Invalid : "Empty";
  return {
      {L"ComPortNumber", Set, {I4(3)}, [](Server& s, Slot&) { return s.put_ComPortNumber(3); }, "Empty"},
      {L"ProjectName",
       Set,
       {Str("line")},
       [](Server& s, Slot& a) { return s.put_ProjectName(*a.Name(0)); },
       "Empty"},
      {L"BaudRate", Set, {I4(19200)}, [](Server& s, Slot&) { return s.put_BaudRate(19200); }, "Empty"},
      {L"AutoDownloadFirmware",
       Set,
       {Flag(true)},
       [](Server& s, Slot&) { return s.put_AutoDownloadFirmware(VARIANT_TRUE); },
       "Empty"},
      {L"AutoDownloadProject",
       Set,
       {Flag(true)},
       [](Server& s, Slot&) { return s.put_AutoDownloadProject(VARIANT_TRUE); },
       "Empty"},
      {L"DeviceType", Set, {I4(2)}, [](Server& s, Slot&) { return s.put_DeviceType(2); }, refused},
      {L"WordIO", Set, {I2(1)}, [](Server& s, Slot&) { return s.put_WordIO(1); }, refused},
      {L"Timeout", Set, {I2(500)}, [](Server& s, Slot&) { return s.put_Timeout(500); }, refused},
      {L"SetDriverConfigurationFile",
       Method,
       {Str("scripted.ini")},
       [](Server& s, Slot& a) { return s.SetDriverConfigurationFile(*a.Name(0)); },
       refused},
  };
}

TEST(ServerMembers, AnswerTheSameBySlotAndByName) {
  CheckMembers(Properties(), Scripted);
}

TEST(ServerMembers, ArePutBySlotAndByName) {
  CheckMembers(Puts(false), Scripted);
}

TEST(ServerMembers, RefuseWhatIsNotForARunningServer) {
  CheckMembers(Puts(true), Running);
}

TEST(ServerMembers, OfANewServer) {
  const std::string noDriver =
      "8004000E \"INTERNAL ERROR, please contact support. codeObject variable or With block variable not set\" "
      "ORVOBusiness.KELDataServer";
  CheckMembers<Server>(
      {
          Property(
              L"ServerStatus", [](Server& s, Slot& r) { return s.get_ServerStatus(r.I4()); }, "I4:1"),
          Property(
              L"DeviceType", [](Server& s, Slot& r) { return s.get_DeviceType(r.I4()); }, "I4:0"),
          Property(
              L"DeviceName", [](Server& s, Slot& r) { return s.get_DeviceName(r.Str()); }, "Str:\"\""),
          Property(
              L"BaudRate", [](Server& s, Slot& r) { return s.get_BaudRate(r.I4()); }, noDriver),
          Property(
              L"BootDate", [](Server& s, Slot& r) { return s.get_BootDate(r.Str()); }, noDriver),
          Property(
              L"BootVersion", [](Server& s, Slot& r) { return s.get_BootVersion(r.R4()); }, noDriver),
          Property(
              L"MinorVersion", [](Server& s, Slot& r) { return s.get_MinorVersion(r.I2()); }, noDriver),
          {L"BaudRate", Set, {I4(9600)}, [](Server& s, Slot&) { return s.put_BaudRate(9600); }, noDriver},
          {L"OpenCommunication", Method, {}, [](Server& s, Slot&) { return s.OpenCommunication(); }, "Empty"},
          {L"CloseCommunication", Method, {}, [](Server& s, Slot&) { return s.CloseCommunication(); }, "Empty"},
          {L"DownloadFirmware",
           Method,
           {Str("a.fw")},
           [](Server& s, Slot& a) { return s.DownloadFirmware(*a.Name(0)); },
           "80040001 \"Invalid State: Server not stopped\" ORVOBusiness.KELDataServer"},
          {L"DownloadProject",
           Method,
           {Str("a.obj")},
           [](Server& s, Slot& a) { return s.DownloadProject(*a.Name(0)); },
           "80040001 \"Invalid State: Server not stopped\" ORVOBusiness.KELDataServer"},
          {L"SaveConfigurationToFile",
           Method,
           {Str("saved.cfg")},
           [](Server& s, Slot& a) { return s.SaveConfigurationToFile(*a.Name(0)); },
           "80040001 \"Invalid State: Server not stopped\" ORVOBusiness.KELDataServer"},
      },
      FreshServer);
}

TEST(ServerMembers, CarryTheNumbersOfTheRunTimeAndOfTheDriver) {
  const auto failing = [](std::int32_t number) {
    return [number](Scene& scene) { scene.scripted->Fail("BaudRate", number, "the line is down"); };
  };
  const auto read = [](Server& s, Slot& r) { return s.get_BaudRate(r.I4()); };
  const std::string tail = "the line is down\" ORVOBusiness.KELDataServer";
  CheckMembers<Server>(
      {
          {L"BaudRate", Get, {}, read, "80040001 \"Invalid State: " + tail, {}, failing(2)},
          {L"BaudRate", Get, {}, read, "8004000A \"Communication error: " + tail, {}, failing(1)},
          {L"BaudRate", Get, {}, read, "8004000A \"Communication error: " + tail, {}, failing(99)},
          {L"BaudRate", Get, {}, read, "8004000B \"Invalid Value: " + tail, {}, failing(10)},
          {L"BaudRate",
           Get,
           {},
           read,
           "8004000E \"INTERNAL ERROR, please contact support. code" + tail,
           {},
           failing(100)},
          {L"DeviceType",
           Set,
           {I4(7)},
           [](Server& s, Slot&) { return s.put_DeviceType(7); },
           "80040005 \"Invalid device type: 7\" ORVOBusiness.KELDataServer"},
      },
      Scripted);
}

TEST(ServerMembers, MissingFilesKeysAndClassesAreRunTimeErrors) {
  const auto choose = [](Server& s, Slot& a) { return s.SetDriverConfigurationFile(*a.Name(0)); };
  const auto number = [&](const char* file) {
    Scene scene;
    const ComPtr<Server> server = FreshServer(scene);
    const Value name = Str(file);
    Slot slot({name});
    const std::string bySlot = SlotText(choose(*server.Get(), slot));
    const std::string byName = Invoke(server.Get(), L"SetDriverConfigurationFile", Method, {name}).text;
    EXPECT_EQ(bySlot, byName);
    EXPECT_NE(bySlot.find(file), std::string::npos) << "the text names the file: " << bySlot;
    return bySlot.substr(0, 8);
  };
  EXPECT_EQ(number("missing.ini"), "800A0035");
  Scene scene;
  const ComPtr<Server> server = FreshServer(scene);
  EXPECT_EQ(SlotText(server->SetDriverConfigurationFile(Text16("none.ini"))).substr(0, 8), "800A01AD");
  const Reply reply = Invoke(server.Get(), L"SetDriverConfigurationFile", Method, {Str("none.ini")});
  EXPECT_EQ(reply.text.substr(0, 8), "800A01AD");
  EXPECT_NE(reply.text.find("There.Is.None"), std::string::npos) << reply.text;
}

TEST(ServerMembers, ConfigurationFilesBothWays) {
  const std::string saved = "saved.cfg";
  CheckMembers<Server>(
      {
          {L"SaveConfigurationToFile",
           Method,
           {Str(saved)},
           [](Server& s, Slot& a) { return s.SaveConfigurationToFile(*a.Name(0)); },
           "Empty"},
          {L"LoadConfigurationFromFile",
           Method,
           {Str(saved), Flag(false)},
           [](Server& s, Slot& a) { return s.LoadConfigurationFromFile(*a.Name(0), a.In(1)); },
           "Empty",
           {},
           [](Scene& scene) { scene.server->SaveConfigurationToFile(Text16("saved.cfg")); }},
          {L"LoadConfigurationFromFile",
           Method,
           {Str(saved), Missing()},
           [](Server& s, Slot& a) { return s.LoadConfigurationFromFile(*a.Name(0), a.In(1)); },
           "Empty",
           {},
           [](Scene& scene) { scene.server->SaveConfigurationToFile(Text16("saved.cfg")); }},
          {L"LoadConfigurationFromFile",
           Method,
           {Str("scripted.ini"), Flag(true)},
           [](Server& s, Slot& a) { return s.LoadConfigurationFromFile(*a.Name(0), a.In(1)); },
           "80040003 \"Invalid file format: scripted.ini\" ORVOBusiness.KELDataServer"},
          {L"DownloadFirmware",
           Method,
           {Str("a.fw")},
           [](Server& s, Slot& a) { return s.DownloadFirmware(*a.Name(0)); },
           "Empty"},
          {L"DownloadProject",
           Method,
           {Str("a.obj")},
           [](Server& s, Slot& a) { return s.DownloadProject(*a.Name(0)); },
           "Empty"},
      },
      Scripted);
}

TEST_F(Boundary, FlagsAreTrueAsMinusOneWhateverBitsCameIn) {
  scene.server = Scene::NewServer();
  for (const short given : {short{1}, short{-1}, short{256}}) {
    SCOPED_TRACE(given);
    EXPECT_EQ(scene.server->put_AutoDownloadFirmware(given), S_OK);
    VARIANT_BOOL bySlot = 77;
    EXPECT_EQ(scene.server->get_AutoDownloadFirmware(&bySlot), S_OK);
    EXPECT_TRUE(bySlot == VARIANT_TRUE || bySlot == VARIANT_FALSE);
    Invoke(scene.server.Get(), L"AutoDownloadProject", Set, {Flag16(given)});
    const Reply byName = Invoke(scene.server.Get(), L"AutoDownloadProject", Get);
    EXPECT_EQ(byName.text, bySlot == VARIANT_TRUE ? "Bool:True" : "Bool:False");
  }
}

}  // namespace
}  // namespace orvo::testing
