// The line over libmodbus against devices of the test's own, byte by byte.
#include "modbus/LibmodbusLine.h"
#include "unit/modbus/AnswerText.h"
#include "unit/modbus/DeviceThread.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orvo::modbus {

namespace {

constexpr int Short = 60;    // ms, for devices that keep silent
constexpr int Long = 20000;  // never waited out

// The request's transaction number in front of `rest`.
Octets Numbered(const Octets& request, const std::string& rest) {
  Octets reply{request[0], request[1]};
  const Octets behind = FromHex(rest);
  reply.insert(reply.end(), behind.begin(), behind.end());
  return reply;
}

std::string ReadTwo(Line& line) {
  std::array<std::uint16_t, 2> words{};
  const Answer answer = line.ReadRegisters(Area::HoldingRegisters, 0x10, words);
  return AnswerText(answer) +
         (answer.IsDone() ? ' ' + std::to_string(words[0]) + ' ' + std::to_string(words[1]) : "");
}

std::string IdentityText(Line& line) {
  Identification told;
  const Answer answer = line.Identify(told);
  return AnswerText(answer) +
         (answer.IsDone() ? ' ' + told.vendor + '|' + told.product + '|' + told.revision : "");
}

}  // namespace

TEST(LibmodbusLine, PutsEachRequestOnTheLineAndTakesItsAnswer) {
  Octets came;
  std::string reply;
  DeviceThread device(Transport::Tcp, [&](int, const Octets& bytes) {
    came = Octets(bytes.begin() + 2, bytes.end());
    return DeviceReply{Numbered(bytes, reply), false};
  });
  Settings settings = device.Connection(Long);
  settings.unit = 9;
  LibmodbusLine line(settings);
  EXPECT_EQ(ReadTwo(line), "broken");
  ASSERT_TRUE(line.Connect().IsDone());

  reply = "00 00 00 07 09 03 04 00 05 01 00";
  EXPECT_EQ(ReadTwo(line), "done 5 256");
  EXPECT_EQ(came, FromHex("00 00 00 06 09 03 00 10 00 02"));
  std::array<std::uint16_t, 1> word{};
  reply = "00 00 00 05 09 04 02 AB CD";
  EXPECT_EQ(AnswerText(line.ReadRegisters(Area::InputRegisters, 65535, word)), "done");
  EXPECT_EQ(word[0], 0xABCD);
  EXPECT_EQ(came, FromHex("00 00 00 06 09 04 FF FF 00 01"));
  std::array<std::uint8_t, 3> bits{};
  reply = "00 00 00 04 09 01 01 05";
  EXPECT_EQ(AnswerText(line.ReadBits(Area::Coils, 2, bits)), "done");
  EXPECT_EQ(bits, (std::array<std::uint8_t, 3>{1, 0, 1}));
  EXPECT_EQ(came, FromHex("00 00 00 06 09 01 00 02 00 03"));
  reply = "00 00 00 04 09 02 01 02";
  EXPECT_EQ(AnswerText(line.ReadBits(Area::DiscreteInputs, 2, bits)), "done");
  EXPECT_EQ(bits, (std::array<std::uint8_t, 3>{0, 1, 0}));
  EXPECT_EQ(came, FromHex("00 00 00 06 09 02 00 02 00 03"));
  reply = "00 00 00 06 09 0F 00 01 00 03";
  EXPECT_EQ(AnswerText(line.WriteCoils(1, std::array<std::uint8_t, 3>{1, 1, 0})), "done");
  EXPECT_EQ(came, FromHex("00 00 00 08 09 0F 00 01 00 03 01 03"));
  reply = "00 00 00 06 09 10 00 01 00 02";
  EXPECT_EQ(AnswerText(line.WriteRegisters(1, std::array<std::uint16_t, 2>{1, 0xFFFE})), "done");
  EXPECT_EQ(came, FromHex("00 00 00 0B 09 10 00 01 00 02 04 00 01 FF FE"));
  reply = "00 00 00 06 09 05 00 03 FF 00";
  EXPECT_EQ(AnswerText(line.WriteCoil(3, true)), "done");
  EXPECT_EQ(came, FromHex("00 00 00 06 09 05 00 03 FF 00"));
  reply = "00 00 00 06 09 06 00 03 12 34";
  EXPECT_EQ(AnswerText(line.WriteRegister(3, 0x1234)), "done");
  EXPECT_EQ(came, FromHex("00 00 00 06 09 06 00 03 12 34"));
  reply = "00 00 00 08 09 16 00 04 FF FE 00 01";
  EXPECT_EQ(AnswerText(line.MaskRegister(4, 0xFFFE, 1)), "done");
  EXPECT_EQ(came, FromHex("00 00 00 08 09 16 00 04 FF FE 00 01"));
  EXPECT_TRUE(line.IsQuiet());
  EXPECT_TRUE(line.Resynchronise().IsDone());
}

