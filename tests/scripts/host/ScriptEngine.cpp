#include "ScriptEngine.h"

#include "HostError.h"
#include "Value.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace orvo::testing {

using Microsoft::WRL::ComPtr;

namespace {

constexpr CLSID VBScriptClass = {0xb54f3741, 0x5b07, 0x11cf, {0xa4, 0xb0, 0x00, 0xaa, 0x00, 0x4a, 0x55, 0xe8}};
constexpr CLSID JScriptClass = {0xf414c260, 0x6ac0, 0x11cf, {0xb6, 0xd1, 0x00, 0xaa, 0x00, 0xbb, 0xbb, 0x58}};

CLSID LanguageOf(const std::wstring& file) {
  const std::wstring ending = std::filesystem::path(file).extension().wstring();
  if (lstrcmpiW(ending.c_str(), L".vbs") == 0) return VBScriptClass;
  if (lstrcmpiW(ending.c_str(), L".js") == 0) return JScriptClass;
  throw HostError(E_INVALIDARG, L"'" + file + L"' ends neither in .vbs nor in .js");
}

std::wstring ContentOf(const std::wstring& file) {
  std::ifstream stream(std::filesystem::path(file), std::ios::binary);
  if (!stream) throw HostError(STG_E_FILENOTFOUND, L"'" + file + L"' cannot be read");
  const std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  return Wide(bytes);
}

}  // namespace

std::wstring ScriptFailure::Text() const {
  wchar_t code[64];
  std::swprintf(code, std::size(code), L"0x%08lX (%ld)", static_cast<unsigned long>(number),
                static_cast<long>(number));
  return file + L"(" + std::to_wstring(line) + L"): error " + code + L" [" + source + L"] " + description;
}

ScriptEngine::ScriptEngine(std::function<void(const ScriptFailure&)> report) : report_(std::move(report)) {}

ComPtr<ScriptEngine> ScriptEngine::Make(const std::wstring& file,
                                        std::function<void(const ScriptFailure&)> report) {
  ComPtr<ScriptEngine> site;
  site.Attach(new ScriptEngine(std::move(report)));
  Require(CoCreateInstance(LanguageOf(file), nullptr, CLSCTX_INPROC_SERVER, __uuidof(IActiveScript),
                           reinterpret_cast<void**>(site->engine_.GetAddressOf())),
          L"the script engine for '" + file + L"' cannot be made");
  Require(site->engine_.As(&site->parser_), L"the script engine takes no text");
  Require(site->engine_->SetScriptSite(site.Get()), L"the script engine refuses its site");
  Require(site->parser_->InitNew(), L"the script engine cannot be initialized");
  return site;
}

void ScriptEngine::AddObject(const std::wstring& name, IDispatch* object) {
  objects_[name] = object;
  Require(engine_->AddNamedItem(name.c_str(), SCRIPTITEM_ISVISIBLE), L"the script engine refuses " + name);
}

void ScriptEngine::Run(const std::wstring& file) {
  const std::wstring text = ContentOf(file);
  if (files_.empty())
    Require(engine_->SetScriptState(SCRIPTSTATE_CONNECTED), L"the script engine does not start");
  files_.push_back(file);
  // The failure of the script itself comes by OnScriptError as well.
  parser_->ParseScriptText(text.c_str(), nullptr, nullptr, nullptr, files_.size() - 1, 0, SCRIPTTEXT_ISVISIBLE,
                           nullptr, nullptr);
}

ComPtr<IDispatch> ScriptEngine::Globals() {
  ComPtr<IDispatch> globals;
  Require(engine_->GetScriptDispatch(nullptr, &globals), L"the script engine does not hand out its functions");
  return globals;
}

void ScriptEngine::Close() {
  parser_.Reset();
  if (engine_ != nullptr) engine_->Close();
  engine_.Reset();
  objects_.clear();
}

HRESULT STDMETHODCALLTYPE ScriptEngine::GetLCID(LCID* locale) {
  if (locale == nullptr) return E_POINTER;
  *locale = MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT);
  return S_OK;
}

HRESULT STDMETHODCALLTYPE ScriptEngine::GetItemInfo(LPCOLESTR name, DWORD mask, IUnknown** item,
                                                    ITypeInfo** info) {
  if (item != nullptr) *item = nullptr;
  if (info != nullptr) *info = nullptr;
  const auto object = objects_.find(name);
  if (object == objects_.end()) return TYPE_E_ELEMENTNOTFOUND;
  if ((mask & SCRIPTINFO_IUNKNOWN) != 0 && item != nullptr) {
    *item = object->second.Get();
    (*item)->AddRef();
  }
  return S_OK;
}

HRESULT STDMETHODCALLTYPE ScriptEngine::GetDocVersionString(BSTR* version) {
  if (version != nullptr) *version = nullptr;
  return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE ScriptEngine::OnScriptTerminate(const VARIANT* /*result*/,
                                                          const EXCEPINFO* /*failure*/) {
  return S_OK;
}

HRESULT STDMETHODCALLTYPE ScriptEngine::OnStateChange(SCRIPTSTATE /*state*/) {
  return S_OK;
}

HRESULT STDMETHODCALLTYPE ScriptEngine::OnScriptError(IActiveScriptError* error) {
  if (error == nullptr) return E_POINTER;
  ScriptFailure failure;
  EXCEPINFO info{};
  if (SUCCEEDED(error->GetExceptionInfo(&info))) {
    if (info.pfnDeferredFillIn != nullptr) info.pfnDeferredFillIn(&info);
    failure.number = info.scode != 0 ? info.scode : static_cast<HRESULT>(info.wCode);
    failure.source = TextOf(info.bstrSource);
    failure.description = TextOf(info.bstrDescription);
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
  }
  std::size_t file = 0;
  DWORD context = 0;
  ULONG line = 0;
  LONG column = 0;
  if (SUCCEEDED(error->GetSourcePosition(&context, &line, &column))) {
    file = context;
    failure.line = line + 1;
  }
  if (file >= files_.size()) file = files_.size() - 1;
  failure.file = std::filesystem::path(files_[file]).filename().wstring();
  report_(failure);
  return S_OK;
}

HRESULT STDMETHODCALLTYPE ScriptEngine::OnEnterScript() {
  return S_OK;
}

HRESULT STDMETHODCALLTYPE ScriptEngine::OnLeaveScript() {
  return S_OK;
}

}  // namespace orvo::testing
