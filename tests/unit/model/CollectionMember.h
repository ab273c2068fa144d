// A member for the collections' own tests.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvo::testing {

class CollectionMember {
 public:
  explicit CollectionMember(std::string name, std::int32_t handle = 0)
      : name_(std::move(name)), handle_(handle) {}
  const std::string& Name() const noexcept { return name_; }
  std::int32_t Handle() const noexcept { return handle_; }

 private:
  const std::string name_;
  const std::int32_t handle_;
};

inline std::shared_ptr<CollectionMember> MemberNamed(std::string name, std::int32_t handle = 0) {
  return std::make_shared<CollectionMember>(std::move(name), handle);
}

// The names in the order of a walk.
template <class List>
std::vector<std::string> NamesOf(const List& list) {
  std::vector<std::string> names;
  list.Walk([&](const CollectionMember& member) {
    names.push_back(member.Name());
    return false;
  });
  return names;
}

}  // namespace orvo::testing
