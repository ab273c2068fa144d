#include "platform/portable/DiskFiles.h"

#include "errors/AutomationError.h"
#include "errors/ErrorHandling.h"
#include "platform/portable/SystemFile.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace orvo {

namespace {

namespace fs = std::filesystem;

// Error 53 stands for a name that its folder lacks, 76 for a folder that is missing itself or is no folder.
RuntimeError MissingError(const fs::path& path) {
  std::error_code ignored;
  const fs::path folder = path.parent_path();
  return folder.empty() || fs::is_directory(folder, ignored) ? RuntimeError::FileNotFound
                                                             : RuntimeError::PathNotFound;
}

RuntimeError ErrorOf(const std::error_code& code, const fs::path& path) {
  if (code == std::errc::no_such_file_or_directory || code == std::errc::not_a_directory)
    return MissingError(path);
  if (code == std::errc::permission_denied || code == std::errc::operation_not_permitted)
    return RuntimeError::PermissionDenied;
  if (code == std::errc::not_enough_memory || code == std::errc::file_too_large ||
      code == std::errc::value_too_large)
    return RuntimeError::OutOfMemory;
  return RuntimeError::PathFileAccess;
}

// The path that a UTF-8 name stands for. A zero byte would end the name early and read another file.
fs::path PathOf(const std::string& fileName) {
  if (fileName.find('\0') != std::string::npos) RaiseRuntimeError(RuntimeError::PathFileAccess, fileName);
  return fs::path(std::u8string(fileName.begin(), fileName.end()));
}

std::string ReadFile(const std::string& fileName, std::uintmax_t limit) {
  const fs::path path = PathOf(fileName);
  std::error_code code;
  const fs::file_status status = fs::status(path, code);
  if (status.type() == fs::file_type::not_found) RaiseRuntimeError(MissingError(path), fileName);
  if (code) RaiseRuntimeError(ErrorOf(code, path), fileName);
  if (status.type() != fs::file_type::regular) RaiseRuntimeError(RuntimeError::PathFileAccess, fileName);

  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) RaiseRuntimeError(ErrorOf({errno, std::generic_category()}, path), fileName);

  // Read to the end instead of asking for the size: the file may grow, and some systems' files have none.
  std::string content;
  std::array<char, 64 * 1024> block;
  do {
    file.read(block.data(), static_cast<std::streamsize>(block.size()));
    content.append(block.data(), static_cast<std::size_t>(file.gcount()));
    if (content.size() > limit) RaiseRuntimeError(RuntimeError::OutOfMemory, fileName);
  } while (file);
  if (file.bad()) RaiseRuntimeError(RuntimeError::PathFileAccess, fileName);
  return content;
}

// A writer is told of a missing folder only: a missing file would be made.
RuntimeError WriteErrorOf(const std::error_code& code) {
  if (code == std::errc::no_such_file_or_directory || code == std::errc::not_a_directory)
    return RuntimeError::PathNotFound;
  if (code == std::errc::permission_denied || code == std::errc::operation_not_permitted ||
      code == std::errc::read_only_file_system)
    return RuntimeError::PermissionDenied;
  if (code == std::errc::no_space_on_device) return RuntimeError::DiskFull;
#ifdef EDQUOT
  if (code == std::error_code(EDQUOT, std::generic_category())) return RuntimeError::DiskFull;
#endif
  return RuntimeError::PathFileAccess;
}

void CheckWriting(const std::error_code& code, const std::string& fileName) {
  if (code) RaiseRuntimeError(WriteErrorOf(code), fileName);
}

// Runs `body`, whose own failures are AutomationErrors, and turns those of the library into them.
template <class Body>
auto WithFileErrors(const std::string& fileName, Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (const AutomationError&) {
    throw;
  } catch (const std::bad_alloc&) {
    RaiseRuntimeError(RuntimeError::OutOfMemory, fileName);
  } catch (const std::length_error&) {
    RaiseRuntimeError(RuntimeError::OutOfMemory, fileName);
  } catch (const std::system_error&) {  // a name that the system's own encoding cannot express
    RaiseRuntimeError(RuntimeError::PathFileAccess, fileName);
  }
}

