#include "simulated/PanelImage.h"

namespace orvo {

std::uint32_t Crc32(std::string_view bytes) noexcept {
  std::uint32_t remainder = 0xFFFFFFFFU;
  for (const char byte : bytes) {
    remainder ^= static_cast<std::uint8_t>(byte);
    for (int bit = 0; bit < 8; ++bit)
      remainder = (remainder >> 1) ^ ((remainder & 1U) != 0 ? 0xEDB88320U : 0U);
  }
  return ~remainder;
}

std::string PanelImageName(std::string_view fileName) {
  // kept: the last "." counts also when it stands in a folder's name, because download names are made that way
  std::string_view name = fileName.substr(0, fileName.rfind('.'));
  if (const auto separator = name.find_last_of("/\\"); separator != std::string_view::npos)
    name.remove_prefix(separator + 1);
  return std::string(name);
}

}  // namespace orvo
