#include "faults/FaultScene.h"

#include "spooler/modMonoSpooler.h"

#include <utility>

namespace orvo::testing {

namespace {

constexpr const char* SavedConfiguration =
    "[Communication Parameters]\nBaudRate=19200\nComPortNumber=2\nDeviceType=2\nDeviceName=Loaded\nQZPar1=5\n"
    "QZPar2=6\nAutoDownloadFirmware=True\nAutoDownloadProject=True\n"
    "[Groups]\nA=True#True#250#7#4#\nB=False#True#0#8##\n"
    "[Group:A]\nk=WO1#0#0#1#1#0#False#False#\nl=WO2#0#2#1#2#0#False#False#\n"
    "[Group:B]\nm=WO3#0#0#1#3#0#False#False#\n";

// The driver counts as well again when the reads of a fresh request come within this time.
constexpr auto Patience = 3000ms;

std::string YesNo(bool value) {
  return value ? "True" : "False";
}

std::string Times(const std::string& kind, int number) {
  return kind + ":" + std::to_string(number);
}

// "G" of "G.Active", "G.a" of "G.a.DATAValue"; nothing for what belongs to the server.
std::string Owner(const std::string& name) {
  const std::size_t end = name.rfind('.');
  return end == std::string::npos ? std::string() : name.substr(0, end);
}

}  // namespace

std::string ItemValues(int serial) {
  return "[" + Times("I2", 10 * serial + 1) + "," + Times("I4", 10 * serial + 2) + "," +
         Times("R4", 10 * serial + 3) + "]";
}

std::string GroupValues(int serial) {
  return "[" + Times("R8", 10 * serial + 1) + "," + Times("R8", 10 * serial + 2) + "," +
         Times("R4", 10 * serial + 3) + "]";
}

std::string Difference(const Picture& before, const Picture& after) {
  std::string difference;
  const auto has = [](const Picture& picture, const std::string& owner) {
    return owner.empty() || picture.contains(owner + ".Handle");
  };
  const auto tell = [&](const std::string& text) {
    if (!difference.empty()) difference += ", ";
    difference += text;
  };
  for (const auto& [name, value] : after) {
    const auto found = before.find(name);
    if (!has(before, Owner(name)) || (found != before.end() && found->second == value)) continue;
    tell(name.ends_with(".TimeStamp") ? Owner(name) + ".stamped" : name + "=" + value);
  }
  for (const auto& [name, value] : before)
    if (has(after, Owner(name)) && !after.contains(name)) tell(name + " gone");
  return difference;
}

FaultScene::FaultScene(const FaultSetup& setup) : setup_(setup) {
  plant->files.PutFile("plant.cfg", SavedConfiguration);
  plant->files.PutFile("saved.cfg", "as it was");
  ScriptedDriver& scripted = *plant->driver;
  scripted.groupTransfer = setup.wholeGroups;
  scripted.projectName = "plant.prj";
  if (setup.full) scripted.groupCapacity = 2;
  if (setup.status > 0) Server().SetDriverConfigurationFile("drivers.ini");
  if (setup.status > 0) MakeGroups();
  if (setup.status > 1 && !setup.fresh) OpenForTheFirstTime();
  driver->called.clear();
  driver->taken.clear();
  plant->driver->log.clear();
  plant->events.clear();
}

FaultScene::~FaultScene() {
  End();
}

void FaultScene::MakeGroups() {
  if (setup_.status > 1) Server().PutDeviceType(2);
  for (const char* const name : {"G", "H"}) {
    const auto added = Groups().Add(name);
    added->PutSubscribed(true);
    plant->Watch(*added, added->Handle() == 1 ? "" : "H ");
    added->SetGroupId(added->Handle() + 4);
    added->SetCompiledBufferDimension(10);
    added->PutUpdateRate(1000);
  }
  group = Groups().Item(1);
  if (setup_.status < 2) return;
  item = Items().Add("WO1", "a");
  Items().Add("DW2", "b")->SetItemGroupBufferOffset(2);
  Items().Add("FL3", "c")->SetItemGroupBufferOffset(6);
  Groups().Item(2)->KELDataItems()->Add("WO4", "d");
}

// One read gives every item of G a value; below status 3 communication is closed again then.
void FaultScene::OpenForTheFirstTime() {
  Server().OpenCommunication();
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncRead({1, 2, 3}, values, errors);
  if (setup_.full) {
    Server().CloseCommunication();
    Groups().Add("K")->SetGroupId(9);
    Server().OpenCommunication();
    for (const std::int32_t handle : {2, 3}) {
      Groups().Item(handle)->PutActive(true);
      Groups().Item(handle)->PutActive(false);
    }
  }
  if (setup_.active || setup_.status < 3) Server().CloseCommunication();
  if (setup_.active) group->PutActive(true);
  if (setup_.active && setup_.status == 3) {
    Server().OpenCommunication();
    Advance(1500ms);
  }
  if (setup_.downloads) {
    Server().PutAutoDownloadFirmware(true);
    Server().PutAutoDownloadProject(true);
    plant->driver->firmwareDownloadNeeded = plant->driver->projectDownloadNeeded = true;
  }
}

Picture FaultScene::Look() const {
  Picture picture;
  KELDataServer& server = Server();
  const ScriptedDriver& scripted = *plant->driver;
  picture["Status"] = std::to_string(server.ServerStatus());
  picture["DeviceType"] = std::to_string(server.DeviceType());
  picture["DeviceName"] = server.DeviceName();
  picture["Device"] = server.Device() ? "made" : "none";
  picture["AutoDownloads"] = YesNo(server.AutoDownloadFirmware()) + YesNo(server.AutoDownloadProject());
  picture["Busy"] = YesNo(server.Spooler()->IsBusy());
  picture["Waiting"] = YesNo(plant->platform.ModuleState<modMonoSpooler>().SyncRequestPending);
  picture["Timers"] = std::to_string(plant->platform.TimersAlive());
  picture["port"] = std::to_string(scripted.comPortNumber);
  picture["baud"] = std::to_string(scripted.baudRate);
  picture["wordIO"] = std::to_string(scripted.wordIO);
  picture["timeout"] = std::to_string(scripted.timeout);
  picture["project"] = scripted.projectName;
  picture["saved.cfg"] = plant->files.ReadWhole("saved.cfg") == "as it was" ? "as it was" : "written";
  std::string& groups = picture["Groups"];
  for (const auto& each : Groups().NewEnum()) {
    const std::string name = each->GroupName() + ".";
    groups += each->GroupName();
    picture[name + "Handle"] = std::to_string(each->Handle());
    picture[name + "Active"] = YesNo(each->Active());
    picture[name + "Subscribed"] = YesNo(each->Subscribed());
    picture[name + "UpdateRate"] = std::to_string(each->UpdateRate());
    picture[name + "GroupId"] = std::to_string(each->GroupId());
    picture[name + "Defined"] = YesNo(each->IsDefined());
    picture[name + "Timer"] = each->TimerId() < 0 ? "none" : "runs";
    picture[name + "Pending"] = YesNo(each->RefreshPending());
    picture[name + "Buffer"] = LogText(Variant(each->CompiledBuffer()));
    std::string& items = picture[name + "Items"];
    for (const auto& one : each->KELDataItems()->NewEnum()) {
      const std::string field = name + one->ItemName() + ".";
      items += one->ItemName();
      picture[field + "Handle"] = std::to_string(one->Handle());
      picture[field + "Facts"] =
          one->ItemId() + " " + std::to_string(one->ItemType()) + " " + std::to_string(one->ItemWordLength()) +
          " " + std::to_string(one->CompiledAddress()) + " " + std::to_string(one->ItemGroupBufferOffset()) +
          " " + std::to_string(one->AccessRights()) + YesNo(one->Signed()) + YesNo(one->BCD());
      picture[field + "DATAValue"] = LogText(one->DATAValue());
      picture[field + "TimeStamp"] = std::to_string(one->TimeStamp().days);
      picture[field + "WriteDone"] = YesNo(one->WriteDone());
    }
  }
  return picture;
}

std::string FaultScene::TakeEvents() {
  std::string events;
  for (const std::string& event : std::exchange(plant->events, {}))
    events += (events.empty() ? "" : "; ") + event;
  return events;
}

std::string FaultScene::Recover() {
  driver->Disarm();
  plant->driver->firmwareDownloadNeeded = plant->driver->projectDownloadNeeded = false;
  try {
    return GoOn();
  } catch (const AutomationError& error) {
    return "raised " + std::to_string(error.Number()) + ": " + error.Description();
  } catch (const std::exception& error) {
    return std::string("threw ") + error.what();
  }
}

std::string FaultScene::GoOn() {
  if (Server().ServerStatus() != 3) {
    if (!Server().Device() || !group || !item || Groups().Count() == 0 || Groups().NewEnum()[0] != group)
      Reconfigure();
    Server().OpenCommunication();
    if (Server().ServerStatus() != 3) return "communication does not open";
  }
  if (group->Active() && group->TimerId() < 0) {  // it got no definition: the next open tries again
    Server().CloseCommunication();
    Server().OpenCommunication();
    if (group->TimerId() < 0) return "no timer although active";
  }
  for (const auto step : {&FaultScene::RefreshesItsOwn, &FaultScene::ReadsItsOwn,
                          &FaultScene::AsynchronousReadsTheirOwn, &FaultScene::WritesItsOwn}) {
    for (int k = 0; Server().Spooler()->IsBusy() && k < 40; ++k)
      Advance(50ms);
    if (Server().Spooler()->IsBusy()) return "the spooler stays busy";
    const std::string wrong = (this->*step)();
    if (!wrong.empty()) return wrong;
  }
  return {};
}

void FaultScene::Reconfigure() {
  Server().SetDriverConfigurationFile("drivers.ini");
  Server().PutDeviceType(2);
  group = Groups().Add("again");
  group->PutSubscribed(true);
  plant->Watch(*group);
  group->SetGroupId(5);
  group->SetCompiledBufferDimension(10);
  item = Items().Add("WO1", "a");
  Items().Add("DW2", "b")->SetItemGroupBufferOffset(2);
  Items().Add("FL3", "c")->SetItemGroupBufferOffset(6);
}

std::string FaultScene::ReadsItsOwn() {
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors, handles;
  const auto wrong = [&](const char* call, const std::string& expected) {
    const std::string got = LogText(values) + " " + LogText(errors);
    return got == expected + " [0,0,0]" ? std::string() : std::string(call) + " afterwards: " + got;
  };
  group->SyncRead({1, 2, 3}, values, errors);
  std::string text = wrong("SyncRead", ItemValues(driver->Serial()));
  if (!text.empty()) return text;
  group->SyncReadAll(handles, values, errors);
  text =
      wrong("SyncReadAll", setup_.wholeGroups ? GroupValues(driver->Serial()) : ItemValues(driver->Serial()));
  if (!text.empty()) return text;
  Variant value;
  std::int32_t error = -1;
  item->SyncRead(value, error);
  const std::string expected = "I2:" + std::to_string(10 * driver->Serial() + 1);
  return error == 0 && LogText(value) == expected ? "" : "the item's SyncRead afterwards: " + LogText(value);
}

std::string FaultScene::AsynchronousReadsTheirOwn() {
  const bool active = group->Active();
  if (active) group->PutActive(false);  // whose refreshes would come between
  Advance(500ms);
  plant->events.clear();
  std::int32_t first = 0;
  std::int32_t second = 0;
  const int serial = driver->Serial();
  group->AsyncRead({1}, first);
  group->AsyncRead({2}, second);
  Advance(500ms);
  const auto event = [](std::int32_t id, int handle, const std::string& value) {
    return "AsyncReadComplete " + std::to_string(id) + " [" + std::to_string(handle) + "] [" + value + "] [0]";
  };
  const std::string expected = event(first, 1, Times("I2", 10 * (serial + 1) + 1)) + "; " +
                               event(second, 2, Times("I4", 10 * (serial + 2) + 2));
  const std::string got = TakeEvents();
  if (active) group->PutActive(true);
  return got == expected ? "" : "AsyncRead afterwards: " + got;
}

std::string FaultScene::WritesItsOwn() {
  SafeArray<std::int32_t> errors;
  group->SyncWrite({1, 3}, {"77", "78"}, errors);
  const TakenRequest& last = driver->taken.back();
  const std::string got = LogText(errors) + " " + last.operation + LogText(last.values);
  return got == "[0,0] WriteItems[I4:77,R4:78]" ? "" : "SyncWrite afterwards: " + got;
}

std::string FaultScene::RefreshesItsOwn() {
  if (!group->Active()) return {};
  plant->events.clear();
  const auto begin = plant->platform.Now();
  while (plant->events.empty() && plant->platform.Now() - begin < Patience)
    Advance(50ms);
  const int serial = driver->taken.empty() ? 0 : driver->taken.back().serial;
  const std::string expected =
      "DataChange [1,2,3] " + (setup_.wholeGroups ? GroupValues(serial) : ItemValues(serial));
  const std::string got = TakeEvents();
  return got == expected ? "" : "the refresh afterwards: " + got;
}

std::string FaultScene::End() {
  if (!plant) return {};
  item.reset();
  group.reset();
  plant->server.reset();
  std::string left;
  if (plant->platform.TimersAlive() != 0) left += "a timer runs on; ";
  plant->driver.reset();
  plant.reset();
  driver.reset();
  const std::int64_t objects = AutomationObject::LiveCount() - liveBefore_;
  if (objects != 0) left += std::to_string(objects) + " objects are left";
  return left;
}

}  // namespace orvo::testing
