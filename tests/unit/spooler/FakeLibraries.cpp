#include "FakeLibraries.h"

#include <cstddef>
#include <utility>

namespace orvo::testing {

namespace {

// An exported function has no argument, so it learns from here whose facts are asked for: Find sets it, and the
// host calls what it found at once.
const DriverLibraryFacts* current = nullptr;

std::function<void()> currentThrow;

const DriverLibraryFacts* CurrentFacts() {
  if (currentThrow) currentThrow();
  return current;
}

}  // namespace

class FakeLibraries::FakeLibrary final : public LibraryLoader::Library {
 public:
  std::optional<DriverLibraryFacts> facts;
  bool exports = true;
  std::string failure;
  std::function<void()> throws;

  LibraryLoader::Function Find(const std::string& function) const override {
    if (!exports || function != "orvo_driver_library") return nullptr;
    current = facts ? &*facts : nullptr;
    currentThrow = throws;
    return reinterpret_cast<LibraryLoader::Function>(&CurrentFacts);
  }
};

DriverLibraryFacts FakeLibraries::Facts(const char* progId, const char* description) {
  return {DriverLibraryFacts::Magic,
          sizeof(DriverLibraryFacts),
          DriverContractVersion,
          DriverBuildText,
          progId,
          description,
          [](DriverHost) -> std::shared_ptr<CommunicationDriver> { return nullptr; }};
}

void FakeLibraries::Put(const std::string& path, const DriverLibraryFacts& facts) {
  PutWithoutFacts(path);
  files_.at(path)->facts = facts;
}

void FakeLibraries::PutWithoutFacts(const std::string& path) {
  files_.insert_or_assign(path, std::make_shared<FakeLibrary>());
}

void FakeLibraries::PutThrowing(const std::string& path, std::function<void()> failure) {
  PutWithoutFacts(path);
  files_.at(path)->throws = std::move(failure);
}

void FakeLibraries::PutWithoutFunction(const std::string& path) {
  PutWithoutFacts(path);
  files_.at(path)->exports = false;
}

void FakeLibraries::PutBroken(const std::string& path, std::string reason) {
  PutWithoutFacts(path);
  files_.at(path)->failure = std::move(reason);
}

std::vector<std::string> FakeLibraries::LibrariesIn(const std::string& folder) const {
  std::vector<std::string> names;
  for (const auto& [path, library] : files_) {
    const std::size_t slash = path.rfind('/');
    if (path.substr(0, slash) == folder) names.push_back(path.substr(slash + 1));
  }
  return names;
}

const LibraryLoader::Library& FakeLibraries::Load(const std::string& path) {
  loaded.push_back(path);
  const FakeLibrary& library = *files_.at(path);
  if (!library.failure.empty()) RaiseRuntimeError(RuntimeError::CannotCreateObject, library.failure);
  return library;
}

}  // namespace orvo::testing
