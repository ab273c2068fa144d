#include "platform/simulated/MemoryFiles.h"
#include "unit/platform/FailureOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvo {
namespace {

TEST(MemoryFiles, ReadsWhatWasPutByteForByteAgainAndAgain) {
  MemoryFiles files;
  const std::string content("a\r\n\0\xFF z\x1A", 9);
  files.PutFile("drivers.ini", content);
  EXPECT_EQ(files.ReadWhole("drivers.ini"), content);
  EXPECT_EQ(files.ReadWhole("drivers.ini"), content);
  files.PutFile("drivers.ini", "");
  EXPECT_EQ(files.ReadWhole("drivers.ini"), "");
}

TEST(MemoryFiles, FileThatDoesNotExistIsError53) {
  MemoryFiles files;
  files.PutFile("Drivers.ini", "x");
  EXPECT_EQ(FailureOf(files, "drivers.ini"), "53: File not found: drivers.ini");
  files.Remove("Drivers.ini");
  files.Remove("never.ini");
  EXPECT_EQ(FailureOf(files, "Drivers.ini"), "53: File not found: Drivers.ini");
}

TEST(MemoryFiles, ScriptedFailuresAreUsedUpInOrderByReadsOfTheirFile) {
  MemoryFiles files;
  files.PutFile("a", "content");
  files.PutFile("b", "other");
  files.FailNextRead("a", RuntimeError::PermissionDenied);
  files.FailNextRead("a", RuntimeError::PathFileAccess);
  files.FailNextRead("c", RuntimeError::PathNotFound);
  EXPECT_EQ(files.ReadWhole("b"), "other");
  EXPECT_EQ(FailureOf(files, "a"), "70: Permission denied: a");
  EXPECT_EQ(FailureOf(files, "a"), "75: Path/File access error: a");
  EXPECT_EQ(files.ReadWhole("a"), "content");
  EXPECT_EQ(FailureOf(files, "c"), "76: Path not found: c");
  EXPECT_EQ(FailureOf(files, "c"), "53: File not found: c");
}

TEST(MemoryFiles, WhatIsWrittenCanBeReadAtOnceAndCreatingEmptiesAFile) {
  MemoryFiles files;
  files.PutFile("a", "old");
  const auto output = files.Create("a");
  EXPECT_EQ(files.ReadWhole("a"), "");
  output->Write("one ");
  output->Write(std::string("t\0o", 3));
  EXPECT_EQ(files.ReadWhole("a"), std::string("one t\0o", 7));
  output->Flush();
  output->Close();
  EXPECT_EQ(files.ReadWhole("a"), std::string("one t\0o", 7));
}

TEST(MemoryFiles, OutputGoesOnWithItsFileWhenThatIsRenamedOrRemoved) {
  MemoryFiles files;
  const auto output = files.Create("a");
  files.Rename("a", "b");
  output->Write("x");
  EXPECT_EQ(files.ReadWhole("b"), "x");
  files.Remove("b");
  output->Write("y");
  EXPECT_FALSE(files.HasFile("a"));
  EXPECT_FALSE(files.HasFile("b"));
}

TEST(MemoryFiles, NothingCanBeWrittenAfterClose) {
  MemoryFiles files;
  const auto output = files.Create("a");
  output->Close();
  EXPECT_EQ(FailureOf([&] { output->Write("x"); }), "75: Path/File access error: a");
  EXPECT_EQ(FailureOf([&] { output->Flush(); }), "75: Path/File access error: a");
  EXPECT_EQ(FailureOf([&] { output->Close(); }), "75: Path/File access error: a");
  EXPECT_EQ(files.ReadWhole("a"), "");
}

TEST(MemoryFiles, RenameReplacesAndKeepsAFileThatIsRenamedToItself) {
  MemoryFiles files;
  files.PutFile("a", "new");
  files.PutFile("b", "old");
  files.Rename("a", "b");
  EXPECT_EQ(files.ReadWhole("b"), "new");
  EXPECT_FALSE(files.HasFile("a"));
  files.Rename("b", "b");
  EXPECT_EQ(files.ReadWhole("b"), "new");
}

TEST(MemoryFiles, RenameOfAMissingFileIsError53AndChangesNothing) {
  MemoryFiles files;
  files.PutFile("b", "old");
  EXPECT_EQ(FailureOf([&] { files.Rename("a", "b"); }), "53: File not found: a");
  EXPECT_EQ(files.ReadWhole("b"), "old");
  EXPECT_FALSE(files.HasFile("a"));
  EXPECT_THAT(files.Log(), testing::ElementsAre("Rename a -> b: error 53"));
}

TEST(MemoryFiles, NameStandsForItself) {
  MemoryFiles files;
  EXPECT_EQ(files.Resolve("x/../a"), "x/../a");
}

TEST(MemoryFiles, LogHasTheStepsOfWritingOnlyUntilItIsCleared) {
  MemoryFiles files;
  files.PutFile("a", "x");
  files.ReadWhole("a");
  files.Remove("never");
  EXPECT_THAT(files.Log(), testing::IsEmpty());
  files.Remove("a");
  files.Create("b")->Write("1234");
  EXPECT_THAT(files.Log(), testing::ElementsAre("Remove a", "Create b", "Write b 4"));
  files.ClearLog();
  EXPECT_THAT(files.Log(), testing::IsEmpty());
}

TEST(MemoryFiles, ScriptedFailureOfAStepComesAfterSoManyAndTheNextCountsFromThere) {
  MemoryFiles files;
  files.FailNext(MemoryFiles::WriteFile, RuntimeError::DiskFull, 2);
  files.FailNext(MemoryFiles::WriteFile, RuntimeError::PathFileAccess, 1);
  files.FailNext(MemoryFiles::WriteFile, RuntimeError::PermissionDenied);
  const auto output = files.Create("a");
  std::vector<std::string> failures;
  for (const char* text : {"1", "2", "3", "4", "5", "6", "7"})
    failures.push_back(FailureOf([&] { output->Write(text); }));
  EXPECT_THAT(failures,
              testing::ElementsAre("no failure", "no failure", "61: Disk full: a", "no failure",
                                   "75: Path/File access error: a", "70: Permission denied: a", "no failure"));
  EXPECT_EQ(files.ReadWhole("a"), "1247");
}

TEST(MemoryFiles, StepThatFailsChangesNothing) {
  MemoryFiles files;
  files.PutFile("a", "old");
  files.FailNext(MemoryFiles::CreateFile, RuntimeError::PermissionDenied);
  EXPECT_EQ(FailureOf([&] { files.Create("a"); }), "70: Permission denied: a");
  EXPECT_EQ(files.ReadWhole("a"), "old");
  files.FailNext(MemoryFiles::RenameFile, RuntimeError::PermissionDenied);
  EXPECT_EQ(FailureOf([&] { files.Rename("a", "b"); }), "70: Permission denied: b");
  EXPECT_EQ(files.ReadWhole("a"), "old");
  EXPECT_FALSE(files.HasFile("b"));
}

}  // namespace
}  // namespace orvo
