// The properties of driver and board.
#include "errors/AutomationError.h"
#include "kit/Checks.h"

#include <array>
#include <functional>
#include <string>

namespace orvo::kit {

namespace {

// Asks twice: what the board is does not change from one question to the next.
template <class Answer>
void RequireSteady(DriverSession& session, const std::string& name, Answer (CommunicationDriver::*get)()) {
  CommunicationDriver& driver = session.Driver();
  const auto ask = [&] { return session.Ask(name, [&] { return (driver.*get)(); }); };
  const Answer first = ask();
  if (ask() != first) throw CheckFailed{name + " answers something else the second time"};
}

void AskIdentity(DriverSession& session) {
  session.Opened();
  RequireSteady(session, "BootVersion", &CommunicationDriver::BootVersion);
  RequireSteady(session, "BootDate", &CommunicationDriver::BootDate);
  RequireSteady(session, "FirmwareVersion", &CommunicationDriver::FirmwareVersion);
  RequireSteady(session, "BoardDescription", &CommunicationDriver::BoardDescription);
  RequireSteady(session, "MajorVersion", &CommunicationDriver::MajorVersion);
  RequireSteady(session, "MinorVersion", &CommunicationDriver::MinorVersion);
  RequireSteady(session, "Description", &CommunicationDriver::Description);
  RequireSteady(session, "GroupTransfer", &CommunicationDriver::GroupTransfer);
}

void AskState(DriverSession& session) {
  CommunicationDriver& driver = session.Opened();
  session.Ask("BoardStatus", [&] { return driver.BoardStatus(); });
  session.Ask("CommunicationStatus", [&] { return driver.CommunicationStatus(); });
}

void AskDownloadNeeded(DriverSession& session) {
  CommunicationDriver& driver = session.Connected();
  session.Device();
  session.Ask("FirmwareDownloadNeeded", [&] { return driver.FirmwareDownloadNeeded(); });
  session.Ask("ProjectDownloadNeeded", [&] { return driver.ProjectDownloadNeeded(); });
}

std::string Shown(const std::string& text) {
  return "'" + text + "'";
}
template <class Number>
std::string Shown(Number number) {
  return std::to_string(number);
}

// A property keeps what it is given: its own value, which it must take, and `other`, which it may refuse.
template <class Value, class Argument>
void RequireKept(DriverSession& session, const std::string& name, Value (CommunicationDriver::*get)(),
                 void (CommunicationDriver::*put)(Argument), const Value& other) {
  CommunicationDriver& driver = session.Driver();
  const auto ask = [&] { return session.Ask(name, [&] { return (driver.*get)(); }); };
  const auto require = [&](const Value& put) {
    if (const Value answer = ask(); answer != put)
      throw CheckFailed{name + " answers " + Shown(answer) + " after " + Shown(put) + " was put"};
  };
  const Value own = ask();
  session.Call("putting " + name, [&] { (driver.*put)(own); });
  require(own);
  if (!session.MayRefuse("putting " + name, [&] { (driver.*put)(other); })) {
    require(own);
    return;
  }
  require(other);
  session.Call("putting " + name + " back", [&] { (driver.*put)(own); });
  require(own);
}

void KeepProperties(DriverSession& session) {
  session.Device();
  RequireKept(session, "BaudRate", &CommunicationDriver::BaudRate, &CommunicationDriver::PutBaudRate,
              std::int32_t{19200});
  RequireKept(session, "ComPortNumber", &CommunicationDriver::ComPortNumber,
              &CommunicationDriver::PutComPortNumber, std::int32_t{2});
  RequireKept(session, "Timeout", &CommunicationDriver::Timeout, &CommunicationDriver::PutTimeout,
              std::int16_t{1500});
  RequireKept(session, "WordIO", &CommunicationDriver::WordIO, &CommunicationDriver::PutWordIO,
              std::int16_t{1});
  RequireKept(session, "ProjectName", &CommunicationDriver::ProjectName, &CommunicationDriver::PutProjectName,
              std::string("Project of a test"));
}

void TakeNetworkType(DriverSession& session) {
  const std::int32_t type = session.Plan().networkType.value_or(0);
  session.Call("PutNetworkType", [&] { session.Driver().PutNetworkType(type); });
}

void AskCapacity(DriverSession& session) {
  CommunicationDriver& driver = session.Connected();
  session.Device();
  const std::int32_t capacity = session.Ask("GroupCapacity", [&] { return driver.GroupCapacity(); });
  if (capacity < 0) throw CheckFailed{"GroupCapacity is " + std::to_string(capacity)};
}

void AskSizes(DriverSession& session) {
  CommunicationDriver& driver = session.Connected();
  const auto fits = [&](std::int32_t words, std::int32_t items) {
    return session.Ask("CheckVariable", [&] { return driver.CheckVariable(words, items); });
  };
  const std::int32_t words = session.Items().front().words;
  if (!fits(words, 1))
    throw CheckFailed{"CheckVariable refuses a group of one item of " + std::to_string(words) + " words"};
  std::int32_t refused = 0;
  for (std::int32_t size = 1; size <= 1'000'000'000; size *= 10) {
    if (!fits(size, 1))
      refused = size;
    else if (refused != 0)
      throw CheckFailed{"CheckVariable refuses " + std::to_string(refused) + " words and accepts " +
                        std::to_string(size)};
    if (size == 1'000'000'000) break;  // the next one is no 32-bit number
  }
}

constexpr std::array PropertyChecksList{
    Check{{"answers-identity",
           "What driver and board are is answered the same way each time while communication is open."},
          "knows-kind opens",
          AskIdentity},
    Check{{"answers-state", "BoardStatus and CommunicationStatus are answered while communication is open."},
          "knows-kind opens",
          AskState},
    Check{
        {"answers-download-needed", "Whether downloads are needed is answered before communication is opened."},
        "knows-kind",
        AskDownloadNeeded},
    Check{{"keeps-properties",
           "A property answers what was put; what it does not take it refuses and stays as it was."},
          "knows-kind",
          KeepProperties},
    Check{{"takes-network-type", "NetworkType is taken before everything else."},
          "makes-drivers",
          TakeNetworkType},
    Check{{"answers-capacity", "GroupCapacity is a number from 0 up."}, "knows-kind", AskCapacity},
    Check{{"checks-sizes", "CheckVariable accepts a single item, and nothing larger than what it refuses."},
          "compiles-items",
          AskSizes},
};

}  // namespace

std::span<const Check> PropertyChecks() {
  return PropertyChecksList;
}

}  // namespace orvo::kit
