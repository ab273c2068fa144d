#include "server/ConfigurationLoad.h"

#include "errors/ErrorHandling.h"
#include "server/KELDataServer.h"
#include "server/SavedConfiguration.h"
#include "values/Text.h"
#include "values/VariantConversion.h"

#include <array>
#include <cmath>
#include <limits>
#include <optional>

namespace orvo {

namespace {

// The fields of a value, without their outer blanks. One more than there are separators; the last is empty when
// the value ends in a separator.
std::vector<std::string> Split(std::string_view value) {
  std::vector<std::string> fields;
  for (;;) {
    const std::size_t end = value.find(saved::FieldEnd);
    fields.emplace_back(TrimBlanks(value.substr(0, end)));
    if (end == std::string_view::npos) return fields;
    value.remove_prefix(end + 1);
  }
}

// Field `number`, counted from 1; nothing when it is absent or empty.
std::optional<std::string> Field(const std::vector<std::string>& fields, std::size_t number) {
  if (number > fields.size() || fields[number - 1].empty()) return std::nullopt;
  return fields[number - 1];
}

}  // namespace

void ConfigurationLoad::Step(std::size_t line, const std::function<void()>& step) const {
  try {
    step();
  } catch (...) {
    failed_(line, CaughtError());
  }
}

void ConfigurationLoad::Malformed(std::string_view section, const IniFile::Entry& entry,
                                  std::string_view text) const {
  RaiseDataError(errInvalidFileFormat, fileName_ + ", line " + std::to_string(entry.line) + ", section '" +
                                           std::string(section) + "', key '" + entry.key + "': '" +
                                           std::string(text) + "'");
}

double ConfigurationLoad::Number(std::string_view section, const IniFile::Entry& entry,
                                 std::string_view text) const {
  const std::optional<double> number = ParseDecimal(text);
  if (!number.has_value() || !std::isfinite(*number)) Malformed(section, entry, text);
  return *number;
}

// A compiled address is any double; what is no number is written as "inf", "-inf", "nan" and "-nan".
double ConfigurationLoad::Address(std::string_view section, const IniFile::Entry& entry,
                                  std::string_view text) const {
  if (text == "inf") return std::numeric_limits<double>::infinity();
  if (text == "-inf") return -std::numeric_limits<double>::infinity();
  if (text == "nan") return std::numeric_limits<double>::quiet_NaN();
  if (text == "-nan") return -std::numeric_limits<double>::quiet_NaN();
  return Number(section, entry, text);
}

std::int32_t ConfigurationLoad::Integer(std::string_view section, const IniFile::Entry& entry,
                                        std::string_view text) const {
  const double number = Number(section, entry, text);
  try {
    return RoundToI4(number);
  } catch (const AutomationError&) {
    Malformed(section, entry, text);
  }
}

std::int16_t ConfigurationLoad::ShortInteger(std::string_view section, const IniFile::Entry& entry,
                                             std::string_view text) const {
  const std::int32_t number = Integer(section, entry, text);
  if (number < std::numeric_limits<std::int16_t>::min() || number > std::numeric_limits<std::int16_t>::max())
    Malformed(section, entry, text);
  return static_cast<std::int16_t>(number);
}

bool ConfigurationLoad::Flag(std::string_view section, const IniFile::Entry& entry,
                             std::string_view text) const {
  try {
    return ToBoolean(Variant(text));
  } catch (const AutomationError&) {
    Malformed(section, entry, text);
  }
}

void ConfigurationLoad::ApplyParameter(std::string_view key,
                                       const std::function<void(const IniFile::Entry&)>& apply) const {
  const IniFile::Entry* entry = file_.Find(saved::CommunicationSection, key);
  if (entry != nullptr) Step(entry->line, [&] { apply(*entry); });
}

// With errors ignored the value is put and read back; what then differs from the file could not be set.
void ConfigurationLoad::ApplyReadBack(std::string_view key, const std::function<void(std::int32_t)>& put,
                                      const std::function<std::int32_t()>& get, const char* failure) const {
  ApplyParameter(key, [&](const IniFile::Entry& entry) {
    const double wanted = Number(saved::CommunicationSection, entry, entry.value);
    bool same = false;
    Suppressed([&] { put(RoundToI4(wanted)); });
    Suppressed([&] { same = static_cast<double>(get()) == wanted; });
    if (!same) RaiseDataError(errCommunication, failure);
  });
}

// kept: port and baud rate come before the device type here, although a save writes the baud rate first.
void ConfigurationLoad::ApplyParameters() {
  const std::string_view section = saved::CommunicationSection;
  ApplyReadBack(
      saved::ComPortNumberKey, [&](std::int32_t value) { server_.PutComPortNumber(value); },
      [&] { return server_.ComPortNumber(); }, "Can't set COM port");
  ApplyReadBack(
      saved::BaudRateKey, [&](std::int32_t value) { server_.PutBaudRate(value); },
      [&] { return server_.BaudRate(); }, "Can't set Baudrate");
  ApplyParameter(saved::DeviceTypeKey, [&](const IniFile::Entry& entry) {
    server_.PutDeviceType(Integer(section, entry, entry.value));
  });
  ApplyParameter(saved::DeviceNameKey,
                 [&](const IniFile::Entry& entry) { server_.SetDeviceName(entry.value); });
  ApplyParameter(saved::WordIOKey, [&](const IniFile::Entry& entry) {
    server_.PutWordIO(ShortInteger(section, entry, entry.value));
  });
  ApplyParameter(saved::TimeoutKey, [&](const IniFile::Entry& entry) {
    server_.PutTimeout(ShortInteger(section, entry, entry.value));
  });
  ApplyParameter(saved::AutoDownloadFirmwareKey, [&](const IniFile::Entry& entry) {
    server_.PutAutoDownloadFirmware(Flag(section, entry, entry.value));
  });
  ApplyParameter(saved::AutoDownloadProjectKey, [&](const IniFile::Entry& entry) {
    server_.PutAutoDownloadProject(Flag(section, entry, entry.value));
  });
}

void ConfigurationLoad::ApplyGroups() {
  Step(0, [&] { server_.KELDataGroups()->RemoveAll(); });
  for (const IniFile::Entry& entry : file_.Entries(saved::GroupsSection))
    Step(entry.line, [&] { ApplyGroup(entry); });
}

// kept: the group is activated before it has items and before it has its update rate.
void ConfigurationLoad::ApplyGroup(const IniFile::Entry& entry) const {
  const std::string_view section = saved::GroupsSection;
  const std::shared_ptr<KELDataGroup> group = server_.KELDataGroups()->Add(entry.key);
  const std::vector<std::string> fields = Split(entry.value);
  const auto field = [&](std::size_t number, const std::function<void(const std::string&)>& apply) {
    if (const std::optional<std::string> text = Field(fields, number)) Step(entry.line, [&] { apply(*text); });
  };
  field(1, [&](const std::string& text) { group->PutActive(Flag(section, entry, text)); });
  field(2, [&](const std::string& text) { group->PutSubscribed(Flag(section, entry, text)); });
  field(3, [&](const std::string& text) { group->PutUpdateRate(Integer(section, entry, text)); });
  field(4, [&](const std::string& text) { group->SetGroupId(Integer(section, entry, text)); });
  field(5, [&](const std::string& text) {
    const std::int32_t dimension = Integer(section, entry, text);
    if (dimension < 0) Malformed(section, entry, text);
    // kept: the file holds the upper bound, and it is taken as the dimension.
    group->SetCompiledBufferDimension(dimension);
  });
}

void ConfigurationLoad::ApplyItems() {
  for (const std::shared_ptr<KELDataGroup>& group : server_.KELDataGroups()->NewEnum()) {
    const std::string section = saved::GroupSectionPrefix + group->GroupName();
    if (file_.HasSection(section)) ApplyGroupItems(*group, section);
  }
}

void ConfigurationLoad::ApplyGroupItems(KELDataGroup& group, const std::string& section) const {
  for (const IniFile::Entry& entry : file_.Entries(section))
    Step(entry.line, [&] { ApplyItem(group, section, entry); });
  Step(file_.SectionLine(section), [&] {
    const bool fits = WithTrace(
        OwnErrors::Wrap, [&] { return ":Server.LoadConfigurationFromFile(FileName=" + fileName_; },
        [&] { return group.FitsDevice(); });
    // kept: no blank after the equals sign here.
    if (!fits) RaiseDataError(errInvalidGroupSize, "GroupName=" + group.GroupName());
  });
}

struct ConfigurationLoad::ItemFields {
  std::optional<std::int32_t> itemType, groupBufferOffset, wordLength, accessRights;
  std::optional<double> compiledAddress;
  std::optional<bool> isSigned, isBcd;
};

// All fields are read before the item is added: an item with half its facts would read another place of the
// device.
void ConfigurationLoad::ApplyItem(KELDataGroup& group, const std::string& section,
                                  const IniFile::Entry& entry) const {
  const std::vector<std::string> texts = Split(entry.value);
  const auto integer = [&](std::size_t number) -> std::optional<std::int32_t> {
    const auto text = Field(texts, number);
    return text ? std::optional(Integer(section, entry, *text)) : std::nullopt;
  };
  const auto flag = [&](std::size_t number) -> std::optional<bool> {
    const auto text = Field(texts, number);
    return text ? std::optional(Flag(section, entry, *text)) : std::nullopt;
  };
  ItemFields fields;
  fields.itemType = integer(2);
  fields.groupBufferOffset = integer(3);
  fields.wordLength = integer(4);
  if (const auto text = Field(texts, 5)) fields.compiledAddress = Address(section, entry, *text);
  fields.accessRights = integer(6);
  fields.isSigned = flag(7);
  fields.isBcd = flag(8);

  const std::string& itemId = texts.front();
  KELDataItems& items = group.Items();
  const std::shared_ptr<KELDataItem> item = items.Add(itemId, Variant(entry.key));
  item->SetItemId(itemId);
  if (fields.itemType) item->SetItemType(*fields.itemType);
  if (fields.groupBufferOffset) item->SetItemGroupBufferOffset(*fields.groupBufferOffset);
  if (fields.wordLength) items.ResizeItem(*item, *fields.wordLength);
  if (fields.compiledAddress) item->SetCompiledAddress(*fields.compiledAddress);
  if (fields.accessRights) item->SetAccessRights(*fields.accessRights);
  if (fields.isSigned) item->PutSigned(*fields.isSigned);
  if (fields.isBcd) item->PutBCD(*fields.isBcd);
  try {
    server_.RequireDevice()->ItemLoaded(itemId, item->CompiledAddress(), item->ItemWordLength(),
                                        item->ItemType());
  } catch (...) {
    items.Discard(*item);
    RaiseDataError(errInvalidItemId, itemId + items.GroupDetail());
  }
}

}  // namespace orvo
