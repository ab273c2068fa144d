// Files of the disk in a process that ends at a chosen moment, and the exit codes that tell how it ended.
#pragma once

#include "platform/portable/DiskFiles.h"

#include <unistd.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace orvo {

inline constexpr int Ended = 17;
inline constexpr int Finished = 18;
inline constexpr int Failed = 19;

// The moments are the begin and the end of every step that writes, and the middle of every write. None before
// Arm.
class EndingFiles final : public Files {
 public:
  // Ends the process at the moment after `moments` others.
  void Arm(int moments) { left_ = moments; }

  std::string ReadWhole(const std::string& fileName) override { return disk_.ReadWhole(fileName); }
  std::string Resolve(const std::string& fileName) override { return disk_.Resolve(fileName); }
  std::unique_ptr<Output> Create(const std::string& fileName) override {
    Moment();
    auto output = std::make_unique<EndingOutput>(*this, disk_.Create(fileName));
    Moment();
    return output;
  }
  void Rename(const std::string& from, const std::string& to) override {
    Moment();
    disk_.Rename(from, to);
    Moment();
  }
  void Remove(const std::string& fileName) noexcept override {
    Moment();
    disk_.Remove(fileName);
    Moment();
  }

 private:
  class EndingOutput final : public Output {
   public:
    EndingOutput(EndingFiles& files, std::unique_ptr<Output> output)
        : files_(files), output_(std::move(output)) {}

    void Write(std::string_view bytes) override {
      files_.Moment();
      output_->Write(bytes.substr(0, bytes.size() / 2));
      files_.Moment();
      output_->Write(bytes.substr(bytes.size() / 2));
      files_.Moment();
    }
    void Flush() override {
      files_.Moment();
      output_->Flush();
      files_.Moment();
    }
    void Close() override {
      files_.Moment();
      output_->Close();
      files_.Moment();
    }

   private:
    EndingFiles& files_;
    const std::unique_ptr<Output> output_;
  };

  void Moment() {
    if (left_ >= 0 && left_-- == 0) ::_exit(Ended);
  }

  DiskFiles disk_;
  int left_ = -1;
};

}  // namespace orvo
