// ReplaceWhole on a real disk: what stays when it fails, and when the process ends inside it.
#include "platform/Files.h"
#include "support/EndingFiles.h"
#include "unit/platform/FailureOf.h"
#include "unit/platform/portable/DiskFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace orvo {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

std::string LongContent() {
  std::string content;
  for (int i = 0; content.size() < 200'000; ++i)
    content += std::to_string(i) + "\r\n";
  return content;
}

std::string FailureOfReplacing(Files& files, const std::string& name, const std::string& content) {
  return FailureOf([&] { ReplaceWhole(files, name, content); });
}

// Files of this process that end at so many bytes, while it lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    if (::getrlimit(RLIMIT_FSIZE, &before_) != 0) std::abort();
    const rlimit limit{bytes, before_.rlim_max};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) std::abort();
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    if (::setrlimit(RLIMIT_FSIZE, &before_) != 0) std::abort();
    std::signal(SIGXFSZ, handler_);
  }

 private:
  rlimit before_{};
  void (*handler_)(int);
};

// How a process ends that replaces the file and ends at the moment.
int EndOfProcess(int moment, const std::string& name, const std::string& content) {
  const pid_t process = ::fork();
  if (process == 0) {
    EndingFiles files;
    files.Arm(moment);
    ::_exit(FailureOfReplacing(files, name, content) == "no failure" ? Finished : Failed);
  }
  int status = 0;
  if (process < 0 || ::waitpid(process, &status, 0) != process || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

TEST_F(Disk, ProcessThatEndsAnywhereInReplacingLeavesTheOldFileOrTheNewOneWhole) {
  const std::string name = Write("a.ini", "old content");
  const std::string content = LongContent();
  // Remove, create, flush, close and rename have two moments each, four writes three each.
  constexpr int Moments = 5 * 2 + 4 * 3;
  int leftTemporaries = 0;
  for (int moment = 0; moment < Moments; ++moment) {
    SCOPED_TRACE(moment);
    ASSERT_EQ(EndOfProcess(moment, name, content), Ended);
    const bool renamed = moment == Moments - 1;
    ASSERT_TRUE(files_.ReadWhole(name) == (renamed ? content : "old content"));
    if (Names().size() == 2) ++leftTemporaries;
  }
  // From the end of creating to the begin of renaming, and at the begin of the next removal.
  EXPECT_EQ(leftTemporaries, Moments - 4);
  EXPECT_THAT(Names(), ElementsAre("a.ini"));
  EXPECT_EQ(EndOfProcess(Moments, name, "third"), Finished);
}

TEST_F(Disk, ProcessThatEndsWhileANewFileIsMadeLeavesNoFileOrTheWholeOne) {
  const std::string name = Path("new.ini");
  const std::string content = LongContent();
  int moment = 0;
  for (; EndOfProcess(moment, name, content) == Ended; ++moment) {
    SCOPED_TRACE(moment);
    if (fs::exists(name)) {
      ASSERT_TRUE(files_.ReadWhole(name) == content);
      fs::remove(name);
    }
  }
  EXPECT_EQ(moment, 22);
  EXPECT_TRUE(files_.ReadWhole(name) == content);
}

TEST_F(Disk, TemporaryThatAnEndedProcessLeftIsInNobodysWay) {
  const std::string name = Write("a.ini", "old");
  const std::string temporary = Write("a.ini.saving", std::string(1000, 'x'));
  fs::permissions(temporary, fs::perms::none);
  fs::permissions(folder_, fs::perms::all);
  fs::permissions(name, static_cast<fs::perms>(0666));
  {
    const OrdinaryUser user;
    if (!OrdinaryUser::Lives())
      GTEST_SKIP() << "the superuser cannot become a user for whom something is forbidden";
    EXPECT_EQ(FailureOfReplacing(files_, name, "new"), "no failure");
  }
  EXPECT_EQ(files_.ReadWhole(name), "new");
  EXPECT_THAT(Names(), ElementsAre("a.ini"));
}

TEST_F(Disk, ReplacingKeepsThePermissionsAndMakesNewFilesAsTheMaskSays) {
  const std::string name = Write("a.ini", "old");
  fs::permissions(name, static_cast<fs::perms>(0606));
  const mode_t before = ::umask(027);
  ReplaceWhole(files_, name, "new");
  ReplaceWhole(files_, Path("b.ini"), "new");
  ::umask(before);
  EXPECT_EQ(Mode("a.ini"), 0606U);
  EXPECT_EQ(Mode("b.ini"), 0640U);
  EXPECT_EQ(files_.ReadWhole(name), "new");
}

TEST_F(Disk, ReplacingThroughALinkReplacesTheFileThatItLeadsToAndWorksBesideThatOne) {
  fs::create_directory(Path("sub"));
  Write("sub/target", "old");
  fs::create_symlink("sub/target", Path("link"));
  fs::create_directory(Path("link.saving"));  // a temporary beside the link would fail
  EXPECT_EQ(FailureOfReplacing(files_, Path("link"), "new"), "no failure");
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  EXPECT_FALSE(fs::is_symlink(Path("sub/target")));
  EXPECT_EQ(files_.ReadWhole(Path("sub/target")), "new");
  EXPECT_FALSE(fs::exists(Path("sub/target.saving")));
}

TEST_F(Disk, ReplacingThroughABrokenLinkMakesTheFileThatItNames) {
  fs::create_symlink("target", Path("link"));
  ReplaceWhole(files_, Path("link"), "new");
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  EXPECT_EQ(files_.ReadWhole(Path("target")), "new");
}

TEST_F(Disk, WriteOfWhichTheSystemTakesOnlyAPartFails) {
  const std::string name = Path("a");
  std::string failure;
  {
    const FileSizeLimit limit(3);
    const auto output = files_.Create(name);
    failure = FailureOf([&] { output->Write("12345"); });
  }
  EXPECT_EQ(failure, "75: Path/File access error: " + name);
  EXPECT_EQ(files_.ReadWhole(name), "123");
}

TEST_F(Disk, FailureOfAWriteThatBeganLeavesTheOldContentWithoutTheTemporary) {
  const std::string name = Write("a.ini", "old");
  std::string failure;
  {
    const FileSizeLimit limit(100'000);  // inside the second piece
    failure = FailureOfReplacing(files_, name, LongContent());
  }
  EXPECT_EQ(failure, "75: Path/File access error: " + name);
  EXPECT_EQ(files_.ReadWhole(name), "old");
  EXPECT_THAT(Names(), ElementsAre("a.ini"));
}

TEST_F(Disk, FolderInPlaceOfTheFileOrOfTheTemporaryIsError75) {
  fs::create_directory(Path("folder"));
  EXPECT_EQ(FailureOfReplacing(files_, Path("folder"), "x"), "75: Path/File access error: " + Path("folder"));
  EXPECT_TRUE(fs::is_directory(Path("folder")));
  EXPECT_THAT(Names(), ElementsAre("folder"));
  const std::string name = Write("a.ini", "old");
  fs::create_directory(Path("a.ini.saving"));
  EXPECT_EQ(FailureOfReplacing(files_, name, "x"), "75: Path/File access error: " + name);
  EXPECT_EQ(files_.ReadWhole(name), "old");
  EXPECT_THAT(Names(), ElementsAre("a.ini", "a.ini.saving", "folder"));
}

TEST_F(Disk, ReplacingInAMissingFolderIsError76) {
  EXPECT_EQ(FailureOfReplacing(files_, Path("none/a.ini"), "x"), "76: Path not found: " + Path("none/a.ini"));
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(Disk, ReplacingInAReadOnlyFolderOrAReadOnlyFileIsError70) {
  const std::string name = Write("a.ini", "old");
  fs::create_directory(Path("open"));
  const std::string guarded = Write("open/guarded.ini", "old");
  fs::permissions(guarded, static_cast<fs::perms>(0444));
  fs::permissions(Path("open"), fs::perms::all);
  fs::permissions(folder_, static_cast<fs::perms>(0555));
  {
    const OrdinaryUser user;
    if (!OrdinaryUser::Lives())
      GTEST_SKIP() << "the superuser cannot become a user for whom something is forbidden";
    EXPECT_EQ(FailureOfReplacing(files_, name, "x"), "70: Permission denied: " + name);
    EXPECT_EQ(FailureOfReplacing(files_, guarded, "x"), "70: Permission denied: " + guarded);
  }
  fs::permissions(folder_, fs::perms::owner_all);
  EXPECT_EQ(files_.ReadWhole(name), "old");
  EXPECT_EQ(files_.ReadWhole(guarded), "old");
  EXPECT_FALSE(fs::exists(guarded + ".saving"));
  EXPECT_THAT(Names(), ElementsAre("a.ini", "open"));
}

}  // namespace
}  // namespace orvo