TEST(LibmodbusLine, OnTcpTellsAnAnswerFromWhatIsNoneAndEndsTheConnectionThen) {
  struct Row {
    const char* reply;  // behind the transaction number
    bool ends;
    const char* outcome;
  };
  const Row rows[] = {
      {"00 00 00 07 01 03 04 00 05 00 06", false, "done 5 6"},
      {"00 00 00 03 01 83 01", false, "refused 1"},
      {"00 00 00 03 01 83 02", false, "refused 2"},
      {"00 00 00 03 01 83 05", false, "refused 5"},
      {"00 00 00 03 01 83 09", false, "refused 9"},
      {"00 00 00 03 01 83 0B", false, "refused 11"},
      {"00 00 00 03 01 83 0C", false, "refused 0"},
      {"00 00 00 03 01 83 FF", false, "refused 0"},
      {"00 00 00 03 01 83 00", false, "wrong"},
      {"01 01 00 07 01 03 04 00 05 00 06", false, "wrong"},     // protocol
      {"00 01 00 07 01 03 04 00 05 00 06", false, "done 5 6"},  // libmodbus takes one wrong byte of the two
      {"00 00 00 07 01 04 04 00 05 00 06", false, "wrong"},     // function
      {"00 00 00 03 01 84 02", false, "refused 0"},             // nor does it tell the function of an exception
      {"00 00 00 05 01 03 02 00 05", false, "wrong"},           // too short
      {"00 00 00 09 01 03 06 00 05 00 06 00 07", false, "wrong"},
      {"00 00 00 07 01 03 04 00 05 00", false, "no answer"},  // the end of it is missing
      {"00 00", false, "no answer"},
      {"00 00 00 07 01 03 04 00 05 00", true, "broken"},
      {"", true, "broken"},  // it may have been carried out
  };
  for (const Row& row : rows) {
    DeviceThread device(Transport::Tcp, [&](int, const Octets& bytes) {
      return DeviceReply{Numbered(bytes, row.reply), row.ends};
    });
    const std::string expected = row.outcome;
    LibmodbusLine line(device.Connection(expected == "no answer" ? Short : Long));
    ASSERT_TRUE(line.Connect().IsDone());
    EXPECT_EQ(ReadTwo(line), expected) << row.reply;
    EXPECT_EQ(line.IsConnected(), expected.starts_with("done") || expected.starts_with("refused")) << row.reply;
  }
}

TEST(LibmodbusLine, RefusesAnotherRequestsAnswer) {
  DeviceThread device(Transport::Tcp, [&](int, const Octets& bytes) {
    Octets reply = Numbered(bytes, "00 00 00 07 01 03 04 00 05 00 06");
    reply[1] = static_cast<std::uint8_t>(reply[1] + 1);
    return DeviceReply{reply, false};
  });
  LibmodbusLine line(device.Connection(Long));
  ASSERT_TRUE(line.Connect().IsDone());
  EXPECT_EQ(ReadTwo(line), "wrong");
}

TEST(LibmodbusLine, NoticesUnaskedBytesAndTheConnectionsEnd) {
  for (const bool ends : {false, true}) {
    std::atomic<bool> more = false;
    DeviceThread device(Transport::Tcp, [&](int, const Octets& bytes) {
      return DeviceReply{
          Numbered(bytes, more ? "00 00 00 07 01 03 04 00 05 00 06 00" : "00 00 00 07 01 03 04 00 05 00 06"),
          more && ends};
    });
    LibmodbusLine line(device.Connection(Long));
    ASSERT_TRUE(line.Connect().IsDone());
    EXPECT_EQ(ReadTwo(line), "done 5 6");
    EXPECT_TRUE(line.IsQuiet());
    EXPECT_TRUE(line.IsConnected());
    more = true;
    EXPECT_EQ(ReadTwo(line), "done 5 6");
    EXPECT_FALSE(line.IsQuiet());
    EXPECT_FALSE(line.IsConnected());
    EXPECT_FALSE(line.IsQuiet());
  }
}

