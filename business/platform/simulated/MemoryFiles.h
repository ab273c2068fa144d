// Files that exist in memory only, with scripted failures.
//
// Names are compared byte for byte; folders and links do not exist, so a name with separators is a name like
// others.
#pragma once

#include "errors/AutomationError.h"
#include "platform/Files.h"

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orvo {

class MemoryFiles final : public Files {
 public:
  // The steps of writing that can be made to fail.
  enum Step { CreateFile, WriteFile, FlushFile, CloseFile, RenameFile };

  // A scripted failure of the file first, each used up by one read; then the content, or error 53 without one.
  std::string ReadWhole(const std::string& fileName) override;
  std::string Resolve(const std::string& fileName) override { return fileName; }
  // What is written can be read at once. An output goes on with its file when that is renamed, and with a file
  // without a name when it is removed.
  std::unique_ptr<Output> Create(const std::string& fileName) override;
  void Rename(const std::string& from, const std::string& to) override;
  void Remove(const std::string& fileName) noexcept override;

  // Makes the file, or replaces its content.
  void PutFile(const std::string& fileName, std::string content);
  bool HasFile(const std::string& fileName) const { return contents_.contains(fileName); }
  // The next read of the file, existing or not, fails with `error`; several failures are used up in their
  // order.
  void FailNextRead(const std::string& fileName, RuntimeError error);
  // The next step of this kind, whatever its file, fails with `error` and changes nothing; `after` such steps
  // go through before. Several failures are used up in their order, each counting from the one before.
  void FailNext(Step step, RuntimeError error, int after = 0);

  // Every step of writing so far, in order: "Create a.saving", "Write a.saving 120" (bytes), "Flush a.saving",
  // "Close a.saving", "Rename a.saving -> a", and "Remove a" where there was such a file. A step that failed
  // ends in its error: "Flush a.saving: error 61". What PutFile does is no step.
  const std::vector<std::string>& Log() const noexcept { return log_; }
  void ClearLog() noexcept { log_.clear(); }

 private:
  class MemoryOutput;
  using Content = std::shared_ptr<std::string>;  // never null
  struct Failure {
    RuntimeError error;
    int after;
  };

  // Logs the step and raises its failure about `fileName`: the scripted one, or `own` if there is one.
  void Begin(Step step, const std::string& entry, const std::string& fileName,
             const RuntimeError* own = nullptr);

  std::map<std::string, Content> contents_;
  std::map<std::string, std::deque<RuntimeError>> readFailures_;  // no empty lists
  std::array<std::deque<Failure>, 5> failures_;                   // by step
  std::vector<std::string> log_;
};

}  // namespace orvo
