// Applies a saved configuration to a server, step by step.
#pragma once

#include "errors/AutomationError.h"
#include "server/IniFile.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

class KELDataGroup;
class KELDataServer;

class ConfigurationLoad {
 public:
  // Gets the failure of a single key, group or item and the line that it stands in (0: none). Where it returns,
  // the failure is passed over; where it raises, the load ends there and what was applied before stays.
  using Failed = std::function<void(std::size_t line, const AutomationError& error)>;

  // `fileName` is for error texts.
  ConfigurationLoad(KELDataServer& server, const IniFile& file, std::string fileName, Failed failed)
      : server_(server), file_(file), fileName_(std::move(fileName)), failed_(std::move(failed)) {}

  void ApplyParameters();
  void ApplyGroups();
  void ApplyItems();

 private:
  struct ItemFields;

  void Step(std::size_t line, const std::function<void()>& step) const;
  void ApplyReadBack(std::string_view key, const std::function<void(std::int32_t)>& put,
                     const std::function<std::int32_t()>& get, const char* failure) const;
  void ApplyParameter(std::string_view key, const std::function<void(const IniFile::Entry&)>& apply) const;
  void ApplyGroup(const IniFile::Entry& entry) const;
  void ApplyGroupItems(KELDataGroup& group, const std::string& section) const;
  void ApplyItem(KELDataGroup& group, const std::string& section, const IniFile::Entry& entry) const;

  // Values of an entry of `section`; errInvalidFileFormat, naming file, section and key, when malformed.
  [[noreturn]] void Malformed(std::string_view section, const IniFile::Entry& entry,
                              std::string_view text) const;
  double Number(std::string_view section, const IniFile::Entry& entry, std::string_view text) const;
  double Address(std::string_view section, const IniFile::Entry& entry, std::string_view text) const;
  std::int32_t Integer(std::string_view section, const IniFile::Entry& entry, std::string_view text) const;
  std::int16_t ShortInteger(std::string_view section, const IniFile::Entry& entry, std::string_view text) const;
  bool Flag(std::string_view section, const IniFile::Entry& entry, std::string_view text) const;

  KELDataServer& server_;
  const IniFile& file_;
  const std::string fileName_;
  const Failed failed_;
};

}  // namespace orvo
