// The part of the registry that registration touches, as text: one line per key and per value.
#pragma once

#include "com/Automation.h"

#include <set>
#include <string>

namespace orvo::testing {

using RegistryLines = std::set<std::wstring>;

// What is under Software\Classes of the machine ("HKLM\CLSID\{...}") and of the user ("HKCU\CLSID\{...}"): the
// names of all classes, interfaces, type libraries and programmatic identifiers, and the whole content of those
// of this system. A value is written behind its key: "HKLM\CLSID\{...} : ThreadingModel=Apartment"; the default
// value has no name.
RegistryLines DumpClasses();
// The same with the whole content of everything, which takes seconds.
RegistryLines DumpAllClasses();

// As the registry writes it: "{...}".
std::wstring IdText(REFGUID id);

// What is in `after` and not in `before`.
RegistryLines Added(const RegistryLines& before, const RegistryLines& after);

// For the messages of a failing test.
std::string Printed(const RegistryLines& lines);

}  // namespace orvo::testing
