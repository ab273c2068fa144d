#include "modbus/Worker.h"

#include "errors/AutomationError.h"
#include "modbus/ItemError.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>
#include <utility>

namespace orvo::modbus {

Worker::Bell::Bell() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0)
    throw AutomationError(LinkDown,
                          "No descriptor for the line's thread: " + std::generic_category().message(errno));
}

Worker::Bell::~Bell() {
  close(descriptor_);
}

void Worker::Bell::Ring() const noexcept {
  const std::uint64_t one = 1;
  // Fails only when it rings already.
  [[maybe_unused]] const ssize_t written = write(descriptor_, &one, sizeof one);
}

void Worker::Bell::Silence() const noexcept {
  std::uint64_t rung = 0;
  [[maybe_unused]] const ssize_t taken = read(descriptor_, &rung, sizeof rung);
}

Worker::Worker(std::unique_ptr<Line> line, const Link::Terms& terms, const ExchangeOptions& options,
               LinkState& state)
    : line_(std::move(line)),
      link_(*line_, terms, &std::chrono::steady_clock::now, state),
      exchange_(link_, options) {
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (const std::system_error& error) {
    throw AutomationError(LinkDown, std::string("No thread for the line: ") + error.what());
  }
}

Worker::~Worker() {
  Stop();
  thread_.join();
}

void Worker::AwaitFirstAttempt() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return firstAttemptOver_; });
}

void Worker::Start(WorkerJob job) {
  {
    const std::lock_guard lock(mutex_);
    job_ = std::move(job);
  }
  bell_.Ring();
}

void Worker::Stop() noexcept {
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  line_->Interrupt();
  bell_.Ring();
}

void Worker::TellFirstAttempt() noexcept {
  const std::lock_guard lock(mutex_);
  if (std::exchange(firstAttemptOver_, true)) return;
  changed_.notify_all();
}

void Worker::Run() noexcept {
  while (Step()) {
  }
  link_.Disconnect();
  TellFirstAttempt();
}

bool Worker::Step() {
  std::optional<WorkerJob> job;
  {
    const std::lock_guard lock(mutex_);
    job = std::exchange(job_, std::nullopt);
    // One that came before the stop is answered, though it fails.
    if (stopped_ && !job) return false;
  }
  if (job) {
    Do(std::move(*job));
    return true;
  }
  try {
    link_.Work();
  } catch (...) {
    link_.GiveUp(CaughtError().Description());
  }
  const auto next = link_.NextWork();
  if (next && *next <= std::chrono::steady_clock::now()) return true;
  TellFirstAttempt();
  Wait(next);
  return true;
}

void Worker::Do(WorkerJob job) {
  ItemResults results;
  try {
    results = job.kind == WorkerJob::Kind::Read ? exchange_.Read(job.items) : exchange_.Write(job.items);
  } catch (...) {
    // Where it failed nobody knows, so neither what the line is at.
    link_.GiveUp(CaughtError().Description());
    results = ItemResults::Failed(job.items.size(), WrongAnswer);
  }
  // What the request held ends before its answer can make the owner go on.
  job.items = {};
  job.answer(std::move(results));
}

void Worker::Wait(std::optional<Link::Time> until) {
  std::array<pollfd, 2> waited{{{bell_.Descriptor(), POLLIN, 0}, {line_->Descriptor(), POLLIN, 0}}};
  int timeout = -1;
  if (until) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*until - std::chrono::steady_clock::now());
    timeout = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max()));
  }
  poll(waited.data(), waited.size(), timeout);
  if (waited[0].revents != 0) bell_.Silence();
}

}  // namespace orvo::modbus
