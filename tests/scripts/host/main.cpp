// Runs a script of the automation server's tests and samples in its own single-threaded apartment:
//
//   script_host [--actctx MANIFEST] [--register DLL] [--component WSC] [--prelude FILE]... [--marker] SCRIPT
//   [ARGUMENT...]
//
// --marker: the run fails unless the last line that the script echoed is "DONE n checks" with n above 0. The
// exit code is 0, that of WScript.Quit, or 1 when anything failed; 2 when nothing could be run.
#include "Activation.h"
#include "HostError.h"
#include "Session.h"
#include "Value.h"

#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

struct Options {
  std::wstring manifest;
  std::wstring library;
  std::wstring component;
  std::vector<std::wstring> preludes;
  bool marker = false;
  std::wstring script;
  std::vector<std::wstring> arguments;
};

Options Parse(const std::vector<std::wstring>& words) {
  Options options;
  std::size_t next = 0;
  const auto value = [&]() -> const std::wstring& {
    if (next + 1 >= words.size()) throw HostError(E_INVALIDARG, words[next] + L" needs a file");
    return words[++next];
  };
  for (; next < words.size() && words[next].starts_with(L"--"); ++next) {
    if (words[next] == L"--actctx")
      options.manifest = value();
    else if (words[next] == L"--register")
      options.library = value();
    else if (words[next] == L"--component")
      options.component = value();
    else if (words[next] == L"--prelude")
      options.preludes.push_back(value());
    else if (words[next] == L"--marker")
      options.marker = true;
    else
      throw HostError(E_INVALIDARG, L"there is no option " + words[next]);
  }
  if (next == words.size()) throw HostError(E_INVALIDARG, L"no script is given");
  options.script = FullPath(words[next]);
  options.arguments.assign(words.begin() + static_cast<std::ptrdiff_t>(next) + 1, words.end());
  return options;
}

int Run(const Options& options) {
  std::optional<ActivationContext> context;
  if (!options.manifest.empty()) context.emplace(options.manifest);
  if (!options.library.empty()) RegisterLibrary(options.library);
  if (!options.component.empty()) RegisterComponent(options.component);

  Session session(options.script, options.arguments);
  session.Run(options.preludes);
  if (options.marker && !std::regex_match(session.LastLine(), std::wregex(L"DONE [1-9][0-9]* checks"))) {
    PrintLine(L"FAILED: the script did not reach its end (no line \"DONE n checks\")");
    return 1;
  }
  return session.ExitCode();
}

// The apartment, entered and left.
class Apartment {
 public:
  Apartment() { Require(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), L"there is no apartment"); }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
  ~Apartment() { CoUninitialize(); }
};

}  // namespace
}  // namespace orvo::testing

int wmain(int count, wchar_t** words) {
  using namespace orvo::testing;
  try {
    const Options options = Parse({words + 1, words + count});
    const Apartment apartment;
    return Run(options);
  } catch (const HostError& error) {
    wchar_t code[32];
    std::swprintf(code, std::size(code), L" (0x%08lX)", static_cast<unsigned long>(error.Code()));
    PrintLine(L"script_host: " + error.Text() + code);
    return 2;
  }
}
