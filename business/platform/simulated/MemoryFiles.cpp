#include "platform/simulated/MemoryFiles.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace orvo {

class MemoryFiles::MemoryOutput final : public Files::Output {
 public:
  MemoryOutput(MemoryFiles& files, std::string fileName, Content content)
      : files_(files), fileName_(std::move(fileName)), content_(std::move(content)) {}

  void Write(std::string_view bytes) override {
    Begin(WriteFile, "Write " + fileName_ + " " + std::to_string(bytes.size()));
    content_->append(bytes);
  }
  void Flush() override { Begin(FlushFile, "Flush " + fileName_); }
  void Close() override {
    Begin(CloseFile, "Close " + fileName_);
    closed_ = true;
  }

 private:
  void Begin(Step step, const std::string& entry) {
    constexpr RuntimeError AfterClose = RuntimeError::PathFileAccess;
    files_.Begin(step, entry, fileName_, closed_ ? &AfterClose : nullptr);
  }

  MemoryFiles& files_;
  const std::string fileName_;
  const Content content_;
  bool closed_ = false;
};

std::string MemoryFiles::ReadWhole(const std::string& fileName) {
  if (const auto scripted = readFailures_.find(fileName); scripted != readFailures_.end()) {
    const RuntimeError error = scripted->second.front();
    scripted->second.pop_front();
    if (scripted->second.empty()) readFailures_.erase(scripted);
    RaiseRuntimeError(error, fileName);
  }
  const auto found = contents_.find(fileName);
  if (found == contents_.end()) RaiseRuntimeError(RuntimeError::FileNotFound, fileName);
  return *found->second;
}

std::unique_ptr<Files::Output> MemoryFiles::Create(const std::string& fileName) {
  Begin(CreateFile, "Create " + fileName, fileName);
  Content& content = contents_[fileName];
  if (content == nullptr) content = std::make_shared<std::string>();
  content->clear();
  return std::make_unique<MemoryOutput>(*this, fileName, content);
}

void MemoryFiles::Rename(const std::string& from, const std::string& to) {
  constexpr RuntimeError Missing = RuntimeError::FileNotFound;
  const bool exists = HasFile(from);
  Begin(RenameFile, "Rename " + from + " -> " + to, exists ? to : from, exists ? nullptr : &Missing);
  const Content content = contents_[from];
  contents_.erase(from);
  contents_[to] = content;
}

void MemoryFiles::Remove(const std::string& fileName) noexcept {
  if (contents_.erase(fileName) != 0) log_.push_back("Remove " + fileName);
}

void MemoryFiles::PutFile(const std::string& fileName, std::string content) {
  contents_[fileName] = std::make_shared<std::string>(std::move(content));
}

void MemoryFiles::FailNextRead(const std::string& fileName, RuntimeError error) {
  readFailures_[fileName].push_back(error);
}

void MemoryFiles::FailNext(Step step, RuntimeError error, int after) {
  failures_.at(step).push_back({error, after});
}

void MemoryFiles::Begin(Step step, const std::string& entry, const std::string& fileName,
                        const RuntimeError* own) {
  log_.push_back(entry);
  std::deque<Failure>& scripted = failures_.at(step);
  RuntimeError error{};
  if (!scripted.empty() && scripted.front().after-- == 0) {
    error = scripted.front().error;
    scripted.pop_front();
  } else if (own != nullptr) {
    error = *own;
  } else {
    return;
  }
  log_.back() += ": error " + std::to_string(static_cast<std::int32_t>(error));
  RaiseRuntimeError(error, fileName);
}

}  // namespace orvo