TEST(LibmodbusLine, IdentifiesADeviceOverTcp) {
  struct Row {
    std::vector<std::string> replies;  // behind the transaction number
    const char* outcome;
  };
  const Row rows[] = {
      {{"00 00 00 11 01 2B 0E 01 01 00 00 03 00 01 41 01 01 42 02 01 43"}, "done A|B|C"},
      {{"00 00 00 0B 01 2B 0E 01 01 FF 01 01 00 01 41", "00 00 00 0B 01 2B 0E 01 01 00 00 01 01 01 42"},
       "done A|B|"},
      {{"00 00 00 0B 01 2B 0E 01 01 FF 00 01 00 01 41"}, "wrong"},
      {{"00 00 00 03 01 AB 01"}, "refused 1"},
      {{"00 00 00 03 01 83 01"}, "wrong"},
      {{"00 01 00 03 01 AB 01"}, "wrong"},
      {{"00 00 00 0B 01 2B 0E 01 01 00 00 01 00 FF 41"}, "wrong"},
      {{"00 00 FF FF 01 2B 0E 01 01 00 00 01 00 FF 41"}, "wrong"},
      {{"00 00 00 00"}, "no answer"},
      {{"00 00 00 01 01"}, "wrong"},
      {{"00 00 00 00 01"}, "wrong"},
      {{"00 00 00 11 01 2B 0E 01 01 00 00 03 00 01 41"}, "no answer"},
      {{""}, "no answer"},
  };
  for (const Row& row : rows) {
    DeviceThread device(Transport::Tcp, [&](int number, const Octets& bytes) {
      const std::string& reply = row.replies.at(static_cast<std::size_t>(number));
      return DeviceReply{reply.empty() ? Octets{} : Numbered(bytes, reply), false};
    });
    const std::string expected = row.outcome;
    LibmodbusLine line(device.Connection(expected == "no answer" ? Short : Long));
    ASSERT_TRUE(line.Connect().IsDone());
    EXPECT_EQ(IdentityText(line), expected) << row.replies[0];
    EXPECT_EQ(line.IsConnected(), expected.starts_with("done") || expected.starts_with("refused"));
  }
}

TEST(LibmodbusLine, ConnectingToNobodyTellsWhy) {
  std::optional<DeviceThread> device(std::in_place, Transport::Tcp,
                                     [](int, const Octets&) { return DeviceReply{}; });
  const Settings settings = device->Connection(Long);
  device.reset();
  LibmodbusLine line(settings);
  const Answer answer = line.Connect();
  EXPECT_EQ(AnswerText(answer), "broken");
  EXPECT_EQ(answer.reason, "127.0.0.1:" + std::to_string(settings.port) + ": Connection refused");
  EXPECT_FALSE(line.IsConnected());
  EXPECT_EQ(line.Descriptor(), -1);
}

// A port whose queue of connections is full answers nothing at all.
class FullPort {
 public:
  FullPort() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(sockets_[0], reinterpret_cast<sockaddr*>(&address), size);
    listen(sockets_[0], 0);
    getsockname(sockets_[0], reinterpret_cast<sockaddr*>(&address), &size);
    for (std::size_t k = 1; k < sockets_.size(); ++k)
      connect(sockets_[k], reinterpret_cast<sockaddr*>(&address), size);
    port_ = ntohs(address.sin_port);
  }
  FullPort(const FullPort&) = delete;
  FullPort& operator=(const FullPort&) = delete;
  ~FullPort() {
    for (const int descriptor : sockets_)
      close(descriptor);
  }
  Settings Connection(int timeoutMs) const {
    Settings settings;
    settings.host = "localhost";
    settings.port = port_;
    settings.timeout = std::chrono::milliseconds(timeoutMs);
    return settings;
  }

 private:
  static int Socket() { return socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); }

  std::array<int, 5> sockets_{Socket(), Socket(), Socket(), Socket(), Socket()};
  int port_ = 0;
};

TEST(LibmodbusLine, ConnectingTakesNoLongerThanTheTimeOut) {
  const FullPort port;
  LibmodbusLine line(port.Connection(Short));
  const auto before = std::chrono::steady_clock::now();
  const Answer answer = line.Connect();
  EXPECT_EQ(AnswerText(answer), "broken");
  EXPECT_NE(answer.reason.find(": Connection timed out"), std::string::npos) << answer.reason;
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(Short));
  EXPECT_FALSE(line.IsConnected());
}

TEST(LibmodbusLine, AnInterruptionEndsConnectingToo) {
  const FullPort port;
  LibmodbusLine line(port.Connection(Long));
  std::thread interrupting([&] {
    while (line.Descriptor() < 0)
      std::this_thread::yield();
    line.Interrupt();
  });
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(AnswerText(line.Connect()), "broken");
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(Long) / 2);
  interrupting.join();
}

