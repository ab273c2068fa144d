// Libraries of the dynamic linker. Not for Windows, where drivers are COM classes.
#pragma once

#include "platform/LibraryLoader.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orvo {

class SystemLibraries final : public LibraryLoader {
 public:
  std::string Ending() const override { return ".so"; }
  // Files and links to files; no folders, pipes or links that lead nowhere.
  std::vector<std::string> LibrariesIn(const std::string& folder) const override;
  // Every symbol is bound at once, so that a library that lacks something fails here and not in a call. Its own
  // symbols are not offered to other libraries: each has its own copy of what it is linked with.
  const Library& Load(const std::string& path) override;

  // The folder `relative` as seen from the folder that the running program lies in, so that an installation can
  // be moved as a whole; empty when the system does not tell where that is.
  static std::string NextToProgram(const std::string& relative);

 private:
  std::map<std::string, std::unique_ptr<const Library>> loaded_;  // by path
};

}  // namespace orvo
