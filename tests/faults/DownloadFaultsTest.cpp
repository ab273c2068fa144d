// Drivers that report a download never, twice, late or the wrong one: whatever is reported reaches the client
// at once, on the driver's call, and nothing else is other for it.

#include "faults/FaultScene.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

enum class DownloadReport { Progress40, Progress100, Complete, OtherProgress, OtherComplete };
using DownloadReports = std::vector<DownloadReport>;

bool IsOfTheOther(DownloadReport report) {
  return report == DownloadReport::OtherProgress || report == DownloadReport::OtherComplete;
}

// The event that a report of the download of the firmware or of the project is to give.
std::string DownloadEvent(bool firmware, DownloadReport report) {
  const std::string name = firmware != IsOfTheOther(report) ? "DownloadFirmware" : "DownloadProject";
  switch (report) {
    case DownloadReport::Progress40:
    case DownloadReport::OtherProgress:
      return name + "InProgress 40";
    case DownloadReport::Progress100:
      return name + "InProgress 100";
    default:
      return name + "Complete";
  }
}

void SendDownloadReport(IEventNotify& sink, bool firmware, DownloadReport report) {
  const bool ofFirmware = firmware != IsOfTheOther(report);
  if (report == DownloadReport::Complete || report == DownloadReport::OtherComplete) {
    ofFirmware ? sink.DownloadFirmwareComplete() : sink.DownloadProjectComplete();
    return;
  }
  const std::int16_t percent = report == DownloadReport::Progress100 ? 100 : 40;
  ofFirmware ? sink.DownloadFirmwareInProgress(percent) : sink.DownloadProjectInProgress(percent);
}

struct DownloadFault {
  const char* name;
  DownloadReports inside;  // the call of the driver
  bool fails;              // the call, after its reports
  DownloadReports late;    // when the call is long over
};

const std::vector<DownloadFault>& DownloadFaults() {
  using enum DownloadReport;
  static const std::vector<DownloadFault> faults{
      {"never", {}, false, {}},
      {"by its progress alone", {Progress40, Progress100}, false, {}},
      {"by its completion alone", {Complete}, false, {}},
      {"with its completion twice", {Progress40, Complete, Complete}, false, {}},
      {"with its progress twice", {Progress40, Progress40, Complete}, false, {}},
      {"with progress that falls", {Progress100, Progress40, Complete}, false, {}},
      {"with progress after its completion", {Complete, Progress40}, false, {}},
      {"with the completion of the other", {Progress40, OtherComplete}, false, {}},
      {"with all of the other between", {Progress40, OtherProgress, OtherComplete, Complete}, false, {}},
      {"though it fails", {Progress40, Complete}, true, {}},
      {"with its completion late", {Progress40}, false, {Complete}},
      {"with its progress late", {Complete}, false, {Progress40}},
      {"with all of it late", {}, false, {Progress40, Complete}},
      {"with its completion late and twice", {}, false, {Complete, Complete}},
      {"with its completion again, late", {Progress40, Complete}, false, {Complete}},
      {"with its progress again and again, late", {Progress40, Complete}, false, {Progress40, Progress40}},
      {"with that of the other, late", {Complete}, false, {OtherProgress, OtherComplete}},
      {"late though it failed", {Progress40}, true, {Progress100, Complete}},
  };
  return faults;
}

// When the late reports come.
enum class DownloadMoment {
  AfterTheCall,
  WhileOpen,
  WhileAReadIsInFlight,
  WhileAReadWaitsForDelivery,
  AfterTheClose,
  InTheNextOfItsKind,
  InTheNextOfTheOther,
  AfterTheServersEnd,
};
constexpr const char* DownloadMoments[] = {"after the call",
                                           "while open",
                                           "while a read is in flight",
                                           "while a read waits for its delivery",
                                           "after the close",
                                           "in the next download of its kind",
                                           "in the next download of the other",
                                           "after the server's end"};

