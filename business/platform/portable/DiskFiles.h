// Files of the disk.
#pragma once

#include "platform/Files.h"

#include <cstdint>
#include <memory>
#include <string>

namespace orvo {

class DiskFiles final : public Files {
 public:
  // The length that an automation text or byte array can have.
  static constexpr std::uintmax_t DefaultLimit = 0x7FFFFFFF;

  // A file longer than `limit` bytes is too large.
  explicit DiskFiles(std::uintmax_t limit = DefaultLimit) noexcept : limit_(limit) {}

  // A relative path counts from the current folder. Only regular files, and links to them, can be read: error
  // 75 for everything else, because opening a pipe or a device may block. The path is quoted in errors as it
  // was given.
  std::string ReadWhole(const std::string& fileName) override;
  std::string Resolve(const std::string& fileName) override;
  // A link is followed. Only regular files and character devices can be written: error 75 for everything else.
  std::unique_ptr<Output> Create(const std::string& fileName) override;
  // `from` is a regular file, closed; a link `to` is followed, so the file that it leads to is replaced
  // (Windows: the link itself is). That one must be a regular file (else 75) into which the process may write
  // (else 70); the new one takes over its permissions, and its owner where the process may give files away.
  // Both names must lie on one volume (else 75).
  void Rename(const std::string& from, const std::string& to) override;
  // A folder stays, and of a link only the link goes.
  void Remove(const std::string& fileName) noexcept override;

 private:
  const std::uintmax_t limit_;
};

}  // namespace orvo
