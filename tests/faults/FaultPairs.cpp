#include "faults/FaultPairs.h"

#include "faults/PublicCalls.h"

namespace orvo::testing {

std::vector<FaultPair> ServerFaultPairs() {
  std::vector<FaultPair> pairs;
  for (const DriverProperty& property : DriverProperties())
    for (const int status : {1, 2, 3})
      if (status < 3 || property.atStatus3)
        pairs.push_back({property.operation, "Server." + property.member + " at " + std::to_string(status), 0,
                         "{mapped}", ""});
  for (const std::string status : {"0", "1", "2"})
    for (const char* const operation : {"factory", "PutNetworkType", "SetEventSink"})
      pairs.push_back({operation, "Server.SetDriverConfigurationFile at " + status, 0, "{plain}", ""});
  pairs.insert(
      pairs.end(),
      {{"CreateDevice", "Server.put DeviceType at 1", 0, "{internal :Server.DeviceType(NewValue=1}", ""},
       {"CreateDevice", "Server.put DeviceType at 2", 0, "{internal :Server.DeviceType(NewValue=1}",
        "Device=none"},
       {"CloseCommunication", "Server.CloseCommunication at 2", 0, "ok", ""},
       {"CloseCommunication", "Server.CloseCommunication at 3", 0, "ok", "G.Timer=none, Status=2, Timers=0"},
       {"DownloadFirmware", "Server.DownloadFirmware", 0, "ok", ""},
       {"DownloadProject", "Server.DownloadProject", 0, "ok", ""}});

  // Opening goes on with the next step whatever fails, and always ends open.
  const std::string mode = " SetConfigurationMode()";
  const std::string firmware = " DownloadFirmware(plant.fw,0)";
  const std::string project = " DownloadProject(plant.obj,0)";
  const std::string open = " OpenCommunication(true)";
  const std::string define = " SetGroupDefinition(5,-1)";
  const std::string all = "ok" + mode + firmware + project + open + define;
  const std::string opened = "G.Defined=True, G.Timer=runs, Status=3, Timers=2";
  const std::string undefined = "Status=3, Timers=1";
  const auto opening = [&](const char* operation, int nth, const std::string& outcome,
                           const std::string& left) {
    pairs.push_back({operation, "Server.OpenCommunication", nth, outcome, left});
  };
  opening("FirmwareDownloadNeeded", 0, "ok" + mode + project + open + define, opened);
  opening("FirmwareDownloadNeeded", 1, all, opened);
  opening("FirmwareDownloadNeeded", 2, "ok" + mode + project + open + define, opened);
  opening("ProjectDownloadNeeded", 0, "ok" + mode + firmware + open + define, opened);
  opening("ProjectDownloadNeeded", 1, all, opened);
  opening("ProjectDownloadNeeded", 2, "ok" + mode + firmware + open + define, opened);
  opening("SetConfigurationMode", 0, "ok" + mode + open + define, opened);
  opening("ProjectName", 0, "ok" + mode + open + define, opened);
  opening("ProjectName", 1, "ok" + mode + project + open + define, opened);
  opening("ProjectName", 2, "ok" + mode + firmware + open + define, opened);
  opening("DownloadFirmware", 0, all, opened);
  opening("DownloadProject", 0, all, opened);
  opening("OpenCommunication", 0, all, opened);
  opening("GroupCapacity", 0, "ok" + mode + firmware + project + open, undefined);
  opening("SetGroupDefinition", 0, all, undefined);
  return pairs;
}

std::vector<FaultPair> ConfigurationFaultPairs() {
  std::vector<FaultPair> pairs;
  for (const char* const operation : {"BaudRate", "ComPortNumber", "WordIO", "Timeout"})
    pairs.push_back({operation, "Server.SaveConfigurationToFile", 0, "{mapped}", ""});

  // A strict load ends at the failure, and what was applied before it stays.
  const std::string port = "-2147221494: Communication error: Can't set COM port";
  const std::string rate = "-2147221494: Communication error: Can't set Baudrate";
  const std::string activation = "{internal :DataGroup.Active(GroupName=A,NewValue=True}";
  const std::string refused = "-2147221495: Invalid ItemID: WO1: Group Name= AGroupHandle: 1";
  const std::string line = "baud=19200, port=2, project=plant.cfg";
  const std::string applied = "AutoDownloads=TrueTrue, DeviceName=Loaded, Groups=";
  const std::string parameters = ", " + line + ", timeout=6, wordIO=5";
  const std::vector<FaultPair> strictly{
      {"SetConfigurationMode", "", 0, "ok", "done: "},
      {"PutProjectName", "", 0, "ok", "done: project=plant.prj"},
      {"PutComPortNumber", "", 0, port, "project=plant.cfg"},
      {"ComPortNumber", "", 0, port, "port=2, project=plant.cfg"},
      {"PutBaudRate", "", 0, rate, "port=2, project=plant.cfg"},
      {"BaudRate", "", 0, rate, line},
      {"CreateDevice", "", 0, "{internal :Server.DeviceType(NewValue=2}", "Device=none, " + line},
      {"PutWordIO", "", 0, "{mapped}", "DeviceName=Loaded, " + line},
      {"PutTimeout", "", 0, "{mapped}", "DeviceName=Loaded, " + line + ", wordIO=5"},
      {"GroupCapacity", "", 0, activation, applied + "A" + parameters},
      {"GroupCapacity", "", 2, activation, applied + "A" + parameters},
      {"CompileItemId", "", 1, refused, applied + "AB" + parameters},
      {"CheckVariable", "", 1, refused, applied + "AB" + parameters},
      {"CheckVariable", "", 3, "{internal :Server.LoadConfigurationFromFile(FileName=plant.cfg}",
       applied + "AB" + parameters},
      {"ItemLoaded", "", 1, refused, applied + "AB" + parameters},
  };
  for (FaultPair pair : strictly) {
    pair.call = "Server.LoadConfigurationFromFile strictly";
    pairs.push_back(pair);
  }

  // Otherwise the load goes on, and only what failed is missing afterwards.
  const std::vector<FaultPair> passedOver{
      {"SetConfigurationMode", "", 0, "ok", "done: "},
      {"PutProjectName", "", 0, "ok", "done: project=plant.prj"},
      {"PutComPortNumber", "", 0, "ok", "done: port=1"},
      {"ComPortNumber", "", 0, "ok", "done: "},
      {"PutBaudRate", "", 0, "ok", "done: baud=9600"},
      {"BaudRate", "", 0, "ok", "done: "},
      {"CreateDevice", "", 0, "ok", "done: A.Items=, B.Items=, Device=none"},
      {"PutWordIO", "", 0, "ok", "done: wordIO=0"},
      {"PutTimeout", "", 0, "ok", "done: timeout=1000"},
      {"GroupCapacity", "", 0, "ok", "done: A.Active=False"},
      {"GroupCapacity", "", 1, "ok", "done: A.Active=False"},
      {"GroupCapacity", "", 2, "ok", "done: A.Active=False"},
      {"CompileItemId", "", 0, "ok", "done: A.Items=, B.Items="},
      {"CompileItemId", "", 1, "ok", "done: A.Items=l, A.l.Handle=1"},
      {"CheckVariable", "", 0, "ok", "done: A.Items=, B.Items="},
      {"CheckVariable", "", 2, "ok", "done: A.Items=k"},
      {"CheckVariable", "", 3, "ok", "done: "},
      {"ItemLoaded", "", 0, "ok", "done: A.Items=, B.Items="},
      {"ItemLoaded", "", 1, "ok", "done: A.Items=l, A.l.Handle=1"},
  };
  for (FaultPair pair : passedOver) {
    for (const char* const call : {"Server.LoadConfigurationFromFile", "Server.CheckConfigurationFile"}) {
      pair.call = call;
      pairs.push_back(pair);
    }
  }
  return pairs;
}

const std::vector<FaultPair>& FaultPairs() {
  static const std::vector<FaultPair> pairs = [] {
    std::vector<FaultPair> all;
    for (const std::vector<FaultPair>& part :
         {ServerFaultPairs(), ConfigurationFaultPairs(), GroupFaultPairs(), RequestFaultPairs()})
      all.insert(all.end(), part.begin(), part.end());
    return all;
  }();
  return pairs;
}

}  // namespace orvo::testing
