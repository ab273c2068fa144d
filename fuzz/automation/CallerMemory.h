// What a caller of a call by name owns, and how its values read.
#pragma once

#include "automation/AutomationDouble.h"
#include "values/Variant.h"

#include <deque>
#include <vector>

namespace orvo::fuzz {

// Everything that a caller owns, behind pointers that stay where they are.
class CallerMemory {
 public:
  CallerMemory() = default;
  CallerMemory(const CallerMemory&) = delete;
  CallerMemory& operator=(const CallerMemory&) = delete;
  ~CallerMemory() {
    for (VARIANT& variable : variables_)
      VariantClear(&variable);
    for (Cell& cell : cells_)
      VariantClear(&cell.value);
    for (ScriptArrayDouble* object : objects_)
      object->Release();
  }

  VARIANT& Variable(const VARIANT& content) { return variables_.emplace_back(content); }
  // A typed variable that holds `content`; the pointer to it is a reference of its type.
  void* Typed(const VARIANT& content) {
    Cell& cell = cells_.emplace_back();
    cell.value = content;
    return V_VT(&content) == VT_DECIMAL ? static_cast<void*>(&V_DECIMAL(&cell.value))
                                        : static_cast<void*>(&V_I8(&cell.value));
  }
  ScriptArrayDouble& Script(std::vector<VARIANT>& elements, bool isExtended) {
    objects_.push_back(new ScriptArrayDouble(elements, isExtended));
    return *objects_.back();
  }

 private:
  struct Cell {
    VARIANT value;
  };
  std::deque<VARIANT> variables_;
  std::deque<Cell> cells_;
  std::vector<ScriptArrayDouble*> objects_;
};

// The value as a caller makes it; the caller frees it.
VARIANT Fresh(const Variant& value);
// A value as the core has it: references followed, script arrays as arrays of values. Fails as the core does.
Variant Read(const VARIANT& value);
// The same, but what cannot be read is a text that says so.
Variant ReadOrWhy(const VARIANT& value);
bool IsMissing(const VARIANT& value);
// Kind and content, arrays element by element; not a number is the same as itself here.
bool IsSame(const Variant& a, const Variant& b);
// The elements alone, whatever the bounds and the kind of the arrays.
bool HasSameElements(const Variant& a, const Variant& b);

}  // namespace orvo::fuzz
