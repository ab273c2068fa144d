#include "RegistryDump.h"

#include "Library.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <utility>
#include <vector>

namespace orvo::testing {

namespace {

constexpr DWORD LongestName = 1024;

void NoteLibrary(const std::wstring& file, std::set<std::wstring>& ids) {
  com::ComPtr<ITypeLib> library;
  if (FAILED(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library.Put()))) return;
  TLIBATTR* attributes = nullptr;
  library->GetLibAttr(&attributes);
  ids.insert(IdText(attributes->guid));
  library->ReleaseTLibAttr(attributes);
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    com::ComPtr<ITypeInfo> type;
    TYPEATTR* description = nullptr;
    library->GetTypeInfo(i, type.Put());
    type->GetTypeAttr(&description);
    ids.insert(IdText(description->guid));
    type->ReleaseTypeAttr(description);
  }
}

std::set<std::wstring> OwnIds() {
  std::set<std::wstring> ids{IdText(PanelClass())};
  NoteLibrary(ServerLibrary(), ids);
  NoteLibrary(PanelLibrary(), ids);
  return ids;
}

// Identifiers of the two type libraries and of what they describe, and of the panel's class.
bool IsOwnId(const std::wstring& id) {
  static const std::set<std::wstring> own = OwnIds();
  return own.contains(id);
}

std::wstring Shown(DWORD type, const std::vector<wchar_t>& data, DWORD bytes) {
  const std::size_t length = bytes / sizeof(wchar_t);
  if ((type == REG_SZ || type == REG_EXPAND_SZ) && length > 0) {
    const std::wstring text(data.data(), length);
    return text.substr(0, text.find(L'\0'));
  }
  return L"type " + std::to_wstring(type) + L", " + std::to_wstring(bytes) + L" bytes";
}

// Calls visit(name) for each key below.
template <class Visit>
void VisitKeys(HKEY key, Visit&& visit) {
  std::vector<wchar_t> text(LongestName);
  for (DWORD i = 0;; ++i) {
    DWORD length = LongestName;
    if (RegEnumKeyExW(key, i, text.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
      return;
    visit(std::wstring(text.data(), length));
  }
}

// A key that is open while this object lives.
class OpenKey {
 public:
  OpenKey(HKEY parent, const std::wstring& name) {
    if (RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ, &key_) != ERROR_SUCCESS) key_ = nullptr;
  }
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;
  ~OpenKey() {
    if (key_ != nullptr) RegCloseKey(key_);
  }
  HKEY Get() const noexcept { return key_; }

 private:
  HKEY key_ = nullptr;
};

void DumpValues(HKEY key, const std::wstring& name, RegistryLines& lines) {
  std::vector<wchar_t> text(LongestName);
  std::vector<wchar_t> data(1U << 14);
  for (DWORD i = 0;; ++i) {
    DWORD length = LongestName;
    DWORD type = 0;
    auto bytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
    const LSTATUS found = RegEnumValueW(key, i, text.data(), &length, nullptr, &type,
                                        reinterpret_cast<BYTE*>(data.data()), &bytes);
    if (found != ERROR_SUCCESS) return;
    lines.insert(name + L" : " + std::wstring(text.data(), length) + L"=" + Shown(type, data, bytes));
  }
}

void DumpKey(HKEY key, const std::wstring& name, RegistryLines& lines) {
  lines.insert(name);
  DumpValues(key, name, lines);
  VisitKeys(key, [&](const std::wstring& child) {
    const OpenKey opened(key, child);
    if (opened.Get() != nullptr) DumpKey(opened.Get(), name + L"\\" + child, lines);
  });
}

bool IsFolder(const std::wstring& name) {
  return name == L"CLSID" || name == L"Interface" || name == L"TypeLib";
}

// The content of what may be this system's, the names of all else.
void DumpNames(HKEY classes, const std::wstring& root, RegistryLines& lines) {
  lines.insert(root);
  VisitKeys(classes, [&](const std::wstring& name) {
    // Systems spell it in two ways.
    const std::wstring shown = _wcsicmp(name.c_str(), L"typelib") == 0 ? L"TypeLib" : name;
    const bool isFolder = IsFolder(shown);
    const bool isOwn = shown.starts_with(L"ORVO") || shown.starts_with(L"SimulatedPanel");
    lines.insert(root + L"\\" + shown);
    if (!isFolder && !isOwn) return;
    const OpenKey opened(classes, name);
    if (isOwn) {
      DumpKey(opened.Get(), root + L"\\" + shown, lines);
      return;
    }
    VisitKeys(opened.Get(), [&](const std::wstring& id) {
      const std::wstring path = root + L"\\" + shown + L"\\" + id;
      lines.insert(path);
      if (!IsOwnId(id)) return;
      const OpenKey own(opened.Get(), id);
      if (own.Get() != nullptr) DumpKey(own.Get(), path, lines);
    });
  });
}

RegistryLines Dump(bool whole) {
  RegistryLines lines;
  for (const auto& [root, name] :
       {std::pair{HKEY_LOCAL_MACHINE, L"HKLM"}, std::pair{HKEY_CURRENT_USER, L"HKCU"}}) {
    const OpenKey classes(root, L"Software\\Classes");
    if (classes.Get() == nullptr) continue;
    if (whole)
      DumpKey(classes.Get(), name, lines);
    else
      DumpNames(classes.Get(), name, lines);
  }
  return lines;
}

}  // namespace

RegistryLines DumpClasses() {
  return Dump(false);
}

RegistryLines DumpAllClasses() {
  return Dump(true);
}

std::wstring IdText(REFGUID id) {
  wchar_t text[40];
  StringFromGUID2(id, text, 40);
  return text;
}

RegistryLines Added(const RegistryLines& before, const RegistryLines& after) {
  RegistryLines added;
  std::set_difference(after.begin(), after.end(), before.begin(), before.end(),
                      std::inserter(added, added.end()));
  return added;
}

std::string Printed(const RegistryLines& lines) {
  std::string text;
  for (const std::wstring& line : lines) {
    text += "  ";
    for (const wchar_t each : line)
      text += each < 128 ? static_cast<char>(each) : char{0x3F};
    text += "\n";
  }
  return text;
}

}  // namespace orvo::testing
