// A program that a test starts and ends: lines to its standard input, lines from its standard output.
//
// It ends with this object (killed, waited for), and it is killed by the system when the test's own thread ends
// before it. What it writes to its error output goes into a file that Log() reads. Waits are bounded and use
// poll; a wait that reaches its limit throws. One thread.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace orvo::modbus_test {

class ChildProcess {
 public:
  static constexpr std::chrono::seconds Patience{30};  // for what takes no time on a machine that is not busy

  // `arguments`: the program (looked up on PATH) and its arguments. Throws std::runtime_error when it cannot be
  // started; a program that is not there ends with 127.
  explicit ChildProcess(const std::vector<std::string>& arguments);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  // The next line without its end. Throws std::runtime_error with the log when the program has ended or says
  // nothing for `limit`.
  std::string ReadLine(std::chrono::milliseconds limit = Patience);
  // The same from the error output, for programs that tell there: reads lines until one contains `part`.
  void AwaitLog(const std::string& part, std::chrono::milliseconds limit = Patience);
  void WriteLine(const std::string& line);
  // Sends the signal and waits for the end.
  void End(int signal);
  // Stops it as it stands, and lets it go on.
  void Signal(int signal) const;
  // What it wrote to its error output, the latest of it.
  std::string Log() const;

 private:
  [[noreturn]] void Fail(const std::string& what) const;

  std::string name_;
  std::string logPath_;
  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string pending_;  // of the standard output, not yet read as lines
};

}  // namespace orvo::modbus_test
