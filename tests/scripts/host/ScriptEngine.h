// A script engine (VBScript or JScript) and its site: runs files one after the other in one name space, and
// reports each error of the script, of its handlers too.
#pragma once

#include "Counted.h"

#include <activscp.h>
#include <wrl/client.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace orvo::testing {

// An error that no statement of the script caught.
struct ScriptFailure {
  std::wstring file;
  unsigned long line = 0;  // from 1
  HRESULT number = 0;
  std::wstring source;
  std::wstring description;

  // One line for the console.
  std::wstring Text() const;
};

class ScriptEngine : public Counted<IActiveScriptSite> {
 public:
  // The language follows from the ending of the name, .vbs or .js; throws HostError for any other and when the
  // engine cannot be made.
  static Microsoft::WRL::ComPtr<ScriptEngine> Make(const std::wstring& file,
                                                   std::function<void(const ScriptFailure&)> report);

  // An object that scripts know by `name`. Before the first Run.
  void AddObject(const std::wstring& name, IDispatch* object);
  // Runs the file's statements. An error of the script was reported before this returns.
  void Run(const std::wstring& file);
  // The functions and variables of the scripts.
  Microsoft::WRL::ComPtr<IDispatch> Globals();
  // Lets go of everything that the scripts hold.
  void Close();

  HRESULT STDMETHODCALLTYPE GetLCID(LCID* locale) override;
  HRESULT STDMETHODCALLTYPE GetItemInfo(LPCOLESTR name, DWORD mask, IUnknown** item, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetDocVersionString(BSTR* version) override;
  HRESULT STDMETHODCALLTYPE OnScriptTerminate(const VARIANT* result, const EXCEPINFO* failure) override;
  HRESULT STDMETHODCALLTYPE OnStateChange(SCRIPTSTATE state) override;
  HRESULT STDMETHODCALLTYPE OnScriptError(IActiveScriptError* error) override;
  HRESULT STDMETHODCALLTYPE OnEnterScript() override;
  HRESULT STDMETHODCALLTYPE OnLeaveScript() override;

 private:
  explicit ScriptEngine(std::function<void(const ScriptFailure&)> report);

  std::function<void(const ScriptFailure&)> report_;
  Microsoft::WRL::ComPtr<IActiveScript> engine_;
  Microsoft::WRL::ComPtr<IActiveScriptParse> parser_;
  std::map<std::wstring, Microsoft::WRL::ComPtr<IDispatch>> objects_;
  std::vector<std::wstring> files_;
};

}  // namespace orvo::testing
