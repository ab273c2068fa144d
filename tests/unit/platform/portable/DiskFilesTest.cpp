#include "platform/portable/DiskFiles.h"
#include "unit/platform/FailureOf.h"
#include "unit/platform/portable/DiskFixture.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace orvo {
namespace {

namespace fs = std::filesystem;

TEST_F(Disk, ReadsTheWholeFileByteForByte) {
  std::string content("\xEF\xBB\xBF[a]\r\nx=1\n\0\x1A\xFF", 16);
  for (int i = 0; i < 16; ++i)
    content += content;
  EXPECT_EQ(files_.ReadWhole(Write("large.bin", content)), content);
  EXPECT_EQ(files_.ReadWhole(Write("empty.ini", "")), "");
}

TEST_F(Disk, NameIsUtf8) {
  const std::string path = Path(
      "Gr\xC3\xB6\xC3\x9F"
      "e \xE2\x82\xAC.ini");
  std::ofstream(fs::path(std::u8string(path.begin(), path.end()))) << "found";
  EXPECT_EQ(files_.ReadWhole(path), "found");
}

TEST_F(Disk, RelativePathCountsFromTheCurrentFolder) {
  const fs::path before = fs::current_path();
  Write("here.ini", "here");
  fs::current_path(folder_);
  EXPECT_EQ(files_.ReadWhole("here.ini"), "here");
  EXPECT_EQ(FailureOf(files_, "drivers.ini"), "53: File not found: drivers.ini");
  fs::current_path(before);
}

TEST_F(Disk, LinkToAFileIsReadAndABrokenOneIsError53) {
  Write("target", "content");
  fs::create_symlink("target", Path("link"));
  fs::create_symlink("nowhere", Path("broken"));
  EXPECT_EQ(files_.ReadWhole(Path("link")), "content");
  EXPECT_EQ(FailureOf(files_, Path("broken")), "53: File not found: " + Path("broken"));
}

TEST_F(Disk, MissingFileIsError53) {
  EXPECT_EQ(FailureOf(files_, Path("none.ini")), "53: File not found: " + Path("none.ini"));
  EXPECT_EQ(FailureOf(files_, ""), "53: File not found: ");
}

TEST_F(Disk, MissingFolderIsError76AlsoWhenAFileHasItsName) {
  const std::string file = Write("file", "x");
  EXPECT_EQ(FailureOf(files_, Path("none/a.ini")), "76: Path not found: " + Path("none/a.ini"));
  EXPECT_EQ(FailureOf(files_, file + "/a.ini"), "76: Path not found: " + file + "/a.ini");
}

TEST_F(Disk, ForbiddenFileOrFolderIsError70) {
  const std::string file = Write("secret.ini", "x");
  fs::create_directory(Path("closed"));
  const std::string inside = Write("closed/a.ini", "x");
  fs::permissions(file, fs::perms::none);
  fs::permissions(Path("closed"), fs::perms::none);
  {
    const OrdinaryUser user;
    EXPECT_EQ(FailureOf(files_, file), "70: Permission denied: " + file);
    EXPECT_EQ(FailureOf(files_, inside), "70: Permission denied: " + inside);
  }
  fs::permissions(Path("closed"), fs::perms::owner_all);
}

TEST_F(Disk, WhatIsNoFileIsError75) {
  EXPECT_EQ(FailureOf(files_, folder_), "75: Path/File access error: " + folder_);
  ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(FailureOf(files_, Path("pipe")), "75: Path/File access error: " + Path("pipe"));
  fs::create_symlink("loop", Path("loop"));
  EXPECT_EQ(FailureOf(files_, Path("loop")), "75: Path/File access error: " + Path("loop"));
}

TEST_F(Disk, NameThatNoFileCanHaveIsError75) {
  const std::string tooLong = Path(std::string(5000, 'x'));
  EXPECT_EQ(FailureOf(files_, tooLong), "75: Path/File access error: " + tooLong);
  const std::string zero = Write("a", "x") + std::string("\0b", 2);
  EXPECT_EQ(FailureOf(files_, zero), "75: Path/File access error: " + zero);
}

TEST_F(Disk, FileAboveTheLimitIsError7) {
  DiskFiles small(10);
  EXPECT_EQ(small.ReadWhole(Write("ten", "0123456789")), "0123456789");
  const std::string eleven = Write("eleven", "0123456789a");
  EXPECT_EQ(FailureOf(small, eleven), "7: Out of memory: " + eleven);
}

}  // namespace
}  // namespace orvo
