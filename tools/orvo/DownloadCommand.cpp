// download firmware, download project.

#include "Commands.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "Terminal.h"
#include "errors/modIDataErrors.h"

#include <algorithm>
#include <cstddef>
#include <iostream>

namespace orvo::client {

namespace {

// A bar on a terminal, a line for each ten percent otherwise.
class Progress final : public KELDataServerEvents {
 public:
  Progress(Session& session, std::string what)
      : session_(session), what_(std::move(what)), terminal_(OutputIsTerminal()) {}

  bool complete = false;

  void DownloadFirmwareInProgress(std::int16_t Percent) override { Show(Percent); }
  void DownloadProjectInProgress(std::int16_t Percent) override { Show(Percent); }
  void DownloadFirmwareComplete() override { complete = true; }
  void DownloadProjectComplete() override { complete = true; }

  // Ends the bar's line.
  void End() const {
    if (terminal_ && shown_ >= 0) std::cout << '\n';
  }

 private:
  void Show(int percent) {
    percent = std::clamp(percent, 0, 100);
    terminal_ ? Bar(percent) : Line(percent);
    session_.PollInterrupt();  // a driver need not pump while it transfers
  }
  void Bar(int percent) {
    if (percent == shown_) return;
    shown_ = percent;
    constexpr std::size_t around = 24;  // what stands beside the bar
    constexpr std::size_t longest = 40;
    const std::size_t room = OutputSize().columns;
    const std::size_t width = std::min(longest, room > around + 1 ? room - around : 1);
    const std::size_t filled = static_cast<std::size_t>(percent) * width / 100;
    std::cout << "\r  " << what_ << "  [" << std::string(filled, '#') << std::string(width - filled, ' ')
              << "] " << percent << " %" << std::flush;
  }
  void Line(int percent) {
    const int tens = percent / 10 * 10;
    if (tens <= shown_) return;
    shown_ = tens;
    std::cout << "  " << what_ << "  " << tens << " %" << std::endl;
  }

  Session& session_;
  const std::string what_;
  const bool terminal_;
  int shown_ = -1;  // percent
};

int RunDownload(Session& session, const std::string& what, const std::string& operation,
                const std::string& file, void (KELDataServer::*download)(const std::string& FileName)) {
  const auto progress = std::make_shared<Progress>(session, what);
  const std::int32_t cookie = session.server->Events().Advise(progress);
  (session.server.get()->*download)(file);
  session.server->Events().Unadvise(cookie);
  progress->End();
  if (!progress->complete) {
    std::cout.flush();
    Interrupt::Check();
    const std::string text = "the " + what + " '" + file + "' was not downloaded: ";
    if (const auto failure = session.Log().Failure(operation))
      throw AutomationError(failure->Number(), text + failure->Description());
    RaiseDataError(errCommunication, text + "the driver did not report its end");
  }
  std::cout << "  " << what << " '" << file << "' downloaded\n";
  return Success;
}

}  // namespace

int RunDownloadFirmware(Session& session, const Options& options) {
  return RunDownload(session, "firmware", "DownloadFirmware", options.file, &KELDataServer::DownloadFirmware);
}

int RunDownloadProject(Session& session, const Options& options) {
  return RunDownload(session, "project", "DownloadProject", options.file, &KELDataServer::DownloadProject);
}

}  // namespace orvo::client
