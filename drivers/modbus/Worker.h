// The thread of one opened communication: the line, its link, and the requests that go over it, one at a time.
//
// Begins by connecting. While no job is there it waits for one, for what comes over the line unasked, and for
// the time of the link's next work. Made, used and ended on the owner's thread. After Stop the thread ends by
// itself: at once on TCP, within a time-out on RTU; what it was asked for is answered by then.
//
// Jobs are handed over with everything in them: nothing of what they hold may be shared with the owner's
// thread. An answer is called on the worker's thread. It must not be the last holder of anything that ends the
// worker: that would wait for itself.
#pragma once

#include "modbus/Exchange.h"
#include "modbus/Line.h"
#include "modbus/Link.h"
#include "modbus/LinkState.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace orvo::modbus {

struct WorkerJob {
  enum class Kind : std::uint8_t { Read, Write };

  Kind kind = Kind::Read;
  std::vector<ItemRequest> items;
  // Called once with the results of all items. Must not throw.
  std::function<void(ItemResults results)> answer;
};

class Worker {
 public:
  // Error 5 when the system gives no thread or no descriptor for it. `state` outlives the worker.
  Worker(std::unique_ptr<Line> line, const Link::Terms& terms, const ExchangeOptions& options,
         LinkState& state);
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  // Stops, and waits for the thread's end.
  ~Worker();

  // Waits until the first attempt to connect is over and the device was asked what it is: at most three
  // time-outs (connecting, identification, connecting anew after none).
  void AwaitFirstAttempt();
  // One at a time: only after the answer of the one before, and not after Stop.
  void Start(WorkerJob job);
  // Returns at once. There is no way back.
  void Stop() noexcept;

 private:
  // Wakes the thread's poll().
  class Bell {
   public:
    Bell();
    Bell(const Bell&) = delete;
    Bell& operator=(const Bell&) = delete;
    ~Bell();
    void Ring() const noexcept;
    void Silence() const noexcept;
    int Descriptor() const noexcept { return descriptor_; }

   private:
    int descriptor_;
  };

  void Run() noexcept;
  // One step of the thread. False: it is to end.
  bool Step();
  void Do(WorkerJob job);
  void Wait(std::optional<Link::Time> until);
  void TellFirstAttempt() noexcept;

  const std::unique_ptr<Line> line_;
  Link link_;
  Exchange exchange_;
  const Bell bell_;

  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::optional<WorkerJob> job_;
  bool stopped_ = false;
  bool firstAttemptOver_ = false;

  std::thread thread_;
};

}  // namespace orvo::modbus
