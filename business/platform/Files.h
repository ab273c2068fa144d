// The file system as the server and its drivers see it.
//
// Names are UTF-8 paths. Every error carries a text that names the file: 53 no such file, 76 no such folder, 70
// not permitted, 61 disk full, 75 any other failure, 7 too large.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace orvo {

class Files {
 public:
  // A file that is being written. Its end without Close leaves a file of unknown content.
  class Output {
   public:
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    virtual ~Output() = default;

    // Appends. Errors 61, 70, 75.
    virtual void Write(std::string_view bytes) = 0;
    // Returns when everything written so far has reached the disk.
    virtual void Flush() = 0;
    // Ends the writing; nothing else may be called afterwards.
    virtual void Close() = 0;
  };

  Files() = default;
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;
  virtual ~Files() = default;

  // The whole content of the file, byte for byte. Errors 53, 76, 70, 75 (a folder, for instance), 7.
  virtual std::string ReadWhole(const std::string& fileName) = 0;
  // The name of the file that `fileName` stands for: where links lead, or the name itself. The file need not
  // exist. Errors 70, 75 (links in a circle).
  virtual std::string Resolve(const std::string& fileName) = 0;
  // A new empty file of this name; an existing one loses its content. Errors 76, 70, 61, 75. These files must
  // live until the output has ended.
  virtual std::unique_ptr<Output> Create(const std::string& fileName) = 0;
  // Gives the file `from` the name `to`, in place of an existing file, in one step: at any moment `to` is the
  // old file or the new one. Returns when the change has reached the disk. Errors 53, 76, 70, 61, 75; then
  // nothing has changed, except that a disk which fails at the very end may have changed already.
  virtual void Rename(const std::string& from, const std::string& to) = 0;
  // Deletes the file if it exists. Never fails: what cannot be deleted stays.
  virtual void Remove(const std::string& fileName) noexcept = 0;
};

// Writes `content` as the whole content of `fileName`, or of the file that a link of this name leads to: to a
// temporary file beside it ("fileName.saving"), flushed, renamed. A failure at any step is raised and leaves an
// existing file as it was, without the temporary; so does the end of the process, which may leave the
// temporary. (A disk that fails after the renaming may hold the new file already.) Errors as above; the text
// names `fileName`. One writer at a time: two that replace the same file share the temporary.
void ReplaceWhole(Files& files, const std::string& fileName, std::string_view content);

}  // namespace orvo
