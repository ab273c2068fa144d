// Sections, keys and values of an INI text, in their order and as the text spells them.
//
// A line is a section "[name]", an entry "key=value" (cut at the first "="), a comment (first character ";" or
// "#"), or blank; other lines are passed over. Outer blanks of names, keys and values do not count. Names are
// matched exactly. A section or key that comes again adds to, or is hidden by, the first of its name. The text
// may be UTF-8 (with or without byte-order mark) or Windows-1252, its lines may end in LF or CR LF.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orvo {

class IniFile {
 public:
  struct Entry {
    std::string key;
    std::string value;
    std::size_t line;  // counted from 1
  };

  IniFile() = default;
  struct SectionPlace {
    std::string name;
    std::size_t line;  // of its first header, counted from 1
  };
  // Told of each line that is passed over: its number and its text without outer blanks.
  using PassedOver = std::function<void(std::size_t line, std::string_view text)>;

  // Never fails: any text is an INI text. Linear in its length.
  static IniFile Parse(std::string_view text, const PassedOver& passedOver = {});

  // In the order of their first headers.
  std::vector<SectionPlace> Sections() const;
  // The line of a section's first header; 0 for an unknown section.
  std::size_t SectionLine(std::string_view section) const;
  bool HasSection(std::string_view section) const { return FindSection(section) != nullptr; }
  // The first entry with this key, or null.
  const Entry* Find(std::string_view section, std::string_view key) const;
  // The value of the first entry with this key, or nothing.
  std::optional<std::string> Value(std::string_view section, std::string_view key) const;
  // The entries of a section in their order; none for an unknown section.
  const std::vector<Entry>& Entries(std::string_view section) const;

 private:
  struct Section {
    std::string name;
    std::size_t line;
    std::vector<Entry> entries;
    std::unordered_map<std::string, std::size_t> index;  // key -> first entry
  };
  const Section* FindSection(std::string_view section) const;
  Section& SectionNamed(std::string_view section, std::size_t line);

  std::vector<Section> sections_;
  std::unordered_map<std::string, std::size_t> index_;  // name -> section
};

}  // namespace orvo
