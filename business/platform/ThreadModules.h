// State of which there is one per thread: each module keeps its own under its type.
#pragma once

#include <memory>
#include <typeindex>
#include <unordered_map>

namespace orvo {

class ThreadPlatform;

class ThreadModules {
 public:
  // The thread's `Module`, made with the platform at the first call. It lives until the platform ends and does
  // not use the platform in its destructor.
  template <class Module>
  Module& Get(ThreadPlatform& platform) {
    std::shared_ptr<void>& slot = modules_[std::type_index(typeid(Module))];
    if (!slot) slot = std::make_shared<Module>(platform);
    return *static_cast<Module*>(slot.get());
  }

 private:
  std::unordered_map<std::type_index, std::shared_ptr<void>> modules_;
};

}  // namespace orvo
