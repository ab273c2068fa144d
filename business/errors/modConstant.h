// Constants that several folders share.
#pragma once

#include <chrono>
#include <cstdint>

namespace orvo {

// The server's status as clients see it.
enum ServerStatusValue : std::int32_t {
  StatusNotConfigured = 1,  // no device type selected
  StatusStopped = 2,        // configured, communication closed
  StatusRunning = 3,        // communication open, spooler running
};

inline constexpr std::int32_t NoTimer = -1;  // a group's TimerId while no timer runs

// Request errors of the system itself.
inline constexpr std::int32_t RequestFailed = 1;  // refused, not queued, timed out
inline constexpr std::int32_t NeverReached = 99;  // the request never reached the device

inline constexpr std::chrono::milliseconds SpoolerInterval{50};
inline constexpr float SynchronousTimeoutSeconds = 10.0F;
inline constexpr float LockBreakSeconds = 2.0F;
inline constexpr std::int32_t LastTransactionId = 999;

// Second argument of the driver's SetGroupDefinition.
inline constexpr std::int32_t DefineOnDevice = -1;
inline constexpr std::int32_t ReleaseOnDevice = 0;

}  // namespace orvo
