// Opening and closing.
#include "kit/Checks.h"

#include <array>

namespace orvo::kit {

namespace {

void Opens(DriverSession& session) {
  session.Opened();
  session.Close();
  session.Opened();
  session.Close();
  session.RequireAnswers(0, "although nothing was asked");
}

void ClosesTwice(DriverSession& session) {
  session.Device();
  CommunicationDriver& driver = session.Connected();
  session.MayRefuse("CloseCommunication before the first opening", [&] { driver.CloseCommunication(); });
  session.Opened();
  session.Close();
  session.MayRefuse("the second CloseCommunication", [&] { driver.CloseCommunication(); });
  session.Opened();
  session.Close();
  session.RequireAnswers(0, "although nothing was asked");
}

void RefusesWhileClosed(DriverSession& session) {
  const std::vector<CompiledItem>& items = session.Items();
  if (session.MayRefuse("ReadItems before the opening", [&] { session.Read(items); }))
    throw CheckFailed{"ReadItems is taken before the opening"};
  session.Opened();
  session.Close();
  if (session.MayRefuse("ReadItems after the closing", [&] { session.Read(items); }))
    throw CheckFailed{"ReadItems is taken after the closing"};
  session.RequireAnswers(0, "to requests that were refused");
}

constexpr std::array CommunicationChecksList{
    Check{{"opens",
           "Communication is opened and closed, and opened again; nothing comes that was not asked for."},
          "knows-kind",
          Opens},
    Check{{"closes-twice", "Closing what is closed changes nothing or is refused."}, "opens", ClosesTwice},
    Check{{"refuses-while-closed",
           "A request while communication is closed is refused by an error, and not answered."},
          "opens compiles-items",
          RefusesWhileClosed},
};

}  // namespace

std::span<const Check> CommunicationChecks() {
  return CommunicationChecksList;
}

}  // namespace orvo::kit
