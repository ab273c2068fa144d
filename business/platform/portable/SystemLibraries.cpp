#include "platform/portable/SystemLibraries.h"

#include "errors/AutomationError.h"

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace orvo {

namespace {

namespace fs = std::filesystem;

class LinkedLibrary final : public LibraryLoader::Library {
 public:
  explicit LinkedLibrary(void* handle) noexcept : handle_(handle) {}
  LibraryLoader::Function Find(const std::string& function) const override {
    return reinterpret_cast<LibraryLoader::Function>(::dlsym(handle_, function.c_str()));
  }

 private:
  void* const handle_;  // never closed
};

std::string LastReason() {
  const char* const text = ::dlerror();  // NOLINT(concurrency-mt-unsafe): the text is kept per thread
  return text == nullptr ? "the dynamic linker gives no reason" : text;
}

}  // namespace

std::vector<std::string> SystemLibraries::LibrariesIn(const std::string& folder) const {
  std::vector<std::string> names;
  std::error_code failure;
  for (fs::directory_iterator file(folder, failure), end; !failure && file != end; file.increment(failure)) {
    std::string name = file->path().filename().string();
    if (name.size() <= Ending().size() || !name.ends_with(Ending())) continue;
    // Opening a pipe would wait for somebody who writes into it.
    std::error_code unknown;
    if (file->is_regular_file(unknown)) names.push_back(std::move(name));
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string SystemLibraries::NextToProgram(const std::string& relative) {
  std::error_code failure;
  const fs::path program = fs::read_symlink("/proc/self/exe", failure);
  return failure ? "" : (program.parent_path() / relative).lexically_normal().string();
}

const LibraryLoader::Library& SystemLibraries::Load(const std::string& path) {
  if (const auto found = loaded_.find(path); found != loaded_.end()) return *found->second;
  // Without a slash the name would be looked for in the system's own folders.
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  void* const handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr)
    RaiseRuntimeError(RuntimeError::CannotCreateObject,
                      "the library '" + path + "' cannot be loaded: " + LastReason());
  return *loaded_.emplace(path, std::make_unique<LinkedLibrary>(handle)).first->second;
}

}  // namespace orvo
