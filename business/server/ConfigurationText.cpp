#include "errors/ErrorHandling.h"
#include "server/KELDataServer.h"
#include "server/SavedConfiguration.h"
#include "values/Text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace orvo {

namespace {

std::string Decimal(std::int32_t number) {
  return std::to_string(number);
}

// The shortest text that reads back as the same number.
std::string Decimal(double number) {
  std::array<char, 32> text{};
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number);
  static_cast<void>(error);  // 32 characters hold every double
  return {text.data(), end};
}

const char* Word(bool value) {
  return value ? "True" : "False";
}

void RequireCarried(std::string_view text, std::int32_t code, const char* what) {
  if (IsCarried(text)) return;
  RaiseDataError(code, std::string(text) + ": this " + what + " can't be saved");
}

class Writer {
 public:
  void Section(const std::string& name) { text_.append("[").append(name).append("]\r\n"); }
  void Entry(const std::string& key, const std::string& value) {
    text_.append(key).append("=").append(value).append("\r\n");
  }
  std::string Take() { return std::move(text_); }

 private:
  std::string text_;
};

// Joins fields, each followed by "#".
std::string Fields(std::initializer_list<std::string> fields) {
  std::string value;
  for (const std::string& field : fields)
    (value += field) += saved::FieldEnd;
  return value;
}

void WriteParameters(Writer& writer, KELDataServer& server) {
  if (!IsCarriedAsValue(server.DeviceName()))
    RaiseDataError(errInvalidName, server.DeviceName() + ": this device name can't be saved");
  writer.Section(saved::CommunicationSection);
  writer.Entry(saved::BaudRateKey, Decimal(server.BaudRate()));
  writer.Entry(saved::ComPortNumberKey, Decimal(server.ComPortNumber()));
  writer.Entry(saved::DeviceTypeKey, Decimal(server.DeviceType()));
  writer.Entry(saved::DeviceNameKey, server.DeviceName());
  writer.Entry(saved::WordIOKey, Decimal(server.WordIO()));
  writer.Entry(saved::TimeoutKey, Decimal(server.Timeout()));
  writer.Entry(saved::AutoDownloadFirmwareKey, Word(server.AutoDownloadFirmware()));
  writer.Entry(saved::AutoDownloadProjectKey, Word(server.AutoDownloadProject()));
}

void WriteGroup(Writer& writer, const KELDataGroup& group) {
  RequireCarried(group.GroupName(), errInvalidName, "group name");
  std::string value = Fields(
      {Word(group.Active()), Word(group.Subscribed()), Decimal(group.UpdateRate()), Decimal(group.GroupId())});
  // kept: the upper bound, which a load takes for the length; the buffer loses a byte each time.
  if (const auto buffer = group.CompiledBuffer(); !buffer.IsEmpty())
    value += Fields({Decimal(buffer.UpperBound())});
  writer.Entry(group.GroupName(), value);
}

void WriteItem(Writer& writer, const KELDataItem& item) {
  RequireCarried(item.ItemName(), errInvalidName, "item name");
  RequireCarried(item.ItemId(), errInvalidItemId, "item identifier");
  writer.Entry(item.ItemName(),
               Fields({item.ItemId(), Decimal(item.ItemType()), Decimal(item.ItemGroupBufferOffset()),
                       Decimal(item.ItemWordLength()), Decimal(item.CompiledAddress()),
                       Decimal(item.AccessRights()), Word(item.Signed()), Word(item.BCD())}));
}

}  // namespace

bool IsCarriedAsValue(std::string_view text) noexcept {
  const auto control = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  return TrimBlanks(text) == text && std::none_of(text.begin(), text.end(), control) && IsWellFormedUtf8(text);
}

bool IsCarried(std::string_view text) noexcept {
  return IsCarriedAsValue(text) && !text.starts_with(';') &&
         text.find_first_of("=#[]") == std::string_view::npos;
}

std::string ConfigurationText(KELDataServer& server) {
  Writer writer;
  WriteParameters(writer, server);
  const std::shared_ptr<KELDataGroups> groups = server.KELDataGroups();
  const std::vector<std::shared_ptr<KELDataGroup>> all = groups->NewEnum();
  writer.Section(saved::GroupsSection);
  for (const auto& group : all)
    WriteGroup(writer, *group);
  for (const auto& group : all) {
    writer.Section(saved::GroupSectionPrefix + group->GroupName());
    group->Items().Walk([&](const KELDataItem& item) {
      WriteItem(writer, item);
      return false;
    });
  }
  return writer.Take();
}

}  // namespace orvo
