// Configuration mode and downloads. They change the device and run only when a file is given for it.
#include "kit/Checks.h"

#include <array>

namespace orvo::kit {

namespace {

void EntersConfigurationMode(DriverSession& session) {
  if (session.Plan().firmwareFile.empty() && session.Plan().projectFile.empty())
    throw NotApplicable{"no firmware and no project is given that may be downloaded"};
  session.Device();
  CommunicationDriver& driver = session.Connected();
  if (!session.Ask("SetConfigurationMode", [&] { return driver.SetConfigurationMode(); }))
    throw CheckFailed{"SetConfigurationMode answers False"};
}

struct Kind {
  std::string name;
  std::string file;
  void (CommunicationDriver::*download)(const std::string&, std::int32_t);
  SinkEventKind progress;
  SinkEventKind complete;
};

Kind Firmware(DriverSession& session) {
  return {"DownloadFirmware", session.Plan().firmwareFile, &CommunicationDriver::DownloadFirmware,
          SinkEventKind::FirmwareInProgress, SinkEventKind::FirmwareComplete};
}
Kind Project(DriverSession& session) {
  return {"DownloadProject", session.Plan().projectFile, &CommunicationDriver::DownloadProject,
          SinkEventKind::ProjectInProgress, SinkEventKind::ProjectComplete};
}

CommunicationDriver& ReadyForDownload(DriverSession& session, const Kind& kind) {
  if (kind.file.empty()) throw NotApplicable{"no file is given that may be downloaded"};
  session.Device();
  CommunicationDriver& driver = session.Connected();
  session.Ask("SetConfigurationMode", [&] { return driver.SetConfigurationMode(); });
  return driver;
}

void Download(DriverSession& session, const Kind& kind) {
  CommunicationDriver& driver = ReadyForDownload(session, kind);
  session.Call(kind.name, [&] { (driver.*kind.download)(kind.file, 0); });
  const std::size_t during = session.Sink().downloads.size();
  session.RunFor(session.Plan().quiet);
  const std::vector<SinkEvent>& events = session.Sink().downloads;
  if (events.size() != during) throw CheckFailed{"events came after " + kind.name + " had returned"};
  std::int16_t former = 0;
  bool progressed = false;
  std::size_t completions = 0;
  for (const SinkEvent& event : events) {
    if (completions > 0) throw CheckFailed{SinkEventName(event.kind) + " came after the completion"};
    if (event.kind == kind.complete) {
      ++completions;
      continue;
    }
    if (event.kind != kind.progress)
      throw CheckFailed{SinkEventName(event.kind) + " came instead of its own events"};
    if (event.percent < former || event.percent > 100)
      throw CheckFailed{"progress went from " + std::to_string(former) + " % to " +
                        std::to_string(event.percent) + " %"};
    former = event.percent;
    progressed = true;
  }
  if (completions == 0) throw CheckFailed{"no completion was reported"};
  if (!progressed) throw CheckFailed{"no progress was reported"};
  if (former != 100) throw CheckFailed{"progress ended at " + std::to_string(former) + " %"};
}

void DownloadsFirmware(DriverSession& session) {
  Download(session, Firmware(session));
}
void DownloadsProject(DriverSession& session) {
  Download(session, Project(session));
}

void RefusesMissingFile(DriverSession& session) {
  bool any = false;
  for (const Kind& kind : {Firmware(session), Project(session)}) {
    if (kind.file.empty()) continue;
    any = true;
    CommunicationDriver& driver = ReadyForDownload(session, kind);
    const std::string missing = kind.file + ".does-not-exist";
    if (session.MayRefuse(kind.name, [&] { (driver.*kind.download)(missing, 0); }))
      throw CheckFailed{kind.name + " of a file that does not exist does not fail"};
    for (const SinkEvent& event : session.Sink().downloads) {
      if (event.kind == kind.complete) throw CheckFailed{kind.name + " failed and reported completion"};
    }
  }
  if (!any) throw NotApplicable{"no firmware and no project is given that may be downloaded"};
}

constexpr std::array DownloadChecksList{
    Check{{"enters-configuration-mode", "The board accepts configuration mode."},
          "knows-kind",
          EntersConfigurationMode},
    Check{{"downloads-firmware", "Progress rises up to 100, then completion comes once, all inside the call."},
          "enters-configuration-mode",
          DownloadsFirmware},
    Check{{"downloads-project", "Progress rises up to 100, then completion comes once, all inside the call."},
          "enters-configuration-mode",
          DownloadsProject},
    Check{
        {"fails-without-a-file", "The download of a file that does not exist fails and reports no completion."},
        "enters-configuration-mode",
        RefusesMissingFile},
};

}  // namespace

std::span<const Check> DownloadChecks() {
  return DownloadChecksList;
}

}  // namespace orvo::kit
