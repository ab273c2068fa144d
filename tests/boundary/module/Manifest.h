// Use without registration: the manifests of the libraries, as an application takes them.
#pragma once

#include "Library.h"

namespace orvo::testing {

// A folder with copies of both libraries and their manifests, and the context of an application that names
// both. It is in force on the thread that made it, as long as it lives.
class ManifestContext {
 public:
  ManifestContext();
  ManifestContext(const ManifestContext&) = delete;
  ManifestContext& operator=(const ManifestContext&) = delete;
  ~ManifestContext();

  const Scratch& Files() const noexcept { return files_; }
  HANDLE Handle() const noexcept { return context_; }

 private:
  Scratch files_;
  HANDLE context_ = INVALID_HANDLE_VALUE;
  ULONG_PTR cookie_ = 0;
};

}  // namespace orvo::testing
