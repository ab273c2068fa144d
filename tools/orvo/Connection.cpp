#include "Connection.h"

#include "ExitCode.h"
#include "errors/AutomationError.h"
#include "server/KELDataServer.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <array>

namespace orvo::client {

namespace {

struct Property {
  std::string_view name;
  void (*put)(KELDataServer& server, const Variant& value);
};

constexpr std::array<Property, 7> Properties{{
    {"BaudRate", [](KELDataServer& server, const Variant& value) { server.PutBaudRate(ToI4(value)); }},
    {"ComPortNumber",
     [](KELDataServer& server, const Variant& value) { server.PutComPortNumber(ToI4(value)); }},
    {"Timeout", [](KELDataServer& server, const Variant& value) { server.PutTimeout(ToI2(value)); }},
    {"WordIO", [](KELDataServer& server, const Variant& value) { server.PutWordIO(ToI2(value)); }},
    {"ProjectName", [](KELDataServer& server, const Variant& value) { server.PutProjectName(ToText(value)); }},
    {"AutoDownloadFirmware",
     [](KELDataServer& server, const Variant& value) { server.PutAutoDownloadFirmware(ToBoolean(value)); }},
    {"AutoDownloadProject",
     [](KELDataServer& server, const Variant& value) { server.PutAutoDownloadProject(ToBoolean(value)); }},
}};

const Property* Find(std::string_view name) {
  const auto* const found =
      std::find_if(Properties.begin(), Properties.end(), [&](const Property& p) { return p.name == name; });
  return found == Properties.end() ? nullptr : found;
}

}  // namespace

Setting Setting::Parse(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos)
    throw UsageError("--set " + std::string(text) + ": a setting is NAME=VALUE, for example BaudRate=19200");
  Setting setting{std::string(text.substr(0, equals)), std::string(text.substr(equals + 1))};
  if (Find(setting.name) != nullptr) return setting;
  std::string names;
  for (const Property& property : Properties)
    names.append(names.empty() ? "" : ", ").append(property.name);
  throw UsageError("--set " + setting.name + ": there is no such setting; there are " + names);
}

void Setting::Apply(KELDataServer& server) const {
  try {
    Find(name)->put(server, Variant(value));
  } catch (const AutomationError& error) {
    // What the server refuses has a number of its own table; these two come from the conversion.
    if (error.Number() != static_cast<std::int32_t>(RuntimeError::TypeMismatch) &&
        error.Number() != static_cast<std::int32_t>(RuntimeError::Overflow))
      throw;
    throw UsageError("--set " + name + "=" + value + ": " + error.Description());
  }
}

}  // namespace orvo::client