TEST(LibmodbusLine, AnInterruptionEndsACallThatWaitsAndAllLaterOnes) {
  std::optional<LibmodbusLine> line;
  DeviceThread device(Transport::Tcp, [&](int, const Octets&) {
    line->Interrupt();
    return DeviceReply{};
  });
  line.emplace(device.Connection(Long));
  ASSERT_TRUE(line->Connect().IsDone());
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(ReadTwo(*line), "broken");
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(Long) / 2);
  EXPECT_EQ(AnswerText(line->Connect()), "broken");
  EXPECT_FALSE(line->IsConnected());
  EXPECT_EQ(ReadTwo(*line), "broken");
  EXPECT_EQ(IdentityText(*line), "broken");
}

// select() would write past its set.
TEST(LibmodbusLine, RefusesADescriptorThatSelectCannotTake) {
  DeviceThread device(Transport::Tcp, [](int, const Octets&) { return DeviceReply{}; });
  DeviceThread terminal(Transport::Rtu, [](int, const Octets&) { return DeviceReply{}; });
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  if (limit.rlim_max < 2000) GTEST_SKIP() << "this system gives a process too few descriptors";
  const rlimit former = limit;
  limit.rlim_cur = 2000;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  std::vector<int> taken;
  while (taken.empty() || taken.back() < FD_SETSIZE)
    taken.push_back(dup(0));
  for (const DeviceThread* served : {&device, &terminal}) {
    LibmodbusLine line(served->Connection(Long));
    const Answer answer = line.Connect();
    EXPECT_EQ(AnswerText(answer), "broken");
    EXPECT_NE(answer.reason.find("too many files open"), std::string::npos) << answer.reason;
    EXPECT_EQ(dup(0), taken.back() + 1);  // it was closed again
    close(taken.back() + 1);
    taken.pop_back();
    close(taken.back() + 1);
    taken.push_back(dup(0));
  }
  for (const int descriptor : taken)
    close(descriptor);
  setrlimit(RLIMIT_NOFILE, &former);
}

TEST(LibmodbusLine, SpeaksRtuOnATerminal) {
  std::mutex mutex;  // a terminal does not order what two threads do
  Octets came;
  DeviceThread device(Transport::Rtu, [&](int number, const Octets& bytes) {
    const std::lock_guard lock(mutex);
    came = bytes;
    return DeviceReply{WithCrc(FromHex(number == 0 ? "01 03 04 00 05 00 06" : "01 83 02")), false};
  });
  LibmodbusLine line(device.Connection(Long));
  EXPECT_TRUE(line.MayConfuseAnswers());
  ASSERT_TRUE(line.Connect().IsDone());
  EXPECT_EQ(ReadTwo(line), "done 5 6");
  {
    const std::lock_guard lock(mutex);
    EXPECT_EQ(came, WithCrc(FromHex("01 03 00 10 00 02")));
  }
  EXPECT_EQ(ReadTwo(line), "refused 2");
  EXPECT_TRUE(line.IsConnected());
  ASSERT_TRUE(line.Connect().IsDone());  // the port was given back
}

TEST(LibmodbusLine, OnRtuIsQuietAfterTheSilenceBetweenFrames) {
  DeviceThread device(Transport::Rtu, [](int, const Octets&) {
    return DeviceReply{WithCrc(FromHex("01 03 04 00 05 00 06")), false};
  });
  Settings settings = device.Connection(Long);
  settings.baud = 1200;  // 11 bits: 32.08 ms
  LibmodbusLine line(settings);
  ASSERT_TRUE(line.Connect().IsDone());
  EXPECT_EQ(ReadTwo(line), "done 5 6");
  const auto answered = std::chrono::steady_clock::now();
  EXPECT_TRUE(line.IsQuiet());
  EXPECT_GE(std::chrono::steady_clock::now() - answered, std::chrono::milliseconds(25));
}

TEST(LibmodbusLine, OnRtuTellsAnAnswerFromWhatIsNoneAndKeepsThePort) {
  struct Row {
    Octets reply;
    const char* outcome;
  };
  Octets damaged = WithCrc(FromHex("01 03 04 00 05 00 06"));
  damaged[4] ^= 1;
  const Row rows[] = {
      {damaged, "wrong"},
      {WithCrc(FromHex("02 03 04 00 05 00 06")), "wrong"},
      {WithCrc(FromHex("01 04 04 00 05 00 06")), "wrong"},
      {WithCrc(FromHex("01 03 02 00 05")), "wrong"},
      {WithCrc(FromHex("01 83 00")), "wrong"},
      {WithCrc(FromHex("01 83 0C")), "refused 0"},
      {WithCrc(FromHex("01 83 FF")), "refused 0"},
      {WithCrc(FromHex("02 83 0C")), "wrong"},
      {FromHex("01 03 04 00 05"), "no answer"},
      {{}, "no answer"},
  };
  for (const Row& row : rows) {
    DeviceThread device(Transport::Rtu, [&](int, const Octets&) { return DeviceReply{row.reply, false}; });
    const std::string expected = row.outcome;
    LibmodbusLine line(device.Connection(expected == "no answer" ? Short : Long));
    ASSERT_TRUE(line.Connect().IsDone());
    EXPECT_EQ(ReadTwo(line), expected);
    EXPECT_TRUE(line.IsConnected());
  }
}

