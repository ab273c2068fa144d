#include "Session.h"

#include "HostError.h"
#include "MessagePump.h"
#include "Value.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace orvo::testing {

using Microsoft::WRL::ComPtr;

void PrintLine(const std::wstring& text) {
  std::printf("%s\n", Utf8(text).c_str());
  std::fflush(stdout);
}

namespace {

void PutNumber(VARIANT& result, long number) {
  result.vt = VT_I4;
  result.lVal = number;
}

void PutText(VARIANT& result, const std::wstring& text) {
  result = Value(text).Detach();
}

void PutObject(VARIANT& result, ComPtr<NamedDispatch> object) {
  result.vt = VT_DISPATCH;
  result.pdispVal = object.Detach();
}

// The address of a converted value as SafeArrayPutElement wants it.
void* ElementOf(VARIANT& value, VARTYPE type) {
  if (type == VT_VARIANT) return &value;
  return type == VT_BSTR ? static_cast<void*>(value.bstrVal) : static_cast<void*>(&value.llVal);
}

// (type, lower bound, value...)
void MakeArray(const Arguments& arguments, VARIANT& result) {
  const auto type = static_cast<VARTYPE>(NumberOf(arguments.At(0), L"the type"));
  const LONG lower = NumberOf(arguments.At(1), L"the lower bound");
  const auto count = static_cast<ULONG>(arguments.Size() - 2);
  result.parray = SafeArrayCreateVector(type, lower, count);
  if (result.parray == nullptr) throw HostError(E_INVALIDARG, L"there are no arrays of this type");
  result.vt = static_cast<VARTYPE>(VT_ARRAY | type);
  for (ULONG position = 0; position < count; ++position) {
    Value element;
    Convert(arguments.At(position + 2), type, *element.Raw());
    LONG index = lower + static_cast<LONG>(position);
    Require(SafeArrayPutElement(result.parray, &index, ElementOf(*element.Raw(), type)),
            L"an element is refused");
  }
}

std::wstring TextAt(const Arguments& arguments, std::size_t index) {
  return TextOf(arguments.At(index));
}

}  // namespace

Session::Session(std::wstring script, std::vector<std::wstring> arguments)
    : script_(std::move(script)), arguments_(std::move(arguments)) {}

Session::~Session() {
  for (auto& [cookie, link] : links_)
    link->Disconnect();
  if (engine_ != nullptr) engine_->Close();
}

void Session::Run(const std::vector<std::wstring>& preludes) {
  engine_ = ScriptEngine::Make(script_, [this](const ScriptFailure& failure) { Report(failure); });
  engine_->AddObject(L"Host", MakeHost().Get());
  engine_->AddObject(L"WScript", MakeWScript().Get());
  for (const std::wstring& prelude : preludes)
    engine_->Run(prelude);
  if (errors_ == 0) engine_->Run(script_);

  auto links = std::move(links_);
  links_.clear();
  for (auto& [cookie, link] : links)
    link->Disconnect();
  links.clear();
  engine_->Close();
  engine_.Reset();
}

int Session::ExitCode() const {
  return errors_ + failures_ > 0 ? 1 : quitCode_;
}

void Session::Report(const ScriptFailure& failure) {
  if (quit_) return;  // the failure is the one that ends the script
  ++errors_;
  PrintLine(failure.Text());
}

void Session::Echo(const Arguments& arguments) {
  std::wstring line;
  for (std::size_t index = 0; index < arguments.Size(); ++index) {
    if (index > 0) line += L' ';
    line += TextAt(arguments, index);
  }
  PrintLine(line);
  lastLine_ = line;
}

void Session::CallArguments(const Arguments& arguments, VARIANT& result) const {
  const auto item = [values = arguments_](const Arguments& call, VARIANT& answer) {
    const long index = NumberOf(call.At(0), L"the index of the argument");
    if (index < 0 || static_cast<std::size_t>(index) >= values.size())
      throw HostError(DISP_E_BADINDEX, L"there is no argument " + std::to_wstring(index));
    PutText(answer, values[static_cast<std::size_t>(index)]);
  };
  if (arguments.Size() > 0) return item(arguments, result);
  const auto count = [size = static_cast<long>(arguments_.size())](const Arguments&, VARIANT& answer) {
    PutNumber(answer, size);
  };
  ComPtr<NamedDispatch> list;
  list.Attach(new NamedDispatch(L"Arguments"));
  list->Add(L"Item", item);
  list->Add(L"Count", count);
  list->Add(L"length", count);
  PutObject(result, list);
}

long Session::Advise(IDispatch* source, IDispatch* target, std::wstring prefix) {
  links_[++lastCookie_] = EventLink::Connect(source, target, std::move(prefix));
  return lastCookie_;
}

