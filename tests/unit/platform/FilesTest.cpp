#include "platform/Files.h"
#include "platform/simulated/MemoryFiles.h"
#include "unit/platform/FailureOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvo {
namespace {

using testing::ElementsAre;

std::string FailureOfReplacing(Files& files, const std::string& content) {
  return FailureOf([&] { ReplaceWhole(files, "a.ini", content); });
}

TEST(ReplaceWhole, WritesATemporaryBesideFlushesClosesAndRenamesIt) {
  MemoryFiles files;
  files.PutFile("a.ini", "old");
  ReplaceWhole(files, "a.ini", std::string(120, 'x'));
  EXPECT_EQ(files.ReadWhole("a.ini"), std::string(120, 'x'));
  EXPECT_FALSE(files.HasFile("a.ini.saving"));
  EXPECT_THAT(files.Log(), ElementsAre("Create a.ini.saving", "Write a.ini.saving 120", "Flush a.ini.saving",
                                       "Close a.ini.saving", "Rename a.ini.saving -> a.ini"));
}

TEST(ReplaceWhole, MakesAFileThatDidNotExistAndAnEmptyOne) {
  MemoryFiles files;
  ReplaceWhole(files, "new.ini", std::string("\0\r\n\xFF", 4));
  EXPECT_EQ(files.ReadWhole("new.ini"), std::string("\0\r\n\xFF", 4));
  ReplaceWhole(files, "new.ini", "");
  EXPECT_EQ(files.ReadWhole("new.ini"), "");
}

TEST(ReplaceWhole, WritesALongContentInPieces) {
  MemoryFiles files;
  std::string content;
  for (int i = 0; content.size() < 150'000; ++i)
    content += std::to_string(i);
  content.resize(150'000);
  ReplaceWhole(files, "a.ini", content);
  EXPECT_EQ(files.ReadWhole("a.ini"), content);
  EXPECT_THAT(files.Log(),
              ElementsAre("Create a.ini.saving", "Write a.ini.saving 65536", "Write a.ini.saving 65536",
                          "Write a.ini.saving 18928", "Flush a.ini.saving", "Close a.ini.saving",
                          "Rename a.ini.saving -> a.ini"));
}

TEST(ReplaceWhole, TemporaryLeftByAnEndedProcessIsRemovedFirst) {
  MemoryFiles files;
  files.PutFile("a.ini.saving", "half of");
  ReplaceWhole(files, "a.ini", "new");
  EXPECT_EQ(files.ReadWhole("a.ini"), "new");
  EXPECT_FALSE(files.HasFile("a.ini.saving"));
  EXPECT_THAT(files.Log(),
              ElementsAre("Remove a.ini.saving", "Create a.ini.saving", "Write a.ini.saving 3",
                          "Flush a.ini.saving", "Close a.ini.saving", "Rename a.ini.saving -> a.ini"));
}

struct FailingStep {
  MemoryFiles::Step step;
  RuntimeError error;
  int after;
  std::string failure;
  std::vector<std::string> log;
};

TEST(ReplaceWhole, FailureOfAnyStepIsRaisedAboutTheFileAndLeavesTheOldContentWithoutTheTemporary) {
  const FailingStep rows[] = {
      {MemoryFiles::CreateFile,
       RuntimeError::PathNotFound,
       0,
       "76: Path not found: a.ini",
       {"Create a.ini.saving: error 76"}},
      {MemoryFiles::WriteFile,
       RuntimeError::DiskFull,
       0,
       "61: Disk full: a.ini",
       {"Create a.ini.saving", "Write a.ini.saving 65536: error 61", "Remove a.ini.saving"}},
      {MemoryFiles::WriteFile,
       RuntimeError::DiskFull,
       1,
       "61: Disk full: a.ini",
       {"Create a.ini.saving", "Write a.ini.saving 65536", "Write a.ini.saving 4464: error 61",
        "Remove a.ini.saving"}},
      {MemoryFiles::FlushFile,
       RuntimeError::PathFileAccess,
       0,
       "75: Path/File access error: a.ini",
       {"Create a.ini.saving", "Write a.ini.saving 65536", "Write a.ini.saving 4464",
        "Flush a.ini.saving: error 75", "Remove a.ini.saving"}},
      {MemoryFiles::CloseFile,
       RuntimeError::DiskFull,
       0,
       "61: Disk full: a.ini",
       {"Create a.ini.saving", "Write a.ini.saving 65536", "Write a.ini.saving 4464", "Flush a.ini.saving",
        "Close a.ini.saving: error 61", "Remove a.ini.saving"}},
      {MemoryFiles::RenameFile,
       RuntimeError::PermissionDenied,
       0,
       "70: Permission denied: a.ini",
       {"Create a.ini.saving", "Write a.ini.saving 65536", "Write a.ini.saving 4464", "Flush a.ini.saving",
        "Close a.ini.saving", "Rename a.ini.saving -> a.ini: error 70", "Remove a.ini.saving"}},
  };
  for (const FailingStep& row : rows) {
    SCOPED_TRACE(row.log.back() + " after " + row.failure);
    MemoryFiles files;
    files.PutFile("a.ini", "old");
    files.FailNext(row.step, row.error, row.after);
    EXPECT_EQ(FailureOfReplacing(files, std::string(70'000, 'x')), row.failure);
    EXPECT_EQ(files.Log(), row.log);
    EXPECT_EQ(files.ReadWhole("a.ini"), "old");
    EXPECT_FALSE(files.HasFile("a.ini.saving"));
    EXPECT_EQ(FailureOfReplacing(files, "new"), "no failure");
    EXPECT_EQ(files.ReadWhole("a.ini"), "new");
  }
}

}  // namespace
}  // namespace orvo
