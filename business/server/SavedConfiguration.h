// A server's whole set-up as a text: communication parameters, groups and items.
//
// An INI text in UTF-8 with three kinds of section, in this order: "Communication Parameters"; "Groups", one
// key per group; one section "Group:" + name per group, one key per item. The values of groups and items are
// fields, each followed by "#". Numbers are decimal with ".", booleans "True" and "False", whatever the locale;
// a double is written so that it comes back exactly.
#pragma once

#include "server/IniFile.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

class KELDataServer;

namespace saved {

inline constexpr const char* CommunicationSection = "Communication Parameters";
inline constexpr const char* GroupsSection = "Groups";
inline constexpr const char* GroupSectionPrefix = "Group:";
inline constexpr char FieldEnd = '#';

inline constexpr const char* BaudRateKey = "BaudRate";
inline constexpr const char* ComPortNumberKey = "ComPortNumber";
inline constexpr const char* DeviceTypeKey = "DeviceType";
inline constexpr const char* DeviceNameKey = "DeviceName";
inline constexpr const char* WordIOKey = "QZPar1";
inline constexpr const char* TimeoutKey = "QZPar2";
inline constexpr const char* AutoDownloadFirmwareKey = "AutoDownloadFirmware";
inline constexpr const char* AutoDownloadProjectKey = "AutoDownloadProject";
// In the order of the file.
inline constexpr std::array<std::string_view, 8> ParameterKeys{
    BaudRateKey, ComPortNumberKey, DeviceTypeKey,           DeviceNameKey,
    WordIOKey,   TimeoutKey,       AutoDownloadFirmwareKey, AutoDownloadProjectKey};
// Fields of a value: of a group, and of an item with its identifier.
inline constexpr std::size_t GroupFields = 5;
inline constexpr std::size_t ItemFields = 8;

}  // namespace saved

// The text for `server` as it is. Raises the driver's failures as the server's properties do, and, naming the
// text, errInvalidName or errInvalidItemId for a name or identifier that the format cannot carry: one with "=",
// "#", brackets, a line end or another control character, an outer blank, a leading ";", or ill-formed UTF-8.
std::string ConfigurationText(KELDataServer& server);

// Whether the format carries `text` as a name or identifier; as a whole value (the device name), where only
// control characters, outer blanks and ill-formed UTF-8 are in the way.
bool IsCarried(std::string_view text) noexcept;
bool IsCarriedAsValue(std::string_view text) noexcept;

}  // namespace orvo
