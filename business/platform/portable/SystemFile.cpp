#include "platform/portable/SystemFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>

namespace orvo {

namespace {

namespace fs = std::filesystem;

std::error_code LastError() {
  return {errno, std::generic_category()};
}

std::error_code Outcome(int result) {
  return result == 0 ? std::error_code() : LastError();
}

// Calls again while a signal interrupts.
template <class Call>
auto Uninterrupted(Call&& call) {
  auto result = call();
  while (result == -1 && errno == EINTR)
    result = call();
  return result;
}

// No system takes more in one call than a signed 32-bit count.
constexpr std::size_t WriteLimit = std::size_t{1} << 30;

int OpenNumber(const fs::path& path, int flags) {
  constexpr mode_t BeforeMask = 0666;
  return Uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, BeforeMask); });
}

ssize_t WriteSome(int number, std::string_view bytes) {
  return Uninterrupted([&] { return ::write(number, bytes.data(), bytes.size()); });
}

}  // namespace

SystemFile::~SystemFile() {
  if (number_ >= 0) Close();
}

std::error_code SystemFile::Create(const fs::path& path) {
  number_ = OpenNumber(path, O_WRONLY | O_CREAT | O_TRUNC);
  return Outcome(number_ < 0 ? -1 : 0);
}

std::error_code SystemFile::OpenExisting(const fs::path& path) {
  number_ = OpenNumber(path, O_RDONLY | O_NOFOLLOW);
  return Outcome(number_ < 0 ? -1 : 0);
}

std::error_code SystemFile::Write(std::string_view bytes) const {
  while (!bytes.empty()) {
    const auto count = WriteSome(number_, bytes.substr(0, WriteLimit));
    if (count < 0) return LastError();
    if (count == 0) return std::make_error_code(std::errc::io_error);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

std::error_code SystemFile::OpenFolder(const fs::path& path) {
  number_ = OpenNumber(path, O_RDONLY | O_DIRECTORY);
  return Outcome(number_ < 0 ? -1 : 0);
}

std::error_code SystemFile::Flush() const {
  const std::error_code failure = Outcome(Uninterrupted([this] { return ::fsync(number_); }));
  return failure == std::errc::invalid_argument ? std::error_code() : failure;
}

std::error_code SystemFile::Close() {
  const int number = number_;
  number_ = -1;
  const std::error_code failure = Outcome(::close(number));
  // An interrupted close has closed; calling again could close a file that another thread has just opened.
  return failure == std::errc::interrupted ? std::error_code() : failure;
}

std::error_code SystemFile::TakeRightsOf(const fs::path& model) const {
  struct stat own {};
  struct stat wanted {};
  if (::fstat(number_, &own) != 0 || ::stat(model.c_str(), &wanted) != 0) return LastError();
  // The owner first: giving a file away takes permissions from it. Where that is forbidden the file becomes
  // ours.
  if (own.st_uid != wanted.st_uid || own.st_gid != wanted.st_gid)
    static_cast<void>(::fchown(number_, wanted.st_uid, wanted.st_gid) == 0);
  constexpr mode_t Permissions = 0777;
  return Outcome(::fchmod(number_, wanted.st_mode & Permissions));
}

std::error_code CheckWritable(const fs::path& path) {
  return Outcome(::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS));
}

std::error_code RenameFile(const fs::path& from, const fs::path& to) {
  return Outcome(::rename(from.c_str(), to.c_str()));
}

std::error_code DeleteFileOnly(const fs::path& path) {
  return Outcome(::unlink(path.c_str()));
}

}  // namespace orvo
