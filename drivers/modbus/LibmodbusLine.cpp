#include "modbus/LibmodbusLine.h"

#include "errors/AutomationError.h"
#include "modbus/IdentityReader.h"
#include "modbus/ItemError.h"
#include "modbus/RtuFrame.h"

#include <modbus/modbus.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace orvo::modbus {

namespace {

constexpr std::size_t LongestFrame = MODBUS_TCP_MAX_ADU_LENGTH;
constexpr std::size_t TcpHeader = 7;  // transaction, protocol, length, unit

std::string ReasonOf(int error) {
  return error > MODBUS_ENOBASE ? modbus_strerror(error) : std::generic_category().message(error);
}

std::string DescribeTarget(const Settings& settings) {
  if (settings.transport == Transport::Rtu) return settings.device;
  const bool colons = settings.host.find(':') != std::string::npos;
  return (colons ? '[' + settings.host + ']' : settings.host) + ':' + std::to_string(settings.port);
}

// Milliseconds for poll().
int TimeLeft(std::chrono::steady_clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

int PollUntil(int descriptor, short events, std::chrono::steady_clock::time_point deadline) {
  pollfd waited{descriptor, events, 0};
  int ready = 0;
  do
    ready = poll(&waited, 1, TimeLeft(deadline));
  while (ready < 0 && errno == EINTR);
  return ready;
}

// Three and a half characters; above 19200 baud always the same.
std::chrono::microseconds SilenceOf(const Settings& settings) {
  if (settings.transport == Transport::Tcp) return {};
  const std::int32_t baud = settings.baud.value();
  if (baud > 19200) return std::chrono::microseconds(1750);
  const std::int32_t bits =
      1 + settings.dataBits + (settings.parity == Parity::None ? 0 : 1) + settings.stopBits;
  return std::chrono::microseconds(3'500'000 * bits / baud);
}

// On loopback a connection to a port at which nobody listens may meet itself.
bool IsConnectedToItself(int descriptor) {
  sockaddr_storage own{};
  sockaddr_storage other{};
  socklen_t ownSize = sizeof own;
  socklen_t otherSize = sizeof other;
  return getsockname(descriptor, reinterpret_cast<sockaddr*>(&own), &ownSize) == 0 &&
         getpeername(descriptor, reinterpret_cast<sockaddr*>(&other), &otherSize) == 0 &&
         ownSize == otherSize && std::memcmp(&own, &other, ownSize) == 0;
}

// A device that lost its power says nothing: the system asks it while nothing else goes on. A device that does
// not acknowledge what was sent is gone as well, but no sooner than its request has timed out.
void KeepAlive(int descriptor, std::chrono::milliseconds timeout) {
  constexpr int idle = 5;  // s
  constexpr int interval = 2;
  constexpr int count = 3;
  constexpr std::chrono::milliseconds whole{1000 * (idle + interval * count)};
  const auto most = static_cast<unsigned>(std::max(whole, timeout).count());
  const int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
  setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, &idle, sizeof idle);
  setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, &interval, sizeof interval);
  setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPCNT, &count, sizeof count);
  setsockopt(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, &most, sizeof most);
}

}  // namespace

struct LibmodbusLine::Context {
  modbus_t* modbus = nullptr;

  explicit Context(const Settings& settings) {
    if (settings.transport == Transport::Tcp)
      modbus = modbus_new_tcp_pi(settings.host.c_str(), std::to_string(settings.port).c_str());
    else
      modbus = modbus_new_rtu(settings.device.c_str(), settings.baud.value(),
                              static_cast<char>(settings.parity), settings.dataBits, settings.stopBits);
  }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;
  ~Context() { modbus_free(modbus); }
};

LibmodbusLine::LibmodbusLine(const Settings& settings)
    : settings_(settings),
      timeout_(settings.timeout.value()),
      name_(DescribeTarget(settings)),
      silence_(SilenceOf(settings)),
      context_(std::make_unique<Context>(settings)) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(timeout_);
  const auto rest = std::chrono::duration_cast<std::chrono::microseconds>(timeout_ - seconds);
  // Without a time-out between bytes that of the response bounds the whole of it.
  if (context_->modbus == nullptr || modbus_set_slave(context_->modbus, settings.unit) != 0 ||
      modbus_set_error_recovery(context_->modbus, MODBUS_ERROR_RECOVERY_NONE) != 0 ||
      modbus_set_byte_timeout(context_->modbus, 0, 0) != 0 ||
      modbus_set_response_timeout(context_->modbus, static_cast<std::uint32_t>(seconds.count()),
                                  static_cast<std::uint32_t>(rest.count())) != 0)
    throw AutomationError(LinkDown, "No line to " + name_ + ": " + ReasonOf(errno));
}

LibmodbusLine::~LibmodbusLine() {
  Disconnect();
}

