#include "simulated/PanelScript.h"

#include "errors/AutomationError.h"
#include "simulated/PanelErrors.h"
#include "simulated/PanelItem.h"
#include "simulated/PanelScriptLine.h"
#include "simulated/PanelStatements.h"
#include "values/Text.h"

#include <span>

namespace orvo {

namespace {

// The text without its byte order mark, as UTF-8; `decoded` holds it when it had to be translated.
std::string_view AsUtf8(std::string_view text, std::string& decoded) {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  if (text.starts_with(mark)) text.remove_prefix(mark.size());
  if (IsWellFormedUtf8(text)) return text;
  decoded = DecodeWindows1252(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
  return decoded;
}

}  // namespace

PanelScript PanelScript::Parse(std::string_view name, std::string_view text) {
  std::string decoded;
  text = AsUtf8(text, decoded);
  PanelScript script;
  std::size_t mistakes = 0;
  std::string list;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    try {
      ReadPanelStatement(line, script);
    } catch (const AutomationError& error) {
      if (++mistakes <= MistakesShown)
        list += "\r\nline " + std::to_string(number) + ": " + error.Description();
    }
  }
  if (mistakes == 0) return script;
  if (mistakes > MistakesShown) list += "\r\nand " + std::to_string(mistakes - MistakesShown) + " more";
  throw AutomationError(
      PanelBadValue, "The panel script '" + std::string(name) + "' has " +
                         (mistakes == 1 ? "1 mistake" : std::to_string(mistakes) + " mistakes") + ":" + list);
}

PanelOptions PanelScript::Applied(PanelOptions options) const {
  for (const PanelSetting& setting : settings)
    setting(options);
  options.signals.insert(options.signals.end(), signals.begin(), signals.end());
  return options;
}

void PanelScript::PutMemory(PanelMemory& target) const {
  for (const MemoryEntry& entry : memory)
    WritePanelItem(target, entry.item, entry.wordLength, entry.value);
}

}  // namespace orvo