void Session::Unadvise(IDispatch* source, long cookie) {
  const auto found = links_.find(cookie);
  if (found == links_.end() || !found->second->IsOf(source))
    throw HostError(E_INVALIDARG, L"the object has no connection with the number " + std::to_wstring(cookie));
  const ComPtr<EventLink> link = found->second;
  links_.erase(found);
  link->Disconnect();
}

void Session::DisconnectAll(IDispatch* source) {
  std::vector<ComPtr<EventLink>> links;
  std::erase_if(links_, [&](const auto& entry) {
    if (!entry.second->IsOf(source)) return false;
    links.push_back(entry.second);
    return true;
  });
  for (const auto& link : links)
    link->Disconnect();
}

void Session::CreateObject(const Arguments& arguments, VARIANT& result) {
  const std::wstring name = TextAt(arguments, 0);
  CLSID id{};
  Require(CLSIDFromProgID(name.c_str(), &id), L"no class is registered under the identifier '" + name + L"'");
  ComPtr<IDispatch> object;
  Require(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IDispatch),
                           reinterpret_cast<void**>(object.GetAddressOf())),
          L"the object '" + name + L"' cannot be made");
  if (arguments.Size() > 1) Advise(object.Get(), engine_->Globals().Get(), TextAt(arguments, 1));
  result.vt = VT_DISPATCH;
  result.pdispVal = object.Detach();
}

void Session::AddCommon(NamedDispatch& object) {
  object.Add(L"Echo", [this](const Arguments& arguments, VARIANT&) { Echo(arguments); });
  object.Add(L"Sleep", [](const Arguments& arguments, VARIANT&) {
    PumpFor(std::chrono::milliseconds(std::max(0L, NumberOf(arguments.At(0), L"the time"))));
  });
  object.Add(L"Arguments",
             [this](const Arguments& arguments, VARIANT& result) { CallArguments(arguments, result); });
}

ComPtr<NamedDispatch> Session::MakeHost() {
  ComPtr<NamedDispatch> host;
  host.Attach(new NamedDispatch(L"Host"));
  AddCommon(*host.Get());
  host->Add(L"Pump", [](const Arguments&, VARIANT&) { PumpPending(); });
  host->Add(L"Ticks", [](const Arguments&, VARIANT& result) {
    result.vt = VT_R8;
    result.dblVal = static_cast<double>(GetTickCount64());
  });
  host->Add(L"Advise", [this](const Arguments& arguments, VARIANT& result) {
    PutNumber(result, Advise(arguments.ObjectAt(0, L"the source"), arguments.ObjectAt(1, L"the sink"), L""));
  });
  host->Add(L"Unadvise", [this](const Arguments& arguments, VARIANT&) {
    Unadvise(arguments.ObjectAt(0, L"the source"), NumberOf(arguments.At(1), L"the number of the connection"));
  });
  host->Add(L"Fail", [this](const Arguments& arguments, VARIANT&) {
    ++failures_;
    PrintLine(L"FAILED: " + TextAt(arguments, 0));
  });
  host->Add(L"Typed", [](const Arguments& arguments, VARIANT& result) {
    Convert(arguments.At(1), static_cast<VARTYPE>(NumberOf(arguments.At(0), L"the type")), result);
  });
  host->Add(L"TypedArray", MakeArray);
  host->Add(L"TakeErrors",
            [this](const Arguments&, VARIANT& result) { PutNumber(result, std::exchange(errors_, 0)); });
  return host;
}

ComPtr<NamedDispatch> Session::MakeWScript() {
  ComPtr<NamedDispatch> host;
  host.Attach(new NamedDispatch(L"WScript"));
  AddCommon(*host.Get());
  host->Add(L"CreateObject",
            [this](const Arguments& arguments, VARIANT& result) { CreateObject(arguments, result); });
  host->Add(L"ConnectObject", [this](const Arguments& arguments, VARIANT&) {
    Advise(arguments.ObjectAt(0, L"the source"), engine_->Globals().Get(), TextAt(arguments, 1));
  });
  host->Add(L"DisconnectObject", [this](const Arguments& arguments, VARIANT&) {
    DisconnectAll(arguments.ObjectAt(0, L"the source"));
  });
  host->Add(L"ScriptFullName", [this](const Arguments&, VARIANT& result) { PutText(result, script_); });
  host->Add(L"ScriptName", [this](const Arguments&, VARIANT& result) {
    PutText(result, std::filesystem::path(script_).filename().wstring());
  });
  host->Add(L"Quit", [this](const Arguments& arguments, VARIANT&) {
    quit_ = true;
    quitCode_ = arguments.Size() > 0 ? static_cast<int>(NumberOf(arguments.At(0), L"the exit code")) : 0;
    throw HostError(E_ABORT, L"the script ends");
  });
  return host;
}

}  // namespace orvo::testing