// One row: a download that is asked for by itself or made while opening, and what becomes of its reports.
class DownloadRow {
 public:
  DownloadRow(const DownloadFault& fault, bool firmware, bool opening)
      : fault_(fault), firmware_(firmware), opening_(opening) {
    Server().Events().Advise(std::make_shared<ServerEventLog>(scene_.plant->events));
    if (!opening) return;
    Server().PutAutoDownloadFirmware(firmware);
    Server().PutAutoDownloadProject(!firmware);
    Driver().firmwareDownloadNeeded = firmware;
    Driver().projectDownloadNeeded = !firmware;
  }

  // All that was wrong, or nothing.
  std::string Run(DownloadMoment moment) {
    Download();
    ReportLate(moment);
    if (moment != DownloadMoment::AfterTheServersEnd) GoOn();
    Wrong("at the end", scene_.End(), "");
    return wrong_;
  }

 private:
  KELDataServer& Server() const { return scene_.Server(); }
  ScriptedDriver& Driver() const { return *scene_.plant->driver; }

  void Wrong(const std::string& what, const std::string& got, const std::string& expected) {
    if (got != expected) wrong_ += "\n  " + what + ": got '" + got + "', expected '" + expected + "'";
  }

  // The client has its event when the driver's call of the sink is over, and nothing else has changed.
  void Report(const DownloadReports& reports, bool heard = true) {
    for (const DownloadReport report : reports) {
      const Picture before = heard ? scene_.Look() : Picture();
      const std::int32_t failed = scene_.driver->Tell(
          [this, report](IEventNotify& sink) { SendDownloadReport(sink, firmware_, report); });
      Wrong("the driver is told", std::to_string(failed), heard ? "0" : "91");
      Wrong("event", scene_.TakeEvents(), heard ? DownloadEvent(firmware_, report) : "");
      if (heard) Wrong("other by a report", Difference(before, scene_.Look()), "");
    }
  }

  void Ask(bool firmware) const {
    firmware ? Server().DownloadFirmware("new.fw") : Server().DownloadProject("new.obj");
  }

  void Download() {
    int calls = 0;
    Driver().during[firmware_ ? "DownloadFirmware" : "DownloadProject"] = [this, &calls] {
      ++calls;
      Report(fault_.inside);
      if (fault_.fails) throw AutomationError(3, "the line broke");
    };
    const Picture before = scene_.Look();
    opening_ ? Server().OpenCommunication() : Ask(firmware_);
    Wrong("calls", std::to_string(calls), "1");
    Wrong("left", Difference(before, scene_.Look()), opening_ ? "Status=3, Timers=1" : "");
    Driver().during.erase("DownloadFirmware");
    Driver().during.erase("DownloadProject");
    Driver().firmwareDownloadNeeded = Driver().projectDownloadNeeded = false;
    Quiet();
  }

  void Quiet() {
    scene_.Advance(300ms);
    Wrong("later event", scene_.TakeEvents(), "");
  }

  void BringTo(std::int32_t status) const {
    if (Server().ServerStatus() == status) return;
    status == 3 ? Server().OpenCommunication() : Server().CloseCommunication();
  }

  void ReportLate(DownloadMoment moment) {
    switch (moment) {
      case DownloadMoment::AfterTheCall:
        Report(fault_.late);
        return Quiet();
      case DownloadMoment::WhileOpen:
        BringTo(3);
        Quiet();
        Report(fault_.late);
        return Quiet();
      case DownloadMoment::WhileAReadIsInFlight:
      case DownloadMoment::WhileAReadWaitsForDelivery:
        return ReportBesideARead(moment == DownloadMoment::WhileAReadIsInFlight);
      case DownloadMoment::AfterTheClose:
        BringTo(3);
        BringTo(2);
        Report(fault_.late);
        return Quiet();
      case DownloadMoment::InTheNextOfItsKind:
        return ReportInTheNext(firmware_);
      case DownloadMoment::InTheNextOfTheOther:
        return ReportInTheNext(!firmware_);
      case DownloadMoment::AfterTheServersEnd:
        scene_.item.reset();
        scene_.group.reset();
        scene_.plant->server.reset();
        return Report(fault_.late, false);
    }
  }