Answer LibmodbusLine::Connect() {
  Disconnect();
  Answer answer = settings_.transport == Transport::Tcp ? ConnectTcp() : ConnectRtu();
  if (answer.IsDone()) ++connections_;
  return answer;
}

bool LibmodbusLine::Adopt(int descriptor) {
  const std::lock_guard lock(descriptorMutex_);
  if (interrupted_ || descriptor >= FD_SETSIZE) {
    close(descriptor);
    return false;
  }
  descriptor_ = descriptor;
  modbus_set_socket(context_->modbus, descriptor);
  return true;
}

Answer LibmodbusLine::ConnectTcp() {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const std::string host = settings_.host == "localhost" ? "127.0.0.1" : settings_.host;
  if (const int error = getaddrinfo(host.c_str(), std::to_string(settings_.port).c_str(), &hints, &found);
      error != 0)
    return Fail(Answer::Kind::Broken, gai_strerror(error));
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> address(found, &freeaddrinfo);

  const int descriptor =
      socket(address->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, address->ai_protocol);
  if (descriptor < 0) return Fail(Answer::Kind::Broken, ReasonOf(errno));
  if (!Adopt(descriptor))
    return Fail(Answer::Kind::Broken, "this process has too many files open for one more connection");
  if (connect(descriptor, address->ai_addr, address->ai_addrlen) != 0 &&
      !(errno == EINPROGRESS && WaitToConnect(descriptor)))
    return Fail(Answer::Kind::Broken, ReasonOf(errno));
  if (IsConnectedToItself(descriptor)) return Fail(Answer::Kind::Broken, ReasonOf(ECONNREFUSED));
  const int on = 1;
  setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  KeepAlive(descriptor, timeout_);
  return {};
}

bool LibmodbusLine::WaitToConnect(int descriptor) const {
  // An interruption before this finds no connection to end.
  const int ready = interrupted_ ? 0 : PollUntil(descriptor, POLLOUT, Deadline());
  if (ready == 0) errno = ETIMEDOUT;
  if (ready <= 0) return false;
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return false;
  if (error == 0 && interrupted_) error = ECONNABORTED;
  errno = error;
  return error == 0;
}

Answer LibmodbusLine::ConnectRtu() {
  if (modbus_connect(context_->modbus) != 0) return Fail(Answer::Kind::Broken, ReasonOf(errno));
  const int descriptor = modbus_get_socket(context_->modbus);
  if (!Adopt(descriptor)) {
    modbus_set_socket(context_->modbus, -1);
    return Fail(Answer::Kind::Broken, "this process has too many files open for one more");
  }
  // Two masters on one line would take each other's answers. Not every device driver knows this.
  ioctl(descriptor, TIOCEXCL);
  DiscardInput();
  return {};
}

void LibmodbusLine::Disconnect() noexcept {
  const std::lock_guard lock(descriptorMutex_);
  if (descriptor_ < 0) return;
  if (settings_.transport == Transport::Rtu) {
    // What was not sent would hold up the end of the port.
    modbus_flush(context_->modbus);
    ioctl(descriptor_, TIOCNXCL);
  }
  modbus_close(context_->modbus);
  descriptor_ = -1;
}

bool LibmodbusLine::IsConnected() const noexcept {
  return Descriptor() >= 0;
}

int LibmodbusLine::Descriptor() const noexcept {
  const std::lock_guard lock(descriptorMutex_);
  return descriptor_;
}

void LibmodbusLine::Interrupt() noexcept {
  const std::lock_guard lock(descriptorMutex_);
  interrupted_ = true;
  if (descriptor_ >= 0 && settings_.transport == Transport::Tcp) shutdown(descriptor_, SHUT_RDWR);
}

Answer LibmodbusLine::Fail(Answer::Kind kind, const std::string& what, bool mayHaveArrived) {
  if (interrupted_) kind = Answer::Kind::Broken;
  if (kind == Answer::Kind::Broken || !MayConfuseAnswers()) Disconnect();
  return {kind, 0, name_ + ": " + (interrupted_ ? "the line is closed" : what),
          kind == Answer::Kind::Broken && mayHaveArrived};
}

Answer LibmodbusLine::Begin() {
  if (!IsConnected() || interrupted_) return Fail(Answer::Kind::Broken, "not connected");
  if (!MayConfuseAnswers()) return {};
  const Time deadline = Deadline();
  while (!IsQuiet()) {
    if (!IsConnected() || interrupted_) return Fail(Answer::Kind::Broken, "the line has ended");
    if (std::chrono::steady_clock::now() >= deadline)
      return Fail(Answer::Kind::NoAnswer,
                  "the line was not silent within " + std::to_string(timeout_.count()) + " ms");
  }
  return {};
}

