// A second, plainer reading of an INI text, for comparison with the system's own.
#pragma once

#include "values/Text.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::fuzz {

struct PlainIni {
  struct Line {
    std::string section;
    std::string key;
    std::string value;
    std::size_t number;
  };
  std::vector<Line> lines;            // the entries, in their order
  std::vector<std::string> sections;  // in the order of their first headers
  std::vector<std::size_t> passedOver;

  static std::string Trimmed(std::string text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
      text.pop_back();
    std::size_t first = 0;
    while (first < text.size() && (text[first] == ' ' || text[first] == '\t'))
      ++first;
    return text.substr(first);
  }

  explicit PlainIni(std::string text) {
    if (text.rfind("\xEF\xBB\xBF", 0) == 0) text.erase(0, 3);
    if (!IsWellFormedUtf8(text))
      text = DecodeWindows1252(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
    std::string section;
    bool inSection = false;
    std::size_t number = 0;
    for (std::size_t at = 0; at < text.size();) {
      ++number;
      std::string line;
      while (at < text.size() && text[at] != '\n')
        line += text[at++];
      ++at;
      if (!line.empty() && line.back() == '\r') line.pop_back();
      line = Trimmed(line);
      if (line.empty() || line[0] == ';' || line[0] == '#') continue;
      const std::size_t equals = line.find('=');
      if (line[0] == '[' && line.size() > 1 && line.back() == ']') {
        section = Trimmed(line.substr(1, line.size() - 2));
        inSection = true;
        bool known = false;
        for (const std::string& each : sections)
          known = known || each == section;
        if (!known) sections.push_back(section);
      } else if (!inSection || equals == std::string::npos) {
        passedOver.push_back(number);
      } else {
        lines.push_back({section, Trimmed(line.substr(0, equals)), Trimmed(line.substr(equals + 1)), number});
      }
    }
  }

  bool HasSection(std::string_view name) const {
    for (const std::string& section : sections)
      if (section == name) return true;
    return false;
  }
  std::optional<std::string> Value(std::string_view section, std::string_view key) const {
    for (const Line& line : lines)
      if (line.section == section && line.key == key) return line.value;
    return std::nullopt;
  }
};

}  // namespace orvo::fuzz
