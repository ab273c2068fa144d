#include "platform/Files.h"

#include "errors/AutomationError.h"

#include <cstddef>

namespace orvo {

namespace {

constexpr std::size_t ChunkSize = 64 * 1024;

void WriteFlushed(Files& files, const std::string& fileName, std::string_view content) {
  const std::unique_ptr<Files::Output> output = files.Create(fileName);
  while (!content.empty()) {
    const std::string_view chunk = content.substr(0, ChunkSize);
    output->Write(chunk);
    content.remove_prefix(chunk.size());
  }
  output->Flush();
  output->Close();
}

}  // namespace

void ReplaceWhole(Files& files, const std::string& fileName, std::string_view content) {
  std::string temporary;
  try {
    const std::string target = files.Resolve(fileName);
    temporary = target + ".saving";
    // One that an ended process left may be protected against writing.
    files.Remove(temporary);
    WriteFlushed(files, temporary, content);
    files.Rename(temporary, target);
  } catch (...) {
    const AutomationError failure = CaughtError();
    if (!temporary.empty()) files.Remove(temporary);
    RaiseRuntimeError(static_cast<RuntimeError>(failure.Number()), fileName);
  }
}

}  // namespace orvo