Answer LibmodbusLine::Conclude(int result) {
  const int error = errno;
  silentUntil_ = std::chrono::steady_clock::now() + silence_;
  if (result >= 0) return {};
  if (error > MODBUS_ENOBASE && error < MODBUS_ENOBASE + MODBUS_EXCEPTION_MAX)
    return {Answer::Kind::Refused, static_cast<std::uint8_t>(error - MODBUS_ENOBASE),
            name_ + ": " + ReasonOf(error)};
  switch (error) {
    case ETIMEDOUT:
      return Fail(Answer::Kind::NoAnswer, "no whole answer within " + std::to_string(timeout_.count()) + " ms",
                  true);
    case EMBBADEXC:
    case EMBUNKEXC:
      // Transaction, or unit and check sum, did fit: an exception with a code that libmodbus does not know.
      return {Answer::Kind::Refused, 0, name_ + ": an exception that the protocol does not define"};
    case MODBUS_ENOBASE:
    case EMBBADDATA:
    case EMBBADCRC:
    case EMBBADSLAVE:
    case EMBMDATA:
      return Fail(Answer::Kind::Wrong, "an answer that does not fit the request", true);
    case EPIPE:
      // Only sending ends so, before a byte of it has left.
      return Fail(Answer::Kind::Broken, ReasonOf(error));
    default:
      return Fail(Answer::Kind::Broken, ReasonOf(error), true);
  }
}

Answer LibmodbusLine::ReadBits(Area area, std::int32_t start, std::span<std::uint8_t> bits) {
  if (Answer obstacle = Begin(); !obstacle.IsDone()) return obstacle;
  const int count = static_cast<int>(bits.size());
  modbus_t* const modbus = context_->modbus;
  return Conclude(area == Area::Coils ? modbus_read_bits(modbus, start, count, bits.data())
                                      : modbus_read_input_bits(modbus, start, count, bits.data()));
}

Answer LibmodbusLine::ReadRegisters(Area area, std::int32_t start, std::span<std::uint16_t> registers) {
  if (Answer obstacle = Begin(); !obstacle.IsDone()) return obstacle;
  const int count = static_cast<int>(registers.size());
  modbus_t* const modbus = context_->modbus;
  return Conclude(area == Area::HoldingRegisters
                      ? modbus_read_registers(modbus, start, count, registers.data())
                      : modbus_read_input_registers(modbus, start, count, registers.data()));
}

Answer LibmodbusLine::WriteCoils(std::int32_t start, std::span<const std::uint8_t> bits) {
  if (Answer obstacle = Begin(); !obstacle.IsDone()) return obstacle;
  return Conclude(modbus_write_bits(context_->modbus, start, static_cast<int>(bits.size()), bits.data()));
}

Answer LibmodbusLine::WriteRegisters(std::int32_t start, std::span<const std::uint16_t> registers) {
  if (Answer obstacle = Begin(); !obstacle.IsDone()) return obstacle;
  return Conclude(
      modbus_write_registers(context_->modbus, start, static_cast<int>(registers.size()), registers.data()));
}

Answer LibmodbusLine::WriteCoil(std::int32_t address, bool on) {
  if (Answer obstacle = Begin(); !obstacle.IsDone()) return obstacle;
  return Conclude(modbus_write_bit(context_->modbus, address, on ? 1 : 0));
}

Answer LibmodbusLine::WriteRegister(std::int32_t address, std::uint16_t value) {
  if (Answer obstacle = Begin(); !obstacle.IsDone()) return obstacle;
  return Conclude(modbus_write_register(context_->modbus, address, value));
}

Answer LibmodbusLine::MaskRegister(std::int32_t address, std::uint16_t keep, std::uint16_t set) {
  if (Answer obstacle = Begin(); !obstacle.IsDone()) return obstacle;
  return Conclude(modbus_mask_write_register(context_->modbus, address, keep, set));
}

Answer LibmodbusLine::Identify(Identification& identification) {
  IdentityReader reader;
  const Time deadline = Deadline();  // of all its requests together
  for (;;) {
    std::vector<std::uint8_t> response;
    Answer answer = Ask(reader.Request(), deadline, response);
    if (!answer.IsDone()) return answer;
    switch (reader.Take(response)) {
      case IdentityReader::Step::More:
        break;
      case IdentityReader::Step::Complete:
        identification = reader.Result();
        return {};
      case IdentityReader::Step::Refused:
        return {Answer::Kind::Refused, reader.Exception(), name_ + ": it does not identify itself"};
      case IdentityReader::Step::Wrong:
        return Fail(Answer::Kind::Wrong, "an identification that is none");
    }
  }
}

Answer LibmodbusLine::Resynchronise() {
  if (!IsConnected() || interrupted_) return Fail(Answer::Kind::Broken, "not connected");
  if (!MayConfuseAnswers()) return {};
  std::vector<std::uint8_t> response;
  return Ask(std::array{ReportServerId}, Deadline(), response);
}

