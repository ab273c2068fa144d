#include "../FailureOf.h"
#include "DiskFixture.h"
#include "platform/portable/SystemLibraries.h"

#include <sys/stat.h>

#include <filesystem>

namespace orvo {

namespace {

class SystemLibrariesTest : public Disk {
 protected:
  // A library of this build, under another name.
  std::string CopyOfALibrary(const std::string& name) const {
    std::filesystem::copy_file(ORVO_PANEL_LIBRARY, Path(name));
    return Path(name);
  }
  SystemLibraries loader;
};

TEST_F(SystemLibrariesTest, ALoadedLibraryOffersItsFunctions) {
  const LibraryLoader::Library& library = loader.Load(CopyOfALibrary("one.so"));
  EXPECT_NE(library.Find("orvo_driver_library"), nullptr);
  EXPECT_EQ(library.Find("no_such_function"), nullptr);
}

TEST_F(SystemLibrariesTest, ALibraryIsLoadedOnce) {
  const std::string path = CopyOfALibrary("one.so");
  const LibraryLoader::Library& library = loader.Load(path);
  EXPECT_EQ(&loader.Load(path), &library);
  SystemLibraries other;
  EXPECT_EQ(other.Load(path).Find("orvo_driver_library"), library.Find("orvo_driver_library"));
}

TEST_F(SystemLibrariesTest, ALibraryStaysLoadedWhenItsLoaderEnds) {
  const std::string path = CopyOfALibrary("one.so");
  LibraryLoader::Function function = nullptr;
  {
    SystemLibraries ending;
    function = ending.Load(path).Find("orvo_driver_library");
  }
  ASSERT_NE(function, nullptr);
  function();
}

TEST_F(SystemLibrariesTest, AMissingFileIsAnErrorThatNamesItAndTheReason) {
  const std::string failure = FailureOf([&] { loader.Load(Path("none.so")); });
  EXPECT_EQ(failure.find("429: ActiveX component can't create object: the library '" + Path("none.so") +
                         "' cannot be loaded: "),
            0U)
      << failure;
  EXPECT_NE(failure.find("No such file"), std::string::npos) << failure;
}

TEST_F(SystemLibrariesTest, AFileThatIsNoLibraryIsAnErrorWithTheReason) {
  Write("text.so", "this is no library, only a text that is long enough to be looked at");
  const std::string failure = FailureOf([&] { loader.Load(Path("text.so")); });
  EXPECT_NE(failure.find("invalid ELF header"), std::string::npos) << failure;
}

TEST_F(SystemLibrariesTest, ANameWithoutAFolderIsNotLookedForInTheSystemsFolders) {
  const std::string failure = FailureOf([&] { loader.Load("libm.so.6"); });
  EXPECT_NE(failure.find("the library 'libm.so.6' cannot be loaded: ./libm.so.6"), std::string::npos)
      << failure;
}

TEST_F(SystemLibrariesTest, LibrariesAreListedByTheirEndingInTheOrderOfTheirBytes) {
  for (const char* name : {"b.so", "B.so", "a.so", "a.txt", "a.so.1", ".so", "so"})
    Write(name, "");
  EXPECT_EQ(loader.LibrariesIn(folder_), (std::vector<std::string>{"B.so", "a.so", "b.so"}));
}

TEST_F(SystemLibrariesTest, OnlyFilesAndLinksToThemAreListed) {
  ASSERT_EQ(::mkfifo(Path("pipe.so").c_str(), 0600), 0);
  std::filesystem::create_directory(Path("folder.so"));
  std::filesystem::create_symlink(Path("none"), Path("dangling.so"));
  std::filesystem::create_symlink(Path("pipe.so"), Path("linked_pipe.so"));
  std::filesystem::create_symlink(Write("file.so", ""), Path("linked_file.so"));
  EXPECT_EQ(loader.LibrariesIn(folder_), (std::vector<std::string>{"file.so", "linked_file.so"}));
}

TEST_F(SystemLibrariesTest, AFolderThatDoesNotExistHasNoLibraries) {
  EXPECT_TRUE(loader.LibrariesIn(Path("none")).empty());
  EXPECT_TRUE(loader.LibrariesIn(Write("file.so", "")).empty());
}

TEST_F(SystemLibrariesTest, AFolderIsNamedAsSeenFromTheProgram) {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_EQ(SystemLibraries::NextToProgram("drivers"), (program.parent_path() / "drivers").string());
  EXPECT_EQ(SystemLibraries::NextToProgram("../lib/drivers"),
            (program.parent_path().parent_path() / "lib/drivers").string());
}

}  // namespace

}  // namespace orvo