  // The report is neither the read's answer nor does it wait behind one.
  void ReportBesideARead(bool inFlight) {
    BringTo(3);
    const auto properly = scene_.driver->answer;
    scene_.driver->answer = [](const TakenRequest&) {};
    std::int32_t id = 0;
    scene_.group->AsyncRead({1}, id);
    scene_.Advance(120ms);
    const TakenRequest asked = scene_.driver->taken.back();
    if (!inFlight) scene_.driver->ProperAnswer(asked);
    Report(fault_.late);
    if (inFlight) {
      Quiet();
      Wrong("in flight", Server().Spooler()->IsBusy() ? "yes" : "no", "yes");
      scene_.driver->ProperAnswer(asked);
    }
    scene_.Advance(120ms);
    Wrong("the read", scene_.TakeEvents(),
          "AsyncReadComplete " + std::to_string(id) + " [1] [I2:" + std::to_string(10 * asked.serial + 1) +
              "] [0]");
    scene_.driver->answer = properly;
    Quiet();
  }

  void ReportInTheNext(bool firmware) {
    BringTo(2);
    Driver().during[firmware ? "DownloadFirmware" : "DownloadProject"] = [this, firmware] {
      Report(fault_.late);
      IEventNotify& sink = Driver().Sink();
      firmware ? sink.DownloadFirmwareComplete() : sink.DownloadProjectComplete();
    };
    const Picture before = scene_.Look();
    Ask(firmware);
    Wrong("the next", scene_.TakeEvents(), DownloadEvent(firmware, DownloadReport::Complete));
    Wrong("left by the next", Difference(before, scene_.Look()), "");
    Quiet();
  }

  // Downloads, reads, writes and refreshes go on.
  void GoOn() {
    BringTo(2);
    for (const bool firmware : {true, false}) {
      Driver().during[firmware ? "DownloadFirmware" : "DownloadProject"] = [this, firmware] {
        for (const DownloadReport report : {DownloadReport::Progress40, DownloadReport::Complete})
          SendDownloadReport(Driver().Sink(), firmware, report);
      };
      Ask(firmware);
      Wrong("a download afterwards", scene_.TakeEvents(),
            DownloadEvent(firmware, DownloadReport::Progress40) + "; " +
                DownloadEvent(firmware, DownloadReport::Complete));
    }
    scene_.group->PutActive(true);
    Wrong("afterwards", scene_.Recover(), "");
  }

  const DownloadFault& fault_;
  const bool firmware_;
  const bool opening_;
  FaultScene scene_{FaultSetup{.status = 2}};
  std::string wrong_;
};

std::string GuardedDownloadRow(const DownloadFault& fault, bool firmware, bool opening, DownloadMoment moment) {
  try {
    return DownloadRow(fault, firmware, opening).Run(moment);
  } catch (const std::exception& error) {
    return std::string(" escaped: ") + error.what();
  } catch (...) {
    return " an exception escaped";
  }
}

TEST(DownloadFaults, ReachTheClientAtOnceAndChangeNothing) {
  std::size_t rows = 0;
  for (const DownloadFault& fault : DownloadFaults())
    for (const bool firmware : {true, false})
      for (const bool opening : {false, true})
        for (std::size_t moment = 0; moment < std::size(DownloadMoments); ++moment) {
          if (fault.late.empty() && moment > 1) continue;
          ++rows;
          const std::string wrong =
              GuardedDownloadRow(fault, firmware, opening, static_cast<DownloadMoment>(moment));
          if (!wrong.empty())
            ADD_FAILURE() << "a download of the " << (firmware ? "firmware" : "project")
                          << (opening ? " at an open" : "") << " is reported " << fault.name << ", late means "
                          << DownloadMoments[moment] << ":" << wrong;
        }
  EXPECT_EQ(rows, 336U);  // 10 faults at two moments and 8 at all eight, each in four ways
}

}  // namespace
}  // namespace orvo::testing
