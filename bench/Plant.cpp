#include "Plant.h"

#include <algorithm>
#include <string>

namespace orvo::bench {

namespace {

// A request takes two ticks of the spooler: one sends it, the next one delivers it.
constexpr std::chrono::milliseconds RequestTime{100};

// One request more than there are groups: a refresh that is still under way when the next tick comes is left
// out.
std::chrono::milliseconds Period(std::size_t groups) {
  return RequestTime * (groups + 1);
}

// The same number of items in each group, as few groups as can be.
std::size_t ItemsPerGroup(std::size_t items) {
  const std::size_t groups = (items + Plant::MostPerGroup - 1) / Plant::MostPerGroup;
  return (items + groups - 1) / groups;
}

}  // namespace

std::string DriverFile(const char* progId) {
  return std::string("[Drivers]\nDataCommunication=") + progId + "\n2=PanelB\n";
}

Plant::Plant(std::size_t items, bool wholeGroups, bool changing)
    : items_(items), perGroup_(ItemsPerGroup(items)), wholeGroups_(wholeGroups) {
  files.PutFile("bench.ini", DriverFile(BenchDriver::ProgId));
  drivers.Register(BenchDriver::ProgId, [&](DriverHost host) {
    driver = std::make_shared<BenchDriver>(host);
    driver->Prepare(items_, perGroup_, wholeGroups, changing);
    return driver;
  });
  server = KELDataServer::Create({platform, files, drivers});
  server->SetDriverConfigurationFile("bench.ini");
  server->PutDeviceType(2);
}

Plant::~Plant() {
  server->CloseCommunication();
}

void Plant::AddGroups() {
  for (std::size_t k = 0; k < GroupCount(); ++k) {
    groups.push_back(server->KELDataGroups()->Add());
    groups.back()->SetGroupId(static_cast<std::int32_t>(k + 1));
  }
}

void Plant::AddItems() {
  for (std::size_t index = 0; index < items_; ++index) {
    const auto item = groups[index / perGroup_]->Items().Add(Identifier(index, index));
    item->PutSigned(KindOfItem(index).isSigned);
    if (KindOfItem(index).bcd) item->PutBCD(true);
  }
  if (!wholeGroups_) return;
  for (const auto& group : groups)
    PlaceItemsInBuffer(*group);
}

void Plant::PlaceItemsInBuffer(KELDataGroup& group) {
  std::int32_t offset = 0;
  group.Items().Walk([&](KELDataItem& item) {
    item.SetItemGroupBufferOffset(offset);
    offset += 2 * item.ItemWordLength();
    return false;
  });
  group.SetCompiledBufferDimension(offset);
}

void Plant::Open() {
  for (const auto& group : groups) {
    group->Events().Advise(sink);
    group->PutSubscribed(true);
    group->PutUpdateRate(static_cast<std::int32_t>(Period(GroupCount()).count()));
    group->PutActive(true);
  }
  server->OpenCommunication();
  // Past the first refreshes, which report every item; to a moment shortly before the groups' ticks.
  platform.Advance(4 * Period(GroupCount()) - RequestTime / 4);
}

void Plant::Cycle() {
  const std::uint64_t before = driver->Reads();
  platform.Advance(Period(GroupCount()));
  if (driver->Reads() != before + GroupCount()) RaiseRuntimeError(RuntimeError::InvalidProcedureCall);
}

}  // namespace orvo::bench