// A late answer to a read comes with that to the question that nothing else has the answer of.
TEST(LibmodbusLine, FallsIntoStepBehindALateAnswer) {
  const Octets late = WithCrc(FromHex("01 03 04 00 63 00 63"));
  const Octets id = WithCrc(FromHex("01 11 02 07 FF"));
  const Octets refusal = WithCrc(FromHex("01 91 01"));
  const auto joined = [](Octets first, const Octets& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
  };
  struct Row {
    Octets reply;
    const char* outcome;
  };
  const Row rows[] = {
      {id, "done"},
      {refusal, "done"},
      {joined(late, id), "done"},
      {joined(late, joined(FromHex("01 11 40"), refusal)), "done"},
      {joined(id, late), "done"},
      {late, "no answer"},
      {FromHex("01 11 02 07 FF 00 00"), "no answer"},
  };
  for (const Row& row : rows) {
    DeviceThread device(Transport::Rtu, [&](int number, const Octets&) {
      return number == 0 ? DeviceReply{row.reply, false}
                         : DeviceReply{WithCrc(FromHex("01 03 04 00 05 00 06")), false};
    });
    const std::string expected = row.outcome;
    LibmodbusLine line(device.Connection(expected == "done" ? Long : Short));
    ASSERT_TRUE(line.Connect().IsDone());
    EXPECT_EQ(AnswerText(line.Resynchronise()), expected);
    EXPECT_TRUE(line.IsConnected());
    if (expected != "done") continue;
    EXPECT_EQ(ReadTwo(line), "done 5 6");
  }
}

TEST(LibmodbusLine, IdentifiesADeviceOverRtuAlsoBehindALateAnswer) {
  DeviceThread device(Transport::Rtu, [](int number, const Octets&) {
    if (number == 1) return DeviceReply{WithCrc(FromHex("01 AB 01")), false};
    Octets reply = WithCrc(FromHex("01 03 04 00 63 00 63"));
    const Octets identity = WithCrc(FromHex("01 2B 0E 01 01 00 00 02 00 01 41 02 01 43"));
    reply.insert(reply.end(), identity.begin(), identity.end());
    return DeviceReply{reply, false};
  });
  LibmodbusLine line(device.Connection(Long));
  ASSERT_TRUE(line.Connect().IsDone());
  EXPECT_EQ(IdentityText(line), "done A||C");
  EXPECT_EQ(IdentityText(line), "refused 1");
}

TEST(LibmodbusLine, OnALineThatNeverFallsSilentATimeOutIsStillOne) {
  std::atomic<bool> over = false;
  DeviceThread device(Transport::Rtu, [](int, const Octets&) { return DeviceReply{}; });
  LibmodbusLine line(device.Connection(Short));
  ASSERT_TRUE(line.Connect().IsDone());
  std::thread noise([&] {
    while (!over)
      device.Send(Octets(16, 0x55));
  });
  EXPECT_EQ(AnswerText(line.Resynchronise()), "no answer");
  EXPECT_EQ(IdentityText(line), "no answer");
  over = true;
  while (line.Descriptor() >= 0 && !line.IsQuiet()) {
  }
  noise.join();
}

TEST(LibmodbusLine, ATerminalThatIsGoneIsNoConnection) {
  std::optional<DeviceThread> device(std::in_place, Transport::Rtu,
                                     [](int, const Octets&) { return DeviceReply{}; });
  LibmodbusLine line(device->Connection(Long));
  ASSERT_TRUE(line.Connect().IsDone());
  EXPECT_TRUE(line.IsQuiet());
  device->Send(FromHex("01 02 03"));
  EXPECT_FALSE(line.IsQuiet());  // unasked
  EXPECT_TRUE(line.IsConnected());
  EXPECT_TRUE(line.IsQuiet());  // and gone
  device.reset();
  EXPECT_FALSE(line.IsQuiet());
  EXPECT_FALSE(line.IsConnected());
  EXPECT_EQ(AnswerText(line.Connect()), "broken");
}

}  // namespace orvo::modbus
