// The line over libmodbus: what it tells the system and the device beside requests, and what of a request that
// broke it knows.
#include "modbus/LibmodbusLine.h"
#include "unit/modbus/DeviceThread.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace orvo::modbus {

class LibmodbusOptionsTest : public ::testing::Test {
 protected:
  static constexpr int Never = 20000;  // ms that are not waited out

  static int OptionOf(int descriptor, int level, int name) {
    int value = -1;
    socklen_t size = sizeof value;
    return getsockopt(descriptor, level, name, &value, &size) == 0 ? value : -1;
  }
  static Answer ReadOne(Line& line) {
    std::uint16_t word = 0;
    return line.ReadRegisters(Area::HoldingRegisters, 0, {&word, 1});
  }
};

TEST_F(LibmodbusOptionsTest, ASilentDeviceIsAskedByTheSystemWhetherItIsThere) {
  DeviceThread device(Transport::Tcp, [](int, const Octets&) { return DeviceReply{}; });
  for (const auto& [timeout, most] : {std::pair{1000, 11000}, std::pair{20000, 20000}}) {
    LibmodbusLine line(device.Connection(timeout));
    ASSERT_TRUE(line.Connect().IsDone());
    EXPECT_EQ(OptionOf(line.Descriptor(), SOL_SOCKET, SO_KEEPALIVE), 1);
    EXPECT_EQ(OptionOf(line.Descriptor(), IPPROTO_TCP, TCP_KEEPIDLE), 5);
    EXPECT_EQ(OptionOf(line.Descriptor(), IPPROTO_TCP, TCP_KEEPINTVL), 2);
    EXPECT_EQ(OptionOf(line.Descriptor(), IPPROTO_TCP, TCP_KEEPCNT), 3);
    EXPECT_EQ(OptionOf(line.Descriptor(), IPPROTO_TCP, TCP_USER_TIMEOUT), most);
  }
}

TEST_F(LibmodbusOptionsTest, ARequestWhoseConnectionEndsInsteadOfAnAnswerMayHaveArrived) {
  for (const bool half : {false, true}) {
    DeviceThread device(Transport::Tcp, [&](int, const Octets& bytes) {
      return DeviceReply{half ? Octets{bytes[0], bytes[1], 0, 0, 0} : Octets{}, true};
    });
    LibmodbusLine line(device.Connection(Never));
    EXPECT_FALSE(ReadOne(line).mayHaveArrived);  // not connected
    ASSERT_TRUE(line.Connect().IsDone());
    const Answer answer = ReadOne(line);
    EXPECT_EQ(answer.kind, Answer::Kind::Broken);
    EXPECT_TRUE(answer.mayHaveArrived);
    EXPECT_FALSE(ReadOne(line).mayHaveArrived);
  }
}

// Sending on what this side has shut is what the system refuses for certain.
TEST_F(LibmodbusOptionsTest, ARequestThatTheSystemDidNotTakeHasNotArrived) {
  std::atomic<int> came = 0;
  DeviceThread device(Transport::Tcp, [&](int, const Octets&) {
    ++came;
    return DeviceReply{};
  });
  LibmodbusLine line(device.Connection(Never));
  ASSERT_TRUE(line.Connect().IsDone());
  shutdown(line.Descriptor(), SHUT_WR);
  const std::uint16_t word = 1;
  const Answer answer = line.WriteRegisters(0, {&word, 1});
  EXPECT_EQ(answer.kind, Answer::Kind::Broken);
  EXPECT_FALSE(answer.mayHaveArrived);
  EXPECT_EQ(came, 0);
}

TEST_F(LibmodbusOptionsTest, ARequestThatAnInterruptionEndsMayHaveArrived) {
  std::atomic<LibmodbusLine*> interrupted = nullptr;
  DeviceThread device(Transport::Tcp, [&](int, const Octets&) {
    interrupted.load()->Interrupt();
    return DeviceReply{};
  });
  LibmodbusLine line(device.Connection(Never));
  interrupted = &line;
  ASSERT_TRUE(line.Connect().IsDone());
  EXPECT_TRUE(ReadOne(line).mayHaveArrived);
  EXPECT_FALSE(ReadOne(line).mayHaveArrived);
}

// Frames are parted by silence alone: at 1200 baud with 11 bits 32.08 ms.
TEST_F(LibmodbusOptionsTest, OnRtuTheSilenceBeginsAnewWithWhatIsDiscarded) {
  using Clock = std::chrono::steady_clock;
  std::mutex mutex;  // a terminal does not order what two threads do
  Clock::time_point asked;
  DeviceThread device(Transport::Rtu, [&](int, const Octets& bytes) {
    const std::lock_guard lock(mutex);
    asked = Clock::now();
    return DeviceReply{WithCrc(bytes[1] == 17 ? Octets{1, 17, 1, 7} : Octets{1, 3, 2, 0, 5}), false};
  });
  Settings settings = device.Connection(Never);
  settings.baud = 1200;
  LibmodbusLine line(settings);
  ASSERT_TRUE(line.Connect().IsDone());
  ASSERT_TRUE(line.IsQuiet());
  const auto sinceAsked = [&](Clock::time_point before) {
    const std::lock_guard lock(mutex);
    return asked - before;
  };
  const std::chrono::milliseconds silence(32);
  struct Row {
    const char* what;
    std::function<void()> prepare;
    std::function<Answer()> ask;
  };
  const Row rows[] = {
      {"a read behind noise", [&] { device.Send({0x55}); }, [&] { return ReadOne(line); }},
      {"the question that keeps in step behind noise", [&] { device.Send({0x55}); },
       [&] { return line.Resynchronise(); }},
      {"a read behind noise that was noticed",
       [&] {
         device.Send({0x55});
         while (line.IsQuiet()) {
         }
       },
       [&] { return ReadOne(line); }},
      {"a read behind the answer to that question", [&] { EXPECT_TRUE(line.Resynchronise().IsDone()); },
       [&] { return ReadOne(line); }},
  };
  for (const Row& row : rows) {
    while (!line.IsQuiet()) {
    }
    row.prepare();
    const Clock::time_point before = Clock::now();
    EXPECT_TRUE(row.ask().IsDone()) << row.what;
    // What was done just before lies at most a little earlier.
    EXPECT_GE(sinceAsked(before), silence - std::chrono::milliseconds(7)) << row.what;
  }
}

TEST_F(LibmodbusOptionsTest, OnALineThatNeverFallsSilentNothingIsAsked) {
  std::atomic<bool> over = false;
  DeviceThread device(Transport::Rtu, [](int, const Octets&) { return DeviceReply{}; });
  Settings settings = device.Connection(60);
  settings.baud = 300;  // silence is 128 ms
  LibmodbusLine line(settings);
  ASSERT_TRUE(line.Connect().IsDone());
  std::thread noise([&] {
    while (!over)
      device.Send(Octets(16, 0x55));
  });
  while (line.IsQuiet()) {
  }
  const Answer answer = ReadOne(line);
  over = true;
  while (line.Descriptor() >= 0 && !line.IsQuiet()) {
  }
  noise.join();
  EXPECT_EQ(answer.kind, Answer::Kind::NoAnswer);
  EXPECT_NE(answer.reason.find(": the line was not silent within 60 ms"), std::string::npos) << answer.reason;
}

}  // namespace orvo::modbus
