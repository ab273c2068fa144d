// A failure of the script host itself: a code and a text that names the thing and what is wrong with it.
#pragma once

#include <ole2.h>

#include <string>
#include <utility>

namespace orvo::testing {

class HostError {
 public:
  HostError(HRESULT code, std::wstring text) : code_(code), text_(std::move(text)) {}

  HRESULT Code() const noexcept { return code_; }
  const std::wstring& Text() const noexcept { return text_; }

 private:
  HRESULT code_;
  std::wstring text_;
};

// Throws HostError(code, text) unless `code` tells success.
inline void Require(HRESULT code, const std::wstring& text) {
  if (FAILED(code)) throw HostError(code, text);
}

}  // namespace orvo::testing