// Where the links lead that begin at the last part of the name; the system itself follows those in front of it.
fs::path FollowLinks(fs::path path, const std::string& fileName) {
  constexpr int MaxLinks = 40;  // as systems have it
  for (int links = 0; links <= MaxLinks; ++links) {
    std::error_code code;
    const fs::file_status status = fs::symlink_status(path, code);
    if (status.type() == fs::file_type::not_found) return path;
    CheckWriting(code, fileName);
    if (status.type() != fs::file_type::symlink) return path;
    const fs::path next = fs::read_symlink(path, code);
    CheckWriting(code, fileName);
    path = path.parent_path() / next;
  }
  RaiseRuntimeError(RuntimeError::PathFileAccess, fileName);
}

// Opening a pipe may block, and writing to a whole disk destroys it. What cannot be asked fails when it is
// opened.
bool CanBeWritten(const fs::path& path) {
  std::error_code ignored;
  const fs::file_type type = fs::status(path, ignored).type();
  return type == fs::file_type::regular || type == fs::file_type::character ||
         type == fs::file_type::not_found || type == fs::file_type::none;
}

class DiskOutput final : public Files::Output {
 public:
  explicit DiskOutput(std::string fileName) : fileName_(std::move(fileName)) {
    const fs::path path = PathOf(fileName_);
    if (!CanBeWritten(path)) RaiseRuntimeError(RuntimeError::PathFileAccess, fileName_);
    CheckWriting(file_.Create(path), fileName_);
  }

  void Write(std::string_view bytes) override { CheckWriting(file_.Write(bytes), fileName_); }
  void Flush() override { CheckWriting(file_.Flush(), fileName_); }
  void Close() override { CheckWriting(file_.Close(), fileName_); }

 private:
  const std::string fileName_;
  SystemFile file_;
};

// Whether a file stands at `target`, which may then be replaced; raises the error if it may not.
bool FindReplaceable(const fs::path& target, const std::string& fileName) {
  std::error_code code;
  const fs::file_status status = fs::status(target, code);
  if (status.type() == fs::file_type::not_found) return false;
  CheckWriting(code, fileName);
  if (status.type() != fs::file_type::regular) RaiseRuntimeError(RuntimeError::PathFileAccess, fileName);
  // The system itself would ask for the right to change the folder only.
  CheckWriting(CheckWritable(target), fileName);
  return true;
}

void RenameWritten(const std::string& from, const std::string& to) {
  const fs::path source = PathOf(from);
  std::error_code code;
  const fs::file_status status = fs::symlink_status(source, code);
  if (status.type() == fs::file_type::not_found) RaiseRuntimeError(MissingError(source), from);
  CheckWriting(code, from);
  if (status.type() != fs::file_type::regular) RaiseRuntimeError(RuntimeError::PathFileAccess, from);

  const fs::path target = FollowLinks(PathOf(to), to);
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  const bool replaces = FindReplaceable(target, to);
  // Opened first: when this fails, nothing has changed yet.
  SystemFile entry;
  CheckWriting(entry.OpenFolder(folder), to);

  SystemFile file;
  CheckWriting(file.OpenExisting(source), from);
  if (replaces) CheckWriting(file.TakeRightsOf(target), to);
  CheckWriting(file.Flush(), from);
  CheckWriting(file.Close(), from);  // an open file cannot be renamed everywhere

  CheckWriting(RenameFile(source, target), to);
  CheckWriting(entry.Flush(), to);
}

}  // namespace

std::string DiskFiles::ReadWhole(const std::string& fileName) {
  return WithFileErrors(fileName, [&] { return ReadFile(fileName, limit_); });
}

std::string DiskFiles::Resolve(const std::string& fileName) {
  return WithFileErrors(fileName, [&] {
    const std::u8string resolved = FollowLinks(PathOf(fileName), fileName).u8string();
    return std::string(resolved.begin(), resolved.end());
  });
}

std::unique_ptr<Files::Output> DiskFiles::Create(const std::string& fileName) {
  return WithFileErrors(fileName,
                        [&]() -> std::unique_ptr<Output> { return std::make_unique<DiskOutput>(fileName); });
}

void DiskFiles::Rename(const std::string& from, const std::string& to) {
  WithFileErrors(to, [&] { RenameWritten(from, to); });
}

void DiskFiles::Remove(const std::string& fileName) noexcept {
  Suppressed([&] { DeleteFileOnly(PathOf(fileName)); });
}

}  // namespace orvo
