// Files of Windows.
#include "platform/portable/SystemFile.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace orvo {

namespace {

namespace fs = std::filesystem;

std::error_code LastError() {
  return {errno, std::generic_category()};
}

std::error_code Outcome(int result) {
  return result == 0 ? std::error_code() : LastError();
}

// The system's own number as one of those that the library of C gives to the other functions here.
std::error_code FromSystem(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_INVALID_DRIVE:
    case ERROR_DIRECTORY:
      return std::make_error_code(std::errc::no_such_file_or_directory);
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
    case ERROR_CURRENT_DIRECTORY:
    case ERROR_NETWORK_ACCESS_DENIED:
      return std::make_error_code(std::errc::permission_denied);
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return std::make_error_code(std::errc::no_space_on_device);
    default:
      return std::make_error_code(std::errc::io_error);
  }
}

// The library of C takes signed 32-bit counts.
constexpr std::size_t WriteLimit = std::size_t{1} << 30;

}  // namespace

SystemFile::~SystemFile() {
  if (number_ >= 0) Close();
}

std::error_code SystemFile::Create(const fs::path& path) {
  number_ =
      ::_wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
  return Outcome(number_ < 0 ? -1 : 0);
}

std::error_code SystemFile::OpenExisting(const fs::path& path) {
  // Flushing needs the right to write.
  number_ = ::_wopen(path.c_str(), _O_RDWR | _O_BINARY | _O_NOINHERIT);
  return Outcome(number_ < 0 ? -1 : 0);
}

// A program cannot flush folders here.
std::error_code SystemFile::OpenFolder(const fs::path& /*path*/) {
  return {};
}

std::error_code SystemFile::Write(std::string_view bytes) const {
  while (!bytes.empty()) {
    const auto size = static_cast<unsigned>(std::min(bytes.size(), WriteLimit));
    const int count = ::_write(number_, bytes.data(), size);
    if (count < 0) return LastError();
    // The library says so of a disk that has no room for a single byte.
    if (count == 0) return std::make_error_code(std::errc::no_space_on_device);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

std::error_code SystemFile::Flush() const {
  if (number_ < 0) return {};
  const std::error_code failure = Outcome(::_commit(number_));
  // A device has nothing to flush.
  return failure == std::errc::bad_file_descriptor ? std::error_code() : failure;
}

std::error_code SystemFile::Close() {
  const int number = number_;
  number_ = -1;
  return Outcome(::_close(number));
}

// A new file inherits the access list of its folder, which the old one did too.
std::error_code SystemFile::TakeRightsOf(const fs::path& /*model*/) const {
  return {};
}

std::error_code CheckWritable(const fs::path& path) {
  constexpr int ForWriting = 2;
  return Outcome(::_waccess(path.c_str(), ForWriting));
}

std::error_code RenameFile(const fs::path& from, const fs::path& to) {
  if (::MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE)
    return {};
  return FromSystem(::GetLastError());
}

std::error_code DeleteFileOnly(const fs::path& path) {
  return Outcome(::_wunlink(path.c_str()));
}

}  // namespace orvo
