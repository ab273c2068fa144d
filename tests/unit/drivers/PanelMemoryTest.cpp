#include "errors/AutomationError.h"
#include "simulated/PanelMemory.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <vector>

namespace orvo {
namespace {

TEST(PanelMemory, IsZeroAtFirst) {
  PanelMemory memory;
  for (const std::uint8_t byte : memory.Bytes(0, PanelMemory::Size))
    ASSERT_EQ(byte, 0);
}

TEST(PanelMemory, StoresTheMostSignificantByteFirst) {
  PanelMemory memory;
  memory.PutWord(10, 0x1234);
  memory.PutDoubleWord(20, 0x89ABCDEF);
  memory.PutSingle(30, 1.5F);  // 3FC00000
  const auto bytes = [&](std::int32_t address, std::int32_t count) {
    const auto view = memory.Bytes(address, count);
    return std::vector<int>(view.begin(), view.end());
  };
  EXPECT_EQ(bytes(10, 2), (std::vector<int>{0x12, 0x34}));
  EXPECT_EQ(bytes(20, 4), (std::vector<int>{0x89, 0xAB, 0xCD, 0xEF}));
  EXPECT_EQ(bytes(30, 4), (std::vector<int>{0x3F, 0xC0, 0x00, 0x00}));
  EXPECT_EQ(memory.Word(10), 0x1234);
  EXPECT_EQ(memory.DoubleWord(20), 0x89ABCDEFU);
  EXPECT_EQ(memory.Single(30), 1.5F);
  EXPECT_EQ(memory.Byte(10), 0x12);
  EXPECT_EQ(memory.Byte(11), 0x34);
}

TEST(PanelMemory, WhatReachesOutsideIsError9AndChangesNothing) {
  PanelMemory memory;
  const std::vector<std::function<void()>> accesses{
      [&] { memory.Byte(-1); },
      [&] { memory.Byte(65536); },
      [&] { memory.Word(65535); },
      [&] { memory.DoubleWord(65533); },
      [&] { memory.Single(65534); },
      [&] { memory.Bytes(65530, 7); },
      [&] { memory.Bytes(0, -1); },
      [&] { memory.PutByte(65536, 1); },
      [&] { memory.PutWord(65535, 0xFFFF); },
      [&] { memory.PutDoubleWord(65534, 0xFFFFFFFF); },
      [&] { memory.PutSingle(65533, -1.0F); },
      [&] {
        memory.PutBytes(65535, std::array<std::uint8_t, 2>{1, 1});
      },
  };
  for (std::size_t k = 0; k < accesses.size(); ++k) {
    try {
      accesses[k]();
      ADD_FAILURE() << "access " << k << " did not fail";
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.Number(), 9) << "access " << k;
    }
  }
  for (const std::uint8_t byte : memory.Bytes(0, PanelMemory::Size))
    ASSERT_EQ(byte, 0);
}

}  // namespace
}  // namespace orvo
