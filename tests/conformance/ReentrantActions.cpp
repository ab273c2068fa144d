// Everything that a client can do with a server, its groups, a group, its items and an item.

#include "conformance/ReentrantScene.h"
#include "errors/modIDataErrors.h"

namespace orvo::testing {

namespace {

constexpr std::int32_t Fine = 0;
constexpr std::int32_t State = errInvalidState;

const std::vector<ActionRow> ServerActions{
    {"read every server property",
     [](Scene& s) {
       KELDataServer& server = s.Server();
       server.MinorVersion();
       server.MajorVersion();
       server.Description();
       server.DeviceName();
       server.BootVersion();
       server.BootDate();
       server.FirmwareVersion();
       server.BoardDescription();
       server.BoardStatus();
       server.CommunicationStatus();
       server.ServerStatus();
       server.AutoDownloadFirmware();
       server.AutoDownloadProject();
       server.WordIO();
       server.Timeout();
       server.ComPortNumber();
       server.ProjectName();
       server.BaudRate();
       server.DeviceType();
     },
     Fine, Fine},
    {"put AutoDownloadFirmware", [](Scene& s) { s.Server().PutAutoDownloadFirmware(false); }, Fine, Fine},
    {"put AutoDownloadProject", [](Scene& s) { s.Server().PutAutoDownloadProject(false); }, Fine, Fine},
    {"put WordIO", [](Scene& s) { s.Server().PutWordIO(1); }, State, Fine},
    {"put Timeout", [](Scene& s) { s.Server().PutTimeout(500); }, State, Fine},
    {"put ComPortNumber", [](Scene& s) { s.Server().PutComPortNumber(2); }, Fine, Fine},
    {"put ProjectName", [](Scene& s) { s.Server().PutProjectName("other.prj"); }, Fine, Fine},
    {"put BaudRate", [](Scene& s) { s.Server().PutBaudRate(19200); }, Fine, Fine},
    {"put DeviceType", [](Scene& s) { s.Server().PutDeviceType(1); }, State, Fine},
    {"put an unknown DeviceType", [](Scene& s) { s.Server().PutDeviceType(9); }, State, errInvalidDeviceType},
    {"SetDriverConfigurationFile", [](Scene& s) { s.Server().SetDriverConfigurationFile("drivers.ini"); },
     State, Fine},
    {"LoadConfigurationFromFile", [](Scene& s) { s.Server().LoadConfigurationFromFile("plant.cfg"); }, State,
     Fine},
    {"SaveConfigurationToFile", [](Scene& s) { s.Server().SaveConfigurationToFile("saved.cfg"); }, State, Fine},
    {"OpenCommunication", [](Scene& s) { s.Server().OpenCommunication(); }, Fine, Fine},
    {"CloseCommunication", [](Scene& s) { s.Server().CloseCommunication(); }, Fine, Fine},
    {"close and open",
     [](Scene& s) {
       s.Server().CloseCommunication();
       s.Server().OpenCommunication();
     },
     Fine, Fine},
    {"DownloadFirmware", [](Scene& s) { s.Server().DownloadFirmware("plant.fw"); }, State, Fine},
    {"DownloadProject", [](Scene& s) { s.Server().DownloadProject("plant.obj"); }, State, Fine},
    {"unadvise the server's sink", [](Scene& s) { s.Server().Events().Unadvise(s.serverCookie); }, Fine, Fine},
    {"run the message loop for a while", [](Scene& s) { s.plant->Advance(700ms); }, Fine, Fine},
};

const std::vector<ActionRow> GroupsActions{
    {"Groups.Count, Parent and NewEnum",
     [](Scene& s) {
       s.Groups().Count();
       s.Groups().Parent();
       s.Groups().NewEnum();
     },
     Fine, Fine},
    {"Groups.Item", [](Scene& s) { s.Groups().Item(1); }, Fine, Fine},
    {"Groups.Item, unknown", [](Scene& s) { s.Groups().Item(9); }, errInvalidHandle, errInvalidHandle},
    {"Groups.ItemByName", [](Scene& s) { s.Groups().ItemByName("G"); }, Fine, Fine},
    {"Groups.ItemByName, unknown", [](Scene& s) { s.Groups().ItemByName("g"); }, errInvalidName,
     errInvalidName},
    {"Groups.Add", [](Scene& s) { s.Groups().Add("New"); }, State, Fine},
    {"Groups.Remove", [](Scene& s) { s.Groups().Remove(1); }, State, Fine},
    {"Groups.RemoveByName", [](Scene& s) { s.Groups().RemoveByName("G"); }, State, Fine},
    {"Groups.RemoveAll", [](Scene& s) { s.Groups().RemoveAll(); }, State, Fine},
    {"close and remove the group",
     [](Scene& s) {
       s.Server().CloseCommunication();
       s.Groups().Remove(1);
     },
     Fine, Fine},
    {"close, remove all groups and open",
     [](Scene& s) {
       s.Server().CloseCommunication();
       s.Groups().RemoveAll();
       s.Server().OpenCommunication();
     },
     Fine, Fine},
    {"close, replace the group by another of its name and open",
     [](Scene& s) {
       s.Server().CloseCommunication();
       s.Groups().RemoveAll();
       s.Groups().Add("G")->KELDataItems()->Add("WO1");
       s.Server().OpenCommunication();
     },
     Fine, Fine},
};

const std::vector<ActionRow> GroupActions{
    {"read every group property",
     [](Scene& s) {
       s.group->Handle();
       s.group->GroupName();
       s.group->KELDataItems();
       s.group->Parent();
       s.group->Active();
       s.group->Subscribed();
       s.group->UpdateRate();
       s.group->GroupId();
       s.group->CompiledBuffer();
     },
     Fine, Fine},
    {"put Active false", [](Scene& s) { s.group->PutActive(false); }, Fine, Fine},
    {"put Active false and true",
     [](Scene& s) {
       s.group->PutActive(false);
       s.group->PutActive(true);
     },
     Fine, Fine},
    {"put Subscribed", [](Scene& s) { s.group->PutSubscribed(false); }, Fine, Fine},
    {"put UpdateRate", [](Scene& s) { s.group->PutUpdateRate(50); }, Fine, Fine},
    {"put a bad UpdateRate", [](Scene& s) { s.group->PutUpdateRate(-1); }, errInvalidValue, errInvalidValue},
    {"SyncRead",
     [](Scene& s) {
       SafeArray<Variant> values;
       SafeArray<std::int32_t> errors;
       s.group->SyncRead({1, 2}, values, errors);
     },
     Fine, State},
    {"SyncReadAll",
     [](Scene& s) {
       SafeArray<std::int32_t> handles, errors;
       SafeArray<Variant> values;
       s.group->SyncReadAll(handles, values, errors);
     },
     Fine, State},
    {"SyncWrite",
     [](Scene& s) {
       SafeArray<std::int32_t> errors;
       s.group->SyncWrite({1, 2}, {"5", "6"}, errors);
     },
     Fine, State},
    {"SyncWriteAll",
     [](Scene& s) {
       SafeArray<std::int32_t> errors;
       s.group->SyncWriteAll({1, 2}, {"5", "6"}, errors);
     },
     Fine, State},
    {"SyncWrite of a bad value",
     [](Scene& s) {
       SafeArray<std::int32_t> errors;
       s.group->SyncWrite({1}, {"no number"}, errors);
     },
     errInvalidFormat, State},
    {"AsyncRead",
     [](Scene& s) {
       std::int32_t id = 0;
       s.group->AsyncRead({1, 2}, id);
     },
     Fine, State},
    {"AsyncRead of an unknown handle",
     [](Scene& s) {
       std::int32_t id = 0;
       s.group->AsyncRead({9}, id);
     },
     errInvalidHandle, State},
    {"AsyncReadAll",
     [](Scene& s) {
       std::int32_t id = 0;
       s.group->AsyncReadAll(id);
     },
     Fine, State},
    {"AsyncWrite",
     [](Scene& s) {
       std::int32_t id = 0;
       s.group->AsyncWrite({1, 2}, {"5", "6"}, id);
     },
     Fine, State},
    {"AsyncWriteAll",
     [](Scene& s) {
       std::int32_t id = 0;
       s.group->AsyncWriteAll({1, 2}, {"5", "6"}, id);
     },
     Fine, State},
    {"AsyncCancel of what waits", [](Scene& s) { s.group->AsyncCancel(2); }, Fine, State},
    {"AsyncRead and AsyncCancel",
     [](Scene& s) {
       std::int32_t id = 0;
       s.group->AsyncRead({1, 2}, id);
       s.group->AsyncCancel(id);
     },
     Fine, State},
    {"CompileVariable and GetDimension",
     [](Scene& s) {
       s.group->CompileVariable({1, 2, 9});
       s.group->GetDimension({1, 2, 9});
     },
     Fine, Fine},
    {"SetCompiledBufferDimension", [](Scene& s) { s.group->SetCompiledBufferDimension(4); }, Fine, Fine},
    {"unadvise the group's sink", [](Scene& s) { s.group->Events().Unadvise(s.groupCookie); }, Fine, Fine},
    {"advise another sink of the group",
     [](Scene& s) { s.group->Events().Advise(std::make_shared<GroupEventLog>(s.plant->events)); }, Fine, Fine},
};

const std::vector<ActionRow> ItemActions{
    {"Items.Count, Parent and NewEnum",
     [](Scene& s) {
       s.Items().Count();
       s.Items().Parent();
       s.Items().NewEnum();
     },
     Fine, Fine},
    {"Items.Item", [](Scene& s) { s.Items().Item(1); }, Fine, Fine},
    {"Items.Item, unknown", [](Scene& s) { s.Items().Item(9); }, errInvalidHandle, errInvalidHandle},
    {"Items.ItemByName", [](Scene& s) { s.Items().ItemByName("Item_1"); }, Fine, Fine},
    {"Items.ItemByName, unknown", [](Scene& s) { s.Items().ItemByName("x"); }, errInvalidName, errInvalidName},
    {"Items.Add", [](Scene& s) { s.Items().Add("WO4"); }, State, Fine},
    {"Items.Add, refused", [](Scene& s) { s.Items().Add("?"); }, State, errInvalidItemId},
    {"Items.AddCompiled", [](Scene& s) { s.Items().AddCompiled("New"); }, Fine, Fine},
    {"Items.AddCompiled, name in use", [](Scene& s) { s.Items().AddCompiled("Item_1"); }, errInternal,
     errInternal},
    {"Items.Remove", [](Scene& s) { s.Items().Remove(1); }, State, Fine},
    {"Items.RemoveByName", [](Scene& s) { s.Items().RemoveByName("item_1"); }, State, Fine},
    {"Items.RemoveAll", [](Scene& s) { s.Items().RemoveAll(); }, State, Fine},
    {"close, remove the item and open",
     [](Scene& s) {
       s.Server().CloseCommunication();
       s.Items().Remove(1);
       s.Server().OpenCommunication();
     },
     Fine, Fine},
    {"close, remove all items and open",
     [](Scene& s) {
       s.Server().CloseCommunication();
       s.Items().RemoveAll();
       s.item.reset();
       s.Server().OpenCommunication();
     },
     Fine, Fine},
    {"read every item property",
     [](Scene& s) {
       s.item->Handle();
       s.item->ItemName();
       s.item->ItemId();
       s.item->Parent();
       s.item->AccessRights();
       s.item->USERValue();
       s.item->DATAValue();
       s.item->TimeStamp();
       s.item->ItemGroupBufferOffset();
       s.item->ItemType();
       s.item->ItemWordLength();
       s.item->Signed();
       s.item->BCD();
     },
     Fine, Fine},
    {"Item.SyncRead",
     [](Scene& s) {
       Variant value;
       std::int32_t error = 0;
       s.item->SyncRead(value, error);
     },
     Fine, State},
    {"Item.SyncWrite",
     [](Scene& s) {
       std::int32_t error = 0;
       s.item->SyncWrite("5", error);
     },
     Fine, State},
    {"Item.SyncWrite of a bad value",
     [](Scene& s) {
       std::int32_t error = 0;
       s.item->SyncWrite("no number", error);
     },
     errInvalidFormat, State},
    {"put Signed and BCD",
     [](Scene& s) {
       s.item->PutSigned(true);
       s.item->PutBCD(true);
     },
     Fine, Fine},
};

void LetGroupGo(Scene& s) {
  s.item.reset();
  s.group.reset();
}

void LetEverythingGo(Scene& s) {
  LetGroupGo(s);
  s.plant->server.reset();
}

const std::vector<ActionRow> LastReleases{
    {"release the item", [](Scene& s) { s.item.reset(); }, Fine, Fine},
    {"release the group, which the server keeps", LetGroupGo, Fine, Fine},
    {"close, remove and release the item",
     [](Scene& s) {
       s.Server().CloseCommunication();
       s.Items().Remove(1);
       s.item.reset();
     },
     Fine, Fine},
    {"close, remove and release the group",
     [](Scene& s) {
       s.Server().CloseCommunication();
       s.Groups().RemoveAll();
       LetGroupGo(s);
     },
     Fine, Fine},
    {"unadvise and release the sink",
     [](Scene& s) {
       s.group->Events().Unadvise(s.groupCookie);
       s.Server().Events().Unadvise(s.serverCookie);
       s.groupSink.reset();
       s.serverSink.reset();
     },
     Fine, Fine},
    {"release the server", [](Scene& s) { s.plant->server.reset(); }, Fine, Fine},
    {"close and release the server",
     [](Scene& s) {
       s.Server().CloseCommunication();
       s.plant->server.reset();
     },
     Fine, Fine},
    {"release everything", LetEverythingGo, Fine, Fine},
    {"release the server and read with the group",
     [](Scene& s) {
       s.plant->server.reset();
       s.plant->Advance(1s);
       std::int32_t id = 0;
       if (s.group->Parent() == nullptr) return;  // somebody else still holds the server
       s.group->AsyncRead({1}, id);
     },
     Fine, State},
    {"release the server inside the wait of a synchronous read",
     [](Scene& s) {
       s.plant->platform.Post([&s] { s.plant->server.reset(); });
       SafeArray<Variant> values;
       SafeArray<std::int32_t> errors;
       s.group->SyncRead({1, 2}, values, errors);
     },
     Fine, State},
    {"release everything inside the wait of a synchronous read of the group",
     [](Scene& s) {
       s.plant->platform.Post([&s] { LetEverythingGo(s); });
       SafeArray<Variant> values;
       SafeArray<std::int32_t> errors;
       s.group->SyncRead({1, 2}, values, errors);
     },
     Fine, State},
    {"release everything inside the wait of a synchronous write of the group",
     [](Scene& s) {
       s.plant->platform.Post([&s] { LetEverythingGo(s); });
       SafeArray<std::int32_t> errors;
       s.group->SyncWriteAll({1, 2}, {"5", "6"}, errors);
     },
     Fine, State},
    {"release everything inside the wait of a synchronous read of the item",
     [](Scene& s) {
       s.plant->platform.Post([&s] { LetEverythingGo(s); });
       Variant value;
       std::int32_t error = 0;
       s.item->SyncRead(value, error);
     },
     Fine, State},
    {"release everything inside the wait of a synchronous write of the item",
     [](Scene& s) {
       s.plant->platform.Post([&s] { LetEverythingGo(s); });
       std::int32_t error = 0;
       s.item->SyncWrite("5", error);
     },
     Fine, State},
    {"close, open and read",
     [](Scene& s) {
       s.Server().CloseCommunication();
       s.Server().OpenCommunication();
       SafeArray<Variant> values;
       SafeArray<std::int32_t> errors;
       s.group->SyncRead({1, 2}, values, errors);
     },
     Fine, Fine},
    {"close and open inside the wait of a synchronous read",
     [](Scene& s) {
       s.plant->platform.Post([&s] {
         s.plant->server->CloseCommunication();
         s.plant->server->OpenCommunication();
       });
       SafeArray<Variant> values;
       SafeArray<std::int32_t> errors;
       s.group->SyncRead({1, 2}, values, errors);
     },
     Fine, State},
    {"close inside the wait of a synchronous read",
     [](Scene& s) {
       s.plant->platform.Post([&s] { s.plant->server->CloseCommunication(); });
       SafeArray<Variant> values;
       SafeArray<std::int32_t> errors;
       s.group->SyncRead({1, 2}, values, errors);
     },
     Fine, State},
};

}  // namespace

const std::vector<ActionRow>& Actions() {
  static const std::vector<ActionRow> all = [] {
    std::vector<ActionRow> rows;
    for (const auto* part : {&ServerActions, &GroupsActions, &GroupActions, &ItemActions, &LastReleases})
      rows.insert(rows.end(), part->begin(), part->end());
    return rows;
  }();
  return all;
}

}  // namespace orvo::testing
