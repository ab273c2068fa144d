#include "server/IniFile.h"

#include "values/Text.h"

#include <cstdint>
#include <span>

namespace orvo {

const IniFile::Entry* IniFile::Find(std::string_view section, std::string_view key) const {
  const Section* found = FindSection(section);
  if (found == nullptr) return nullptr;
  const auto entry = found->index.find(std::string(key));
  return entry == found->index.end() ? nullptr : &found->entries[entry->second];
}

std::optional<std::string> IniFile::Value(std::string_view section, std::string_view key) const {
  const Entry* entry = Find(section, key);
  return entry == nullptr ? std::nullopt : std::optional(entry->value);
}

const std::vector<IniFile::Entry>& IniFile::Entries(std::string_view section) const {
  static const std::vector<Entry> none;
  const Section* found = FindSection(section);
  return found == nullptr ? none : found->entries;
}

const IniFile::Section* IniFile::FindSection(std::string_view section) const {
  const auto found = index_.find(std::string(section));
  return found == index_.end() ? nullptr : &sections_[found->second];
}

std::vector<IniFile::SectionPlace> IniFile::Sections() const {
  std::vector<SectionPlace> places;
  places.reserve(sections_.size());
  for (const Section& section : sections_)
    places.push_back({section.name, section.line});
  return places;
}

std::size_t IniFile::SectionLine(std::string_view section) const {
  const Section* found = FindSection(section);
  return found == nullptr ? 0 : found->line;
}

IniFile::Section& IniFile::SectionNamed(std::string_view section, std::size_t line) {
  const auto [found, added] = index_.try_emplace(std::string(section), sections_.size());
  if (added) sections_.push_back({std::string(section), line, {}, {}});
  return sections_[found->second];
}

IniFile IniFile::Parse(std::string_view text, const PassedOver& passedOver) {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  std::string decoded;
  if (text.starts_with(mark)) text.remove_prefix(mark.size());
  if (!IsWellFormedUtf8(text)) {
    decoded = DecodeWindows1252(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
    text = decoded;
  }
  IniFile file;
  Section* section = nullptr;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    line = TrimBlanks(line);
    if (line.empty() || line.front() == ';' || line.front() == '#') continue;
    if (line.front() == '[' && line.back() == ']') {
      section = &file.SectionNamed(TrimBlanks(line.substr(1, line.size() - 2)), number);
      continue;
    }
    const std::size_t equals = line.find('=');
    if (section == nullptr || equals == std::string_view::npos) {
      if (passedOver) passedOver(number, line);
      continue;
    }
    Entry entry{std::string(TrimBlanks(line.substr(0, equals))),
                std::string(TrimBlanks(line.substr(equals + 1))), number};
    section->index.try_emplace(entry.key, section->entries.size());
    section->entries.push_back(std::move(entry));
  }
  return file;
}

}  // namespace orvo
