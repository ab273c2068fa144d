// Libraries that exist only in a table: folders, files, and the facts that each gives.
#pragma once

#include "errors/AutomationError.h"
#include "platform/LibraryLoader.h"
#include "spooler/DriverLibrary.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo::testing {

class FakeLibraries final : public LibraryLoader {
 public:
  // The facts of a driver that agrees with this program.
  static DriverLibraryFacts Facts(const char* progId, const char* description = "a driver of a test");

  // A file of which the exported function returns `facts`; they are copied.
  void Put(const std::string& path, const DriverLibraryFacts& facts);
  // A file of which it returns null.
  void PutWithoutFacts(const std::string& path);
  // A file of which it calls `failure`, which throws.
  void PutThrowing(const std::string& path, std::function<void()> failure);
  // A file that exports nothing.
  void PutWithoutFunction(const std::string& path);
  // A file that cannot be loaded.
  void PutBroken(const std::string& path, std::string reason);

  std::vector<std::string> loaded;  // the paths, in the order of the calls

  std::string Ending() const override { return ".so"; }
  std::vector<std::string> LibrariesIn(const std::string& folder) const override;
  const Library& Load(const std::string& path) override;

 private:
  class FakeLibrary;
  std::map<std::string, std::shared_ptr<FakeLibrary>> files_;  // by path
};

}  // namespace orvo::testing
