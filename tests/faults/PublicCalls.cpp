#include "faults/PublicCalls.h"

#include <map>
#include <stdexcept>
#include <utility>

namespace orvo::testing {

namespace {

using CallHandles = SafeArray<std::int32_t>;
using CallValues = SafeArray<Variant>;
using Run = std::function<std::string(FaultScene&)>;

// Runs `call`, then everything that follows from it.
std::string ResultAndEvents(FaultScene& scene, const std::function<std::string()>& call) {
  std::string result;
  const std::string raised = ErrorOf([&] { result = call(); });
  scene.Advance(500ms);
  const std::string events = scene.TakeEvents();
  return (raised == "none" ? result : raised) + (events.empty() ? "" : " | " + events);
}

Run Doing(std::function<void(FaultScene&)> call) {
  return [call = std::move(call)](FaultScene& scene) {
    return ResultAndEvents(scene, [&] {
      call(scene);
      return std::string("ok");
    });
  };
}

Run Telling(std::function<std::string(FaultScene&)> call) {
  return [call = std::move(call)](FaultScene& scene) {
    return ResultAndEvents(scene, [&] { return call(scene); });
  };
}

Run WithId(std::function<void(FaultScene&, std::int32_t&)> call) {
  return Telling([call = std::move(call)](FaultScene& scene) {
    std::int32_t id = -1;
    call(scene, id);
    return "id " + std::to_string(id);
  });
}

// "SetConfigurationMode OpenCommunication": what opening told the driver to do, in order.
std::string Open(FaultScene& scene) {
  scene.plant->driver->log.clear();
  scene.Server().OpenCommunication();
  std::string sent = "ok";
  for (const std::string& line : scene.plant->driver->log)
    sent += " " + line;
  return sent;
}

const CallValues Written{"5", "6", "7"};

std::vector<PublicCall> ServerCalls() {
  std::vector<PublicCall> calls;
  for (const DriverProperty& property : DriverProperties())
    for (const std::int32_t status : {1, 2, 3})
      if (status < 3 || property.atStatus3)
        calls.push_back({"Server." + property.member + " at " + std::to_string(status),
                         {.status = status},
                         Doing([use = property.use](FaultScene& scene) { use(scene.Server()); })});
  for (const std::int32_t status : {1, 2}) {
    const std::string at = " at " + std::to_string(status);
    calls.push_back({"Server.put DeviceType" + at, {.status = status}, Doing([](FaultScene& scene) {
                       scene.Server().PutDeviceType(1);
                     })});
    calls.push_back({"Server.SetDriverConfigurationFile" + at, {.status = status}, Doing([](FaultScene& scene) {
                       scene.Server().SetDriverConfigurationFile("drivers.ini");
                     })});
  }
  calls.push_back({"Server.SetDriverConfigurationFile at 0", {.status = 0}, Doing([](FaultScene& scene) {
                     scene.Server().SetDriverConfigurationFile("drivers.ini");
                   })});
  calls.push_back(
      {"Server.OpenCommunication", {.status = 2, .active = true, .downloads = true}, Telling(&Open)});
  for (const std::int32_t status : {2, 3})
    calls.push_back({"Server.CloseCommunication at " + std::to_string(status),
                     {.status = status, .active = true},
                     Doing([](FaultScene& scene) { scene.Server().CloseCommunication(); })});
  calls.push_back({"Server.DownloadFirmware", {.status = 2}, Doing([](FaultScene& scene) {
                     scene.Server().DownloadFirmware("new.fw");
                   })});
  calls.push_back({"Server.DownloadProject", {.status = 2}, Doing([](FaultScene& scene) {
                     scene.Server().DownloadProject("new.obj");
                   })});
  calls.push_back({"Server.LoadConfigurationFromFile strictly", {.status = 2}, Doing([](FaultScene& scene) {
                     scene.Server().LoadConfigurationFromFile("plant.cfg", Variant(false));
                   })});
  calls.push_back({"Server.LoadConfigurationFromFile", {.status = 2}, Doing([](FaultScene& scene) {
                     scene.Server().LoadConfigurationFromFile("plant.cfg");
                   })});
  calls.push_back({"Server.CheckConfigurationFile", {.status = 2}, Doing([](FaultScene& scene) {
                     scene.Server().CheckConfigurationFile("plant.cfg");
                   })});
  calls.push_back({"Server.SaveConfigurationToFile", {.status = 2}, Doing([](FaultScene& scene) {
                     scene.Server().SaveConfigurationToFile("saved.cfg");
                   })});
  return calls;
}

// What touches no device: the stored properties, the collections, the plain facts.
std::vector<PublicCall> QuietCalls() {
  return {
      {"Server, what it stores", {.status = 2}, Doing([](FaultScene& scene) {
         KELDataServer& server = scene.Server();
         server.PutAutoDownloadFirmware(server.AutoDownloadFirmware());
         server.PutAutoDownloadProject(server.AutoDownloadProject());
         server.DeviceName();
         server.DeviceType();
         server.ServerStatus();
       })},
      {"Groups, all of it", {.status = 2, .wholeGroups = true}, Doing([](FaultScene& scene) {
         KELDataGroups& groups = scene.Groups();
         groups.Add("L");
         groups.RemoveByName("L");
         groups.Remove(groups.Add()->Handle());
         groups.Item(1)->Parent();
         groups.ItemByName("H");
         groups.Parent();
         groups.Count();
         groups.NewEnum();
         groups.RemoveAll();
       })},
      {"Group, its facts", {.status = 3, .wholeGroups = true}, Doing([](FaultScene& scene) {
         KELDataGroup& group = *scene.group;
         group.PutSubscribed(group.Subscribed());
         group.PutUpdateRate(group.UpdateRate());
         group.PutActive(group.Active());
         group.CompileVariable({1, 2, 3, 4});
         group.GetDimension({1, 2, 3, 4});
         group.SetCompiledBufferDimension(10);
         group.CompiledBuffer();
         group.AsyncCancel(17);
       })},
      {"Group.put Active to false",
       {.status = 3, .wholeGroups = true, .active = true},
       Doing([](FaultScene& scene) { scene.group->PutActive(false); })},
      {"Items, but Add", {.status = 2, .wholeGroups = true}, Doing([](FaultScene& scene) {
         KELDataItems& items = scene.Items();
         items.AddCompiled("plain");
         items.RemoveByName("plain");
         items.Remove(items.ItemByName("b")->Handle());
         items.Item(1)->Parent();
         items.Parent();
         items.Count();
         items.NewEnum();
         items.RemoveAll();
       })},
      {"Item, its facts", {.status = 3}, Doing([](FaultScene& scene) {
         KELDataItem& item = *scene.item;
         item.PutSigned(item.Signed());
         item.PutBCD(item.BCD());
         item.DATAValue();
         item.TimeStamp();
       })},
  };
}

std::vector<PublicCall> GroupCalls(bool wholeGroups) {
  const FaultSetup setup{.wholeGroups = wholeGroups};
  const std::string of = wholeGroups ? " of groups" : " of items";
  std::vector<PublicCall> calls;
  const auto add = [&](const std::string& name, Run run) {
    calls.push_back({"Group." + name + of, setup, std::move(run)});
  };
  add("SyncRead", Telling([](FaultScene& scene) {
        CallValues values;
        CallHandles errors;
        scene.group->SyncRead({1, 2, 3}, values, errors);
        return LogText(values) + " " + LogText(errors);
      }));
  add("SyncReadAll", Telling([](FaultScene& scene) {
        CallHandles handles, errors;
        CallValues values;
        scene.group->SyncReadAll(handles, values, errors);
        return LogText(handles) + " " + LogText(values) + " " + LogText(errors);
      }));
  add("SyncWrite", Telling([](FaultScene& scene) {
        CallHandles errors;
        scene.group->SyncWrite({1, 2, 3}, Written, errors);
        return LogText(errors);
      }));
  add("SyncWriteAll", Telling([](FaultScene& scene) {
        CallHandles errors;
        scene.group->SyncWriteAll({1, 2, 3}, Written, errors);
        return LogText(errors);
      }));
  add("AsyncRead", WithId([](FaultScene& scene, std::int32_t& id) { scene.group->AsyncRead({1, 2, 3}, id); }));
  add("AsyncReadAll", WithId([](FaultScene& scene, std::int32_t& id) { scene.group->AsyncReadAll(id); }));
  add("AsyncWrite", WithId([](FaultScene& scene, std::int32_t& id) {
        scene.group->AsyncWrite({1, 2, 3}, Written, id);
      }));
  add("AsyncWriteAll", WithId([](FaultScene& scene, std::int32_t& id) {
        scene.group->AsyncWriteAll({1, 2, 3}, Written, id);
      }));
  calls.push_back({"refresh" + of, {.wholeGroups = wholeGroups, .active = true}, Doing([](FaultScene& scene) {
                     scene.Advance(500ms);
                   })});
  return calls;
}

std::vector<PublicCall> OtherCalls() {
  const auto activate = Doing([](FaultScene& scene) { scene.group->PutActive(true); });
  const auto change = Doing([](FaultScene& scene) { scene.group->PutUpdateRate(700); });
  return {
      {"Group.put Active at 2", {.status = 2}, activate},
      {"Group.put Active at 3", {.status = 3}, activate},
      {"Group.put Active on a full device", {.status = 3, .full = true}, activate},
      {"Group.put UpdateRate at 2", {.status = 2, .active = true}, change},
      {"Group.put UpdateRate at 3", {.status = 3, .active = true}, change},
      {"Group.SyncReadAll on a full device",
       {.wholeGroups = true, .full = true},
       Telling([](FaultScene& scene) {
         CallHandles handles, errors;
         CallValues values;
         scene.group->SyncReadAll(handles, values, errors);
         return LogText(errors);
       })},
      {"Items.Add", {.status = 2}, Doing([](FaultScene& scene) { scene.Items().Add("WO9", "new"); })},
      {"Item.get USERValue", {}, Telling([](FaultScene& scene) { return LogText(scene.item->USERValue()); })},
      {"Item.SyncRead", {}, Telling([](FaultScene& scene) {
         Variant value("old");
         std::int32_t error = -1;
         const std::string raised = ErrorOf([&] { scene.item->SyncRead(value, error); });
         return LogText(value) + " " + std::to_string(error) + (raised == "none" ? "" : " " + raised);
       })},
      {"Item.SyncWrite", {}, Telling([](FaultScene& scene) {
         std::int32_t error = -1;
         scene.item->SyncWrite("5", error);
         return std::to_string(error);
       })},
  };
}

}  // namespace

const std::vector<DriverProperty>& DriverProperties() {
  static const std::vector<DriverProperty> properties{
      {"MinorVersion", "get MinorVersion", true, [](KELDataServer& server) { server.MinorVersion(); }},
      {"MajorVersion", "get MajorVersion", true, [](KELDataServer& server) { server.MajorVersion(); }},
      {"Description", "get Description", true, [](KELDataServer& server) { server.Description(); }},
      {"BootVersion", "get BootVersion", true, [](KELDataServer& server) { server.BootVersion(); }},
      {"BootDate", "get BootDate", true, [](KELDataServer& server) { server.BootDate(); }},
      {"FirmwareVersion", "get FirmwareVersion", true, [](KELDataServer& server) { server.FirmwareVersion(); }},
      {"BoardDescription", "get BoardDescription", true,
       [](KELDataServer& server) { server.BoardDescription(); }},
      {"BoardStatus", "get BoardStatus", true, [](KELDataServer& server) { server.BoardStatus(); }},
      {"CommunicationStatus", "get CommunicationStatus", true,
       [](KELDataServer& server) { server.CommunicationStatus(); }},
      {"WordIO", "get WordIO", true, [](KELDataServer& server) { server.WordIO(); }},
      {"Timeout", "get Timeout", true, [](KELDataServer& server) { server.Timeout(); }},
      {"ComPortNumber", "get ComPortNumber", true, [](KELDataServer& server) { server.ComPortNumber(); }},
      {"ProjectName", "get ProjectName", true, [](KELDataServer& server) { server.ProjectName(); }},
      {"BaudRate", "get BaudRate", true, [](KELDataServer& server) { server.BaudRate(); }},
      {"PutComPortNumber", "put ComPortNumber", true,
       [](KELDataServer& server) { server.PutComPortNumber(4); }},
      {"PutProjectName", "put ProjectName", true, [](KELDataServer& server) { server.PutProjectName("p"); }},
      {"PutBaudRate", "put BaudRate", true, [](KELDataServer& server) { server.PutBaudRate(4800); }},
      {"PutWordIO", "put WordIO", false, [](KELDataServer& server) { server.PutWordIO(3); }},
      {"PutTimeout", "put Timeout", false, [](KELDataServer& server) { server.PutTimeout(300); }},
  };
  return properties;
}

const std::vector<PublicCall>& PublicCalls() {
  static const std::vector<PublicCall> calls = [] {
    std::vector<PublicCall> all;
    for (const std::vector<PublicCall>& part :
         {ServerCalls(), QuietCalls(), GroupCalls(false), GroupCalls(true), OtherCalls()})
      all.insert(all.end(), part.begin(), part.end());
    return all;
  }();
  return calls;
}

const PublicCall& PublicCallNamed(const std::string& name) {
  static const std::map<std::string, const PublicCall*> byName = [] {
    std::map<std::string, const PublicCall*> map;
    for (const PublicCall& call : PublicCalls())
      map.emplace(call.name, &call);
    return map;
  }();
  const auto found = byName.find(name);
  if (found == byName.end()) throw std::logic_error("no public call is named '" + name + "'");
  return *found->second;
}

}  // namespace orvo::testing
