// Shared libraries of the system.
//
// A library that was loaded stays loaded until the process ends: objects made by it, calls that it posted and
// exceptions that it threw need its code for as long as anybody holds one of them, and nobody counts all of
// these. Its functions are called on the thread that asked for them. Names are UTF-8 paths.
#pragma once

#include <string>
#include <vector>

namespace orvo {

class LibraryLoader {
 public:
  // Any function; the caller knows the true type.
  using Function = void (*)();

  class Library {
   public:
    Library() = default;
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    virtual ~Library() = default;

    // The exported function of that name, valid until the process ends; null when the library has none.
    virtual Function Find(const std::string& function) const = 0;
  };

  LibraryLoader() = default;
  LibraryLoader(const LibraryLoader&) = delete;
  LibraryLoader& operator=(const LibraryLoader&) = delete;
  virtual ~LibraryLoader() = default;

  // What file names of libraries end in, with the dot.
  virtual std::string Ending() const = 0;
  // The names, without the folder, of the files in `folder` that end so, whatever they hold, in the order of
  // their bytes. Empty when the folder does not exist or cannot be read.
  virtual std::vector<std::string> LibrariesIn(const std::string& folder) const = 0;
  // Loads a library, or finds it loaded, with all that it needs. The reference ends before the loader. Error
  // 429 with a text that names the file and gives the system's reason; then nothing was loaded.
  virtual const Library& Load(const std::string& path) = 0;
};

}  // namespace orvo
