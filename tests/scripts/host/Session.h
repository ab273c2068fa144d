// One run of a script: the engine, the two objects that scripts know (Host and WScript), their connections, and
// what came of it.
//
//   Host.Echo text...            a line on the console       Host.Arguments(n)    an argument of the command
//   line Host.Sleep ms                pumps messages meanwhile    Host.Pump            handles what is pending
//   Host.Advise(object, sink)    connects the sink's functions to the object's events; the number of the
//   connection Host.Unadvise object, number                             Host.Ticks           milliseconds of
//   the system Host.Fail text               reports, and the run fails; the script goes on Host.TakeErrors how
//   many errors were reported since the last call; they no longer fail the run
//
//   WScript: Echo, Sleep, ConnectObject, DisconnectObject, CreateObject, Arguments, ScriptName, ScriptFullName,
//   Quit as the console host of Windows has them, so that a script for the one runs in the other.
#pragma once

#include "EventLink.h"
#include "NamedDispatch.h"
#include "ScriptEngine.h"

#include <map>
#include <string>
#include <vector>

namespace orvo::testing {

class Session {
 public:
  Session(std::wstring script, std::vector<std::wstring> arguments);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  // Runs `preludes` and then the script. Afterwards the script holds nothing any more.
  void Run(const std::vector<std::wstring>& preludes);

  // 0 unless something failed or the script quit with another number.
  int ExitCode() const;
  const std::wstring& LastLine() const noexcept { return lastLine_; }

 private:
  Microsoft::WRL::ComPtr<NamedDispatch> MakeHost();
  Microsoft::WRL::ComPtr<NamedDispatch> MakeWScript();
  void AddCommon(NamedDispatch& object);

  void Report(const ScriptFailure& failure);
  void Echo(const Arguments& arguments);
  void CallArguments(const Arguments& arguments, VARIANT& result) const;
  long Advise(IDispatch* source, IDispatch* target, std::wstring prefix);
  void Unadvise(IDispatch* source, long cookie);
  void DisconnectAll(IDispatch* source);
  void CreateObject(const Arguments& arguments, VARIANT& result);

  const std::wstring script_;
  const std::vector<std::wstring> arguments_;

  Microsoft::WRL::ComPtr<ScriptEngine> engine_;
  std::map<long, Microsoft::WRL::ComPtr<EventLink>> links_;
  long lastCookie_ = 0;
  int errors_ = 0;
  int failures_ = 0;
  bool quit_ = false;
  int quitCode_ = 0;
  std::wstring lastLine_;
};

// A line on the console, in UTF-8.
void PrintLine(const std::wstring& text);

}  // namespace orvo::testing
