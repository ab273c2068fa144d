// An open file of the operating system: what differs from system to system stands here. For POSIX it is
// implemented beside this header, for Windows in platform/win32.
//
// Failures come back as the system's own error codes. Only an open file can be written, flushed and closed.
#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

namespace orvo {

class SystemFile {
 public:
  SystemFile() = default;
  SystemFile(const SystemFile&) = delete;
  SystemFile& operator=(const SystemFile&) = delete;
  // Closes the file if it is open; a failure of that is lost.
  ~SystemFile();

  // Each of the three opens a file that is not open yet.
  //
  // Makes the file, or empties it, for writing.
  std::error_code Create(const std::filesystem::path& path);
  // An existing file, for Flush and TakeRightsOf. A link is refused where the system can tell.
  std::error_code OpenExisting(const std::filesystem::path& path);
  // A folder, for Flush. Where a program cannot flush folders nothing is opened, and Flush does nothing.
  std::error_code OpenFolder(const std::filesystem::path& path);

  // Appends all of `bytes`; after a failure some of them may be in the file.
  std::error_code Write(std::string_view bytes) const;
  // Returns when the disk has everything. Without an error where there is nothing to flush, as for a device.
  std::error_code Flush() const;
  // The file is closed in any case.
  std::error_code Close();
  // The permissions of the existing file `model`, and its owner as far as the process may give files away.
  std::error_code TakeRightsOf(const std::filesystem::path& model) const;

 private:
  int number_ = -1;
};

// Whether the process may write into the existing file.
std::error_code CheckWritable(const std::filesystem::path& path);
// Gives the closed file `from` the name `to` in one step, in place of a file of that name. Both on one volume.
std::error_code RenameFile(const std::filesystem::path& from, const std::filesystem::path& to);
// Deletes a file or a link, never a folder.
std::error_code DeleteFileOnly(const std::filesystem::path& path);

}  // namespace orvo
