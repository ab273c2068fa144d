#include "support/Plant.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace orvo::testing {

Plant::Plant(const CivilTime& localTime) : platform(localTime) {
  files.PutFile(
      "drivers.ini",
      "[Drivers]\nDataCommunication=Scripted.Channel\nNetworkType=3\n1=PanelA\n2=PanelB\n9=Unknown\n");
  drivers.Register("Scripted.Channel", [this](DriverHost) { return driver; });
  server = KELDataServer::Create(Environment());
  Answer = [](double address, std::int16_t) { return Word(static_cast<std::uint16_t>(address)); };
}

void Plant::Configure() {
  server->SetDriverConfigurationFile("drivers.ini");
  server->PutDeviceType(2);
}

void Plant::Open() {
  Configure();
  server->OpenCommunication();
}

std::shared_ptr<KELDataGroup> Plant::AddGroup(std::initializer_list<const char*> itemIds) {
  const std::shared_ptr<KELDataGroup> group = server->KELDataGroups()->Add();
  for (const char* itemId : itemIds)
    group->KELDataItems()->Add(itemId);
  group->PutSubscribed(true);
  Watch(*group);
  return group;
}

std::shared_ptr<GroupEventLog> Plant::Watch(KELDataGroup& group, const std::string& prefix) {
  auto sink = std::make_shared<GroupEventLog>(events, prefix);
  group.Events().Advise(sink);
  return sink;
}

void Plant::AnswerByItself(std::chrono::milliseconds delay) {
  ScriptedDriver* const panel = driver.get();
  const auto later = [this, delay](std::function<void()> answer) {
    if (delay == 0ms) {
      platform.Post(std::move(answer));
      return;
    }
    platform.SetTimer(delay, [this, answer = std::move(answer)](std::int32_t timerId) {
      platform.KillTimer(timerId);
      answer();
    });
  };
  panel->during["ReadItems"] = [this, panel, later] {
    const SafeArray<double> addresses = panel->lastAddresses;
    const SafeArray<std::int16_t> dimensions = panel->lastDimensions;
    later([this, panel, addresses, dimensions] {
      SafeArray<Variant> values(addresses.Size());
      for (std::size_t k = 0; k < addresses.Size(); ++k)
        values.Edit()[k] = Answer(addresses.View()[k], dimensions.View()[k]);
      if (panel->HasSink()) try {
          panel->Sink().AsyncReadComplete(values, SafeArray<std::int32_t>(addresses.Size()));
        } catch (const AutomationError&) {  // the server is gone
        }
    });
  };
  panel->during["WriteItems"] = [panel, later] {
    const std::size_t count = panel->lastAddresses.Size();
    later([panel, count] {
      if (panel->HasSink()) try {
          panel->Sink().AsyncWriteComplete(SafeArray<std::int32_t>(count));
        } catch (const AutomationError&) {  // the server is gone
        }
    });
  };
}

std::string ErrorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const AutomationError& error) {
    return std::to_string(error.Number()) + ": " + error.Description();
  }
  return "none";
}

std::int32_t ErrorNumberOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const AutomationError& error) {
    return error.Number();
  }
  return 0;
}

Variant Word(std::uint16_t value) {
  return Bytes({value & 0xFF, value >> 8});
}

Variant DoubleWord(std::uint32_t value) {
  std::vector<std::uint8_t> bytes;
  for (int shift = 0; shift < 32; shift += 8)
    bytes.push_back(static_cast<std::uint8_t>(value >> shift));
  return Variant::OfBytes(bytes);
}

Variant Bytes(std::initializer_list<int> bytes) {
  std::vector<std::uint8_t> raw;
  raw.reserve(bytes.size());
  for (const int byte : bytes)
    raw.push_back(static_cast<std::uint8_t>(byte));
  return Variant::OfBytes(raw);
}

}  // namespace orvo::testing
