// Automation strings and the core's texts.
//
// Automation strings are UTF-16 with a length of their own and may hold zero characters; null is the empty
// string. Texts are UTF-8. A half of a surrogate pair that stands alone survives the way into the core and
// back; a byte that is no UTF-8 becomes U+FFFD on its way out.
#pragma once

#include "com/Automation.h"

#include <string>
#include <string_view>

namespace orvo::com {

std::string TextOf(BSTR string);
std::string TextOf(std::wstring_view string);
std::wstring WideOf(std::string_view text);
// A new string that the caller frees. Throws bad_alloc.
BSTR NewBstr(std::string_view text);

// Owns an automation string.
class Bstr {
 public:
  Bstr() noexcept = default;
  explicit Bstr(std::string_view text) : string_(NewBstr(text)) {}
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  ~Bstr() { SysFreeString(string_); }

  BSTR Get() const noexcept { return string_; }
  BSTR* Put() noexcept {
    SysFreeString(string_);
    string_ = nullptr;
    return &string_;
  }
  std::string Text() const { return TextOf(string_); }

 private:
  BSTR string_ = nullptr;
};

}  // namespace orvo::com
