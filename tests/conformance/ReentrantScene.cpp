#include "conformance/ReentrantScene.h"

namespace orvo::testing {

Scene::Scene() {
  plant->files.PutFile("plant.cfg", "[Communication Parameters]\r\nComPortNumber=1\r\nBaudRate=9600\r\n");
  plant->Configure();
  device.Serve(*plant);
  device.image.assign(6, 0);
  group = plant->server->KELDataGroups()->Add("G");
  std::int32_t offset = 0;
  for (const char* itemId : {"WO1", "WO2", "WO3"}) {
    group->KELDataItems()->Add(itemId)->SetItemGroupBufferOffset(offset);
    offset += 2;
  }
  item = group->KELDataItems()->Item(1);
  group->SetCompiledBufferDimension(offset);
  group->SetGroupId(5);
  group->PutSubscribed(true);
  group->PutUpdateRate(300);
  group->PutActive(true);
  groupSink = std::make_shared<GroupEventLog>(plant->events);
  groupCookie = group->Events().Advise(groupSink);
  serverSink = std::make_shared<ServerEventLog>(plant->events);
  serverCookie = plant->server->Events().Advise(serverSink);
  plant->server->PutAutoDownloadFirmware(true);
  plant->server->PutAutoDownloadProject(true);
}

namespace {

// More work waits behind the event's own request: it has to get through whatever the handler does.
void RunWithMoreWorkWaiting(Scene& scene, const std::function<void(KELDataGroup&)>& request) {
  scene.Server().OpenCommunication();
  request(*scene.group);
  std::int32_t id = 0;
  scene.group->AsyncRead({3}, id);
  scene.plant->Advance(1s);
}

void Download(Scene& scene) {
  ScriptedDriver& driver = *scene.plant->driver;
  driver.projectName = "plant";
  driver.firmwareDownloadNeeded = driver.projectDownloadNeeded = true;
  driver.during["DownloadFirmware"] = [panel = &driver] {
    panel->Sink().DownloadFirmwareInProgress(40);
    panel->Sink().DownloadFirmwareComplete();
  };
  driver.during["DownloadProject"] = [panel = &driver] {
    panel->Sink().DownloadProjectInProgress(40);
    panel->Sink().DownloadProjectComplete();
  };
  scene.Server().OpenCommunication();
}

}  // namespace

const std::vector<EventRow>& Events() {
  static const std::vector<EventRow> rows{
      {"DataChange", false,
       [](Scene& scene) {
         scene.Server().OpenCommunication();
         scene.plant->Advance(1s);
       }},
      {"AsyncReadComplete", false,
       [](Scene& scene) {
         RunWithMoreWorkWaiting(scene, [](KELDataGroup& group) {
           std::int32_t id = 0;
           group.AsyncRead({1, 2}, id);
         });
       }},
      {"AsyncWriteComplete", false,
       [](Scene& scene) {
         RunWithMoreWorkWaiting(scene, [](KELDataGroup& group) {
           std::int32_t id = 0;
           group.AsyncWrite({1, 2}, {"5", "6"}, id);
         });
       }},
      {"AsyncCancelComplete", false,
       [](Scene& scene) {
         RunWithMoreWorkWaiting(scene, [](KELDataGroup& group) {
           std::int32_t id = 0;
           group.AsyncRead({1, 2}, id);
           group.AsyncCancel(id);
         });
       }},
      {"AsyncReadAllComplete", false,
       [](Scene& scene) {
         scene.plant->driver->groupTransfer = true;
         RunWithMoreWorkWaiting(scene, [](KELDataGroup& group) {
           std::int32_t id = 0;
           group.AsyncReadAll(id);
         });
       }},
      {"AsyncWriteAllComplete", false,
       [](Scene& scene) {
         scene.plant->driver->groupTransfer = true;
         RunWithMoreWorkWaiting(scene, [](KELDataGroup& group) {
           std::int32_t id = 0;
           group.AsyncWriteAll({1, 2}, {"5", "6"}, id);
         });
       }},
      {"DownloadFirmwareInProgress", true, Download},
      {"DownloadFirmwareComplete", true, Download},
      {"DownloadProjectInProgress", true, Download},
      {"DownloadProjectComplete", true, Download},
  };
  return rows;
}

}  // namespace orvo::testing
