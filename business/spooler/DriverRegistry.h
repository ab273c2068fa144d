// Drivers by their programmatic identifier.
#pragma once

#include "platform/Files.h"
#include "platform/ThreadPlatform.h"
#include "spooler/CommunicationDriver.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace orvo {

// What a driver gets from the thread that makes it. Both outlive the driver. A driver with threads of its own
// comes back to the owner's thread through `platform.Post`.
struct DriverHost {
  ThreadPlatform& platform;
  Files& files;
};

class DriverRegistry {
 public:
  using Factory = std::function<std::shared_ptr<CommunicationDriver>(DriverHost host)>;
  // Asked for an identifier that no factory bears; null when it does not know it either.
  using Fallback =
      std::function<std::shared_ptr<CommunicationDriver>(const std::string& ProgId, DriverHost host)>;

  // Identifiers compare without case. A second factory for the same identifier replaces the first.
  void Register(const std::string& ProgId, Factory factory);
  void SetFallback(Fallback fallback);

  // A new driver. Error 429 with a text that names the identifier when nothing makes it; a factory's own
  // failure is passed on.
  std::shared_ptr<CommunicationDriver> Create(const std::string& ProgId, DriverHost host) const;

 private:
  std::map<std::string, Factory> factories_;  // by folded identifier
  Fallback fallback_;
};

}  // namespace orvo
