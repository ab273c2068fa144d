// The enumerator of a collection: its objects as variants, in the order and number of the moment it was asked
// for.
#pragma once

#include "com/Automation.h"
#include "com/Enumerator.h"
#include "com/FacadeIdentity.h"

#include <memory>
#include <vector>

namespace orvo::com {

struct CollectionRules {
  using Interface = IEnumVARIANT;
  using Item = std::shared_ptr<AutomationObject>;
  using Element = VARIANT;
  static constexpr const char* Source = "ORVOBusiness.Enumerator";
  static void Copy(const Item& item, Element* element) {
    V_DISPATCH(element) = FacadeOfAny(item).Query<IDispatch>().Detach();
    V_VT(element) = VT_DISPATCH;
  }
  static void Free(Element* element) { VariantClear(element); }
};

template <class Core>
ComPtr<IUnknown> EnumeratorOver(const std::vector<std::shared_ptr<Core>>& objects) {
  return Enumerator<CollectionRules>::New({objects.begin(), objects.end()}).template Query<IUnknown>();
}

}  // namespace orvo::com
