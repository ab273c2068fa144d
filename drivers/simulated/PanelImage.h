// What the panel holds loaded: a firmware or a project, known by its name and the checksum of its bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvo {

struct PanelImage {
  std::string name;            // empty: nothing is loaded
  std::uint32_t checksum = 0;  // Crc32 of the file
  friend bool operator==(const PanelImage&, const PanelImage&) = default;
};

// The CRC-32 of ISO-HDLC (as in zip files and Ethernet): 0xCBF43926 for "123456789".
std::uint32_t Crc32(std::string_view bytes) noexcept;

// A file or project name as images are known by it: cut at its last ".", then without its folder ("/" or "\").
std::string PanelImageName(std::string_view fileName);

}  // namespace orvo
