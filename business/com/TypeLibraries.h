// The type libraries inside this module, and the interfaces that were asked for so far. One object per thread.
#pragma once

#include "com/InterfaceInfo.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orvo::com {

// Path of the file that this code was loaded from.
std::wstring ModulePath();

class TypeLibraries {
 public:
  // Loads the libraries with the resource numbers 1, 2, ... of the module.
  TypeLibraries();

  // Error TYPE_E_ELEMENTNOTFOUND for an interface that no library describes.
  const InterfaceInfo& Interface(REFIID id);
  // Type information of any described type, for example a class.
  ComPtr<ITypeInfo> Type(REFGUID id) const;

 private:
  struct Less {
    bool operator()(const GUID& a, const GUID& b) const noexcept;
  };
  std::vector<ComPtr<ITypeLib>> libraries_;
  std::map<GUID, std::unique_ptr<InterfaceInfo>, Less> interfaces_;
};

}  // namespace orvo::com
