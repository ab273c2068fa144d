#include "modbus/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace orvo::modbus_test {

namespace {

using Clock = std::chrono::steady_clock;

int MillisecondsUntil(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

struct Pipe {
  Pipe() {
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  }
  std::array<int, 2> ends{};  // to read from, to write to
};

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments) : name_(arguments.front()) {
  std::string path = "/tmp/orvo-modbus-log-XXXXXX";
  const int log = ::mkostemp(path.data(), O_CLOEXEC);
  if (log < 0) throw std::system_error(errno, std::generic_category(), path);
  logPath_ = path;
  const Pipe input;
  const Pipe output;
  std::vector<char*> words;
  for (const std::string& argument : arguments)
    words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  const pid_t parent = ::getpid();
  process_ = ::fork();
  if (process_ == 0) {
    // Only calls that a process with threads may make between fork and exec.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(126);
    ::dup2(input.ends[0], STDIN_FILENO);
    ::dup2(output.ends[1], STDOUT_FILENO);
    ::dup2(log, STDERR_FILENO);
    ::execvp(words[0], words.data());
    ::_exit(127);
  }
  ::close(input.ends[0]);
  ::close(output.ends[1]);
  ::close(log);
  input_ = input.ends[1];
  output_ = output.ends[0];
  if (process_ < 0) {
    const int error = errno;
    ::close(input_);
    ::close(output_);
    ::unlink(logPath_.c_str());
    throw std::system_error(error, std::generic_category(), "fork");
  }
}

ChildProcess::~ChildProcess() {
  End(SIGKILL);
  ::close(input_);
  ::close(output_);
  ::unlink(logPath_.c_str());
}

void ChildProcess::Fail(const std::string& what) const {
  throw std::runtime_error(name_ + ": " + what + "; its log:\n" + Log());
}

std::string ChildProcess::ReadLine(std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  for (;;) {
    const std::size_t end = pending_.find('\n');
    if (end != std::string::npos) {
      std::string line = pending_.substr(0, end);
      pending_.erase(0, end + 1);
      return line;
    }
    pollfd wait{output_, POLLIN, 0};
    const int ready = ::poll(&wait, 1, MillisecondsUntil(deadline));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) Fail("says nothing");
    std::array<char, 4096> bytes{};
    const ssize_t count = ::read(output_, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) Fail("has ended");
    pending_.append(bytes.data(), static_cast<std::size_t>(count));
  }
}

void ChildProcess::AwaitLog(const std::string& part, std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  while (Log().find(part) == std::string::npos) {
    if (Clock::now() >= deadline) Fail("does not tell '" + part + "'");
    // The log is a file; what can be waited for is the end of the program, which closes its standard output.
    pollfd wait{output_, POLLIN, 0};
    if (::poll(&wait, 1, 5) > 0 && Log().find(part) == std::string::npos)
      Fail("has ended without telling '" + part + "'");
  }
}

void ChildProcess::WriteLine(const std::string& line) {
  const std::string text = line + '\n';
  // Short lines, which a pipe takes whole. One that ended must not end the test by SIGPIPE.
  const auto before = ::signal(SIGPIPE, SIG_IGN);
  const ssize_t count = ::write(input_, text.data(), text.size());
  ::signal(SIGPIPE, before);
  if (count != static_cast<ssize_t>(text.size())) Fail("takes no command");
}

void ChildProcess::Signal(int signal) const {
  if (process_ > 0) ::kill(process_, signal);
}

void ChildProcess::End(int signal) {
  if (process_ <= 0) return;
  ::kill(process_, signal);
  while (::waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
}

std::string ChildProcess::Log() const {
  constexpr std::size_t MostShown = 2000;
  std::ifstream file(logPath_);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  return text.size() <= MostShown ? text : "..." + text.substr(text.size() - MostShown);
}

}  // namespace orvo::modbus_test