bool LibmodbusLine::IsQuiet() {
  const int descriptor = Descriptor();
  if (descriptor < 0) return false;
  if (settings_.transport == Transport::Tcp) {
    char byte = 0;
    if (recv(descriptor, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && (errno == EAGAIN || errno == EINTR))
      return true;
    Disconnect();
    return false;
  }
  if (!IsSilenceBroken(descriptor)) return true;
  // A port that is ready without having a byte has lost its device.
  pollfd waited{descriptor, POLLIN, 0};
  int bytes = 0;
  if (poll(&waited, 1, 0) != 1 || waited.revents != POLLIN || ioctl(descriptor, FIONREAD, &bytes) != 0 ||
      bytes == 0)
    Disconnect();
  else
    DiscardInput();
  return false;
}

void LibmodbusLine::DiscardInput() {
  modbus_flush(context_->modbus);
  silentUntil_ = std::chrono::steady_clock::now() + silence_;
}

bool LibmodbusLine::IsSilenceBroken(int descriptor) const {
  pollfd waited{descriptor, POLLIN, 0};
  int ready = 0;
  do {
    const auto left = std::max(silentUntil_ - std::chrono::steady_clock::now(), std::chrono::nanoseconds(0));
    const timespec most{0, std::chrono::nanoseconds(left).count()};
    ready = ppoll(&waited, 1, &most, nullptr);
  } while (ready < 0 && errno == EINTR);
  return ready != 0;
}

Answer LibmodbusLine::Ask(std::span<const std::uint8_t> pdu, Time deadline,
                          std::vector<std::uint8_t>& response) {
  if (Answer obstacle = Begin(); !obstacle.IsDone()) return obstacle;
  std::vector<std::uint8_t> request{static_cast<std::uint8_t>(settings_.unit)};
  request.insert(request.end(), pdu.begin(), pdu.end());
  if (modbus_send_raw_request(context_->modbus, request.data(), static_cast<int>(request.size())) < 0)
    return Conclude(-1);
  return MayConfuseAnswers() ? ReceiveRtu(pdu[0], deadline, response) : ReceiveTcp(deadline, response);
}

Answer LibmodbusLine::Receive(std::span<std::uint8_t> bytes, Time deadline, std::size_t& count) {
  const int descriptor = Descriptor();
  // On a line that never falls silent there is always something to read.
  const bool late = std::chrono::steady_clock::now() >= deadline;
  const int ready = late ? 0 : PollUntil(descriptor, POLLIN, deadline);
  if (ready == 0) errno = ETIMEDOUT;
  if (ready <= 0) return Conclude(-1);
  const ssize_t received = read(descriptor, bytes.data(), bytes.size());
  if (received == 0) errno = ECONNRESET;
  if (received <= 0) return Conclude(-1);
  count = static_cast<std::size_t>(received);
  return {};
}

Answer LibmodbusLine::ReceiveTcp(Time deadline, std::vector<std::uint8_t>& response) {
  std::array<std::uint8_t, LongestFrame> frame{};
  std::size_t length = TcpHeader;
  for (std::size_t at = 0; at < length;) {
    std::size_t count = 0;
    Answer answer = Receive(std::span(frame).subspan(at, length - at), deadline, count);
    if (!answer.IsDone()) return answer;
    at += count;
    if (at != TcpHeader || length != TcpHeader) continue;
    // A raw request has the transaction number 0; the header's length counts the unit too.
    length = TcpHeader - 1 + (static_cast<std::size_t>(frame[4]) << 8U | frame[5]);
    if (std::any_of(frame.begin(), frame.begin() + 4, [](std::uint8_t byte) { return byte != 0; }) ||
        length <= TcpHeader || length > frame.size())
      return Fail(Answer::Kind::Wrong, "an answer that does not fit the request");
  }
  response.assign(frame.begin() + TcpHeader, frame.begin() + static_cast<std::ptrdiff_t>(length));
  return {};
}

Answer LibmodbusLine::ReceiveRtu(std::uint8_t function, Time deadline, std::vector<std::uint8_t>& response) {
  std::vector<std::uint8_t> received;
  for (;;) {
    std::array<std::uint8_t, LongestFrame> bytes{};
    std::size_t count = 0;
    Answer answer = Receive(bytes, deadline, count);
    if (!answer.IsDone()) return answer;
    received.insert(received.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
    const auto pdu = FindAnswer(received, static_cast<std::uint8_t>(settings_.unit), function);
    if (!pdu.empty()) {
      response.assign(pdu.begin(), pdu.end());
      return Conclude(0);
    }
    // No answer is longer than this: the beginning is none.
    if (received.size() > 2 * LongestFrame)
      received.erase(received.begin(), received.end() - static_cast<std::ptrdiff_t>(LongestFrame));
  }
}

}  // namespace orvo::modbus
