#include "unit/platform/FailureOf.h"
#include "unit/platform/portable/DiskFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <string>

namespace orvo {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

std::string FailureOfCreating(Files& files, const std::string& name) {
  return FailureOf([&] { files.Create(name); });
}

std::string FailureOfRenaming(Files& files, const std::string& from, const std::string& to) {
  return FailureOf([&] { files.Rename(from, to); });
}

TEST_F(Disk, WritesByteForByteWhatIsAppended) {
  const std::string name = Write("a", "old content that is longer");
  const auto output = files_.Create(name);
  EXPECT_EQ(files_.ReadWhole(name), "");
  output->Write(std::string("a\r\n\0\x1A", 5));
  output->Flush();
  output->Write("");
  output->Write("\xFFz");
  output->Close();
  EXPECT_EQ(files_.ReadWhole(name), std::string("a\r\n\0\x1A\xFFz", 7));
}

TEST_F(Disk, OutputThatEndsWithoutCloseLeavesNoFileOpen) {
  const auto openFiles = [] {
    const fs::directory_iterator first("/proc/self/fd");
    return std::distance(first, fs::directory_iterator());
  };
  if (!fs::exists("/proc/self/fd")) GTEST_SKIP() << "this system does not list open files in /proc/self/fd";
  const auto before = openFiles();
  files_.Create(Path("a"))->Write("x");
  files_.Create(Path("b"))->Close();
  files_.Rename(Path("a"), Path("b"));
  EXPECT_EQ(FailureOfRenaming(files_, Path("b"), folder_), "75: Path/File access error: " + folder_);
  EXPECT_EQ(openFiles(), before);
}

TEST_F(Disk, NamesOfWritingAreUtf8) {
  const std::string name = Path(
      "Gr\xC3\xB6\xC3\x9F"
      "e");
  files_.Create(name)->Close();
  EXPECT_THAT(Names(), ElementsAre("Gr\xC3\xB6\xC3\x9F"
                                   "e"));
  files_.Rename(name, Path("\xE2\x82\xAC"));
  EXPECT_THAT(Names(), ElementsAre("\xE2\x82\xAC"));
  files_.Remove(Path("\xE2\x82\xAC"));
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(Disk, CreatingInAMissingFolderIsError76AlsoWhenAFileHasItsName) {
  const std::string file = Write("file", "x");
  EXPECT_EQ(FailureOfCreating(files_, Path("none/a")), "76: Path not found: " + Path("none/a"));
  EXPECT_EQ(FailureOfCreating(files_, file + "/a"), "76: Path not found: " + file + "/a");
  EXPECT_EQ(FailureOfCreating(files_, ""), "76: Path not found: ");
}

TEST_F(Disk, CreatingWhatIsNoFileIsError75) {
  EXPECT_EQ(FailureOfCreating(files_, folder_), "75: Path/File access error: " + folder_);
  ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(FailureOfCreating(files_, Path("pipe")), "75: Path/File access error: " + Path("pipe"));
  fs::create_symlink("loop", Path("loop"));
  EXPECT_EQ(FailureOfCreating(files_, Path("loop")), "75: Path/File access error: " + Path("loop"));
  const std::string zero = Path("a") + std::string("\0b", 2);
  EXPECT_EQ(FailureOfCreating(files_, zero), "75: Path/File access error: " + zero);
  EXPECT_THAT(Names(), ElementsAre("loop", "pipe"));
}

TEST_F(Disk, ForbiddenWritingIsError70) {
  const std::string guarded = Write("guarded", "old");
  fs::create_directory(Path("open"));
  fs::permissions(Path("open"), fs::perms::all);
  const std::string other = Write("open/other", "other");
  const std::string mine = Path("open/mine");
  for (const std::string& name : {guarded, other})
    fs::permissions(name, static_cast<fs::perms>(0444));
  fs::permissions(folder_, static_cast<fs::perms>(0555));
  {
    const OrdinaryUser user;
    if (!OrdinaryUser::Lives())
      GTEST_SKIP() << "the superuser cannot become a user for whom something is forbidden";
    files_.Create(mine)->Close();
    EXPECT_EQ(FailureOfCreating(files_, Path("new")), "70: Permission denied: " + Path("new"));
    EXPECT_EQ(FailureOfCreating(files_, guarded), "70: Permission denied: " + guarded);
    EXPECT_EQ(FailureOfRenaming(files_, mine, Path("new")), "70: Permission denied: " + Path("new"));
    EXPECT_EQ(FailureOfRenaming(files_, mine, other), "70: Permission denied: " + other);
    files_.Remove(guarded);
  }
  fs::permissions(folder_, fs::perms::owner_all);
  EXPECT_EQ(files_.ReadWhole(guarded), "old");
  EXPECT_EQ(files_.ReadWhole(other), "other");
  EXPECT_EQ(files_.ReadWhole(mine), "");
  EXPECT_THAT(Names(), ElementsAre("guarded", "open"));
}

TEST_F(Disk, FullDiskIsError61) {
  if (!fs::is_character_file("/dev/full")) GTEST_SKIP() << "this system has no device that is always full";
  const auto output = files_.Create("/dev/full");
  output->Write("");
  EXPECT_EQ(FailureOf([&] { output->Write("x"); }), "61: Disk full: /dev/full");
  EXPECT_EQ(FailureOf([&] { output->Flush(); }), "no failure");  // a device has nothing to flush
  output->Close();
}

TEST_F(Disk, ResolvedNameIsWhereTheLinksLead) {
  fs::create_directory(Path("sub"));
  fs::create_symlink("sub/second", Path("first"));
  fs::create_symlink("../target", Path("sub/second"));
  fs::create_symlink(Path("target"), Path("absolute"));
  fs::create_symlink("sub", Path("folder"));
  const std::string end = Path("sub/../target");
  EXPECT_EQ(files_.Resolve(Path("first")), end);  // broken so far
  Write("target", "x");
  EXPECT_EQ(files_.Resolve(Path("first")), end);
  EXPECT_EQ(files_.Resolve(Path("absolute")), Path("target"));
  EXPECT_EQ(files_.Resolve(Path("folder/a")), Path("folder/a"));
  EXPECT_EQ(files_.Resolve(Path("target")), Path("target"));
  EXPECT_EQ(files_.Resolve(Path("none/a")), Path("none/a"));
  EXPECT_EQ(files_.Resolve("plain"), "plain");
  EXPECT_EQ(files_.Resolve(""), "");
}

TEST_F(Disk, LinksInACircleAreError75) {
  fs::create_symlink("b", Path("a"));
  fs::create_symlink("a", Path("b"));
  EXPECT_EQ(FailureOf([&] { files_.Resolve(Path("a")); }), "75: Path/File access error: " + Path("a"));
}

TEST_F(Disk, FortyLinksInARowAreFollowed) {
  Write("0", "end");
  for (int i = 1; i <= 40; ++i)
    fs::create_symlink(std::to_string(i - 1), Path(std::to_string(i)));
  EXPECT_EQ(files_.Resolve(Path("40")), Path("0"));
}

TEST_F(Disk, RenameReplacesTheFileThatIsThere) {
  const std::string from = Write("a", "new");
  files_.Rename(from, Path("fresh"));
  EXPECT_EQ(files_.ReadWhole(Path("fresh")), "new");
  const std::string to = Write("b", "old");
  files_.Rename(Path("fresh"), to);
  EXPECT_EQ(files_.ReadWhole(to), "new");
  EXPECT_THAT(Names(), ElementsAre("b"));
}

TEST_F(Disk, RenameWorksInTheCurrentFolder) {
  const fs::path before = fs::current_path();
  Write("a", "x");
  fs::current_path(folder_);
  EXPECT_EQ(FailureOfRenaming(files_, "a", "b"), "no failure");
  fs::current_path(before);
  EXPECT_THAT(Names(), ElementsAre("b"));
}

TEST_F(Disk, RenameOfAMissingFileIsError53AndOfAMissingFolderError76) {
  const std::string old = Write("old", "old");
  EXPECT_EQ(FailureOfRenaming(files_, Path("none"), old), "53: File not found: " + Path("none"));
  EXPECT_EQ(FailureOfRenaming(files_, Path("no/ne"), old), "76: Path not found: " + Path("no/ne"));
  EXPECT_EQ(FailureOfRenaming(files_, old, Path("no/new")), "76: Path not found: " + Path("no/new"));
  EXPECT_EQ(FailureOfRenaming(files_, old, old + "/new"), "76: Path not found: " + old + "/new");
  EXPECT_EQ(FailureOfRenaming(files_, old, ""), "76: Path not found: ");
  EXPECT_EQ(files_.ReadWhole(old), "old");
  EXPECT_THAT(Names(), ElementsAre("old"));
}

TEST_F(Disk, RenameOfOrToWhatIsNoRegularFileIsError75) {
  const std::string file = Write("file", "x");
  fs::create_directory(Path("folder"));
  fs::create_symlink("file", Path("link"));
  ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(FailureOfRenaming(files_, file, Path("folder")), "75: Path/File access error: " + Path("folder"));
  EXPECT_EQ(FailureOfRenaming(files_, file, Path("pipe")), "75: Path/File access error: " + Path("pipe"));
  EXPECT_EQ(FailureOfRenaming(files_, Path("folder"), Path("b")),
            "75: Path/File access error: " + Path("folder"));
  EXPECT_EQ(FailureOfRenaming(files_, Path("link"), Path("b")), "75: Path/File access error: " + Path("link"));
  EXPECT_EQ(files_.ReadWhole(file), "x");
  EXPECT_TRUE(fs::is_fifo(Path("pipe")));
  EXPECT_THAT(Names(), ElementsAre("file", "folder", "link", "pipe"));
}

TEST_F(Disk, RenameToALinkReplacesTheFileThatItLeadsTo) {
  fs::create_directory(Path("sub"));
  Write("sub/target", "old");
  fs::create_symlink("sub/target", Path("link"));
  files_.Rename(Write("a", "new"), Path("link"));
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  EXPECT_FALSE(fs::is_symlink(Path("sub/target")));
  EXPECT_EQ(files_.ReadWhole(Path("sub/target")), "new");
}

TEST_F(Disk, RenamedFileTakesOverThePermissionsOfTheOldOne) {
  Write("old", "old");
  for (const unsigned mode : {0600U, 0640U, 0666U, 0755U}) {
    fs::permissions(Path("old"), static_cast<fs::perms>(mode));
    const std::string from = Write("from", "new");
    fs::permissions(from, static_cast<fs::perms>(0644));
    files_.Rename(from, Path("old"));
    EXPECT_EQ(Mode("old"), mode);
  }
  const std::string from = Write("from", "new");
  fs::permissions(from, static_cast<fs::perms>(0604));
  files_.Rename(from, Path("fresh"));
  EXPECT_EQ(Mode("fresh"), 0604U);
}

TEST_F(Disk, RenamedFileTakesOverTheOwnerOfTheOldOne) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser may give files away";
  const std::string old = Write("old", "old");
  ASSERT_EQ(::chown(old.c_str(), 65534, 65533), 0);
  fs::permissions(old, static_cast<fs::perms>(0640));
  files_.Rename(Write("from", "new"), old);
  struct stat status {};
  ASSERT_EQ(::stat(old.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 65534U);
  EXPECT_EQ(status.st_gid, 65533U);
  EXPECT_EQ(Mode("old"), 0640U);
}

TEST_F(Disk, FileOfAnotherUserBecomesOnesOwnWhenItIsReplaced) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser may give files away";
  fs::permissions(folder_, fs::perms::all);
  const std::string old = Write("old", "old");
  fs::permissions(old, static_cast<fs::perms>(0666));
  {
    const OrdinaryUser user;
    if (!OrdinaryUser::Lives()) GTEST_SKIP() << "the superuser cannot become another user";
    EXPECT_EQ(FailureOfRenaming(files_, Write("from", "new"), old), "no failure");
  }
  struct stat status {};
  ASSERT_EQ(::stat(old.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 65534U);
  EXPECT_EQ(Mode("old"), 0666U);
  EXPECT_EQ(files_.ReadWhole(old), "new");
}

TEST_F(Disk, RemoveDeletesFilesAndLinksAndNothingElse) {
  Write("a", "x");
  fs::create_symlink("kept", Path("link"));
  Write("kept", "x");
  fs::create_directory(Path("empty"));
  for (const char* name : {"a", "link", "empty", "never", "no/ne"})
    files_.Remove(Path(name));
  files_.Remove("");
  files_.Remove(Path("kept") + std::string("\0b", 2));
  files_.Remove(Path(std::string(5000, 'x')));
  EXPECT_THAT(Names(), ElementsAre("empty", "kept"));
}

}  // namespace
}  // namespace orvo
