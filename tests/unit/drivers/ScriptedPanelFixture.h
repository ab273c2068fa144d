// An open panel with a script, and a log in which each line begins with the milliseconds since it was applied.
#pragma once

#include "PanelFixture.h"

namespace orvo::testing {

class ScriptedPanelTest : public PanelTest {
 protected:
  // Applies the script and opens communication.
  void Script(const std::string& text) {
    panel->LoadScript("test", text);
    start_ = platform.Now();
    sink->onLine = [this](const std::string&) {
      sink->log.back() = std::to_string(NowMs()) + ' ' + sink->log.back();
      if (then) std::exchange(then, {})();
    };
    panel->OpenCommunication(true);
  }
  std::int64_t NowMs() const { return (platform.Now() - start_).count(); }
  // Until `ms` after the script was applied.
  void AdvanceTo(std::int64_t ms) { platform.Advance(std::chrono::milliseconds(ms - NowMs())); }
  // The whole log up to `ms`.
  Log LogUntil(std::int64_t ms) {
    AdvanceTo(ms);
    return TakeLog();
  }

  std::function<void()> then;  // run once, inside the next callback

 private:
  std::chrono::milliseconds start_{0};
};

}  // namespace orvo::testing
