// What a program would do that knew nothing but the bytes: the measure beside each figure.
//
// It decodes the same bytes of the same items by their types, compares them with the values of the pass before,
// and puts what is to be delivered into lists. No item objects, no requests, no queue, no events.
#pragma once

#include "Items.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace orvo::bench {

class PlainLoop {
 public:
  using Value = std::variant<double, std::string>;

  PlainLoop(std::size_t items, ByteOrder order);

  // Decodes and compares all items in `image`; returns how many changed since the pass before.
  std::size_t CountChanges(const Image& image);
  // The same, and lists the changed items with their values.
  void ListChanges(const Image& image, std::vector<std::int32_t>& handles, std::vector<Value>& values);
  // Decodes all items into `values`.
  void Read(const Image& image, std::vector<Value>& values) const;

 private:
  struct Item {
    std::uint32_t offset;
    std::uint8_t length;
    std::uint8_t type;
    bool isSigned;
    bool bcd;
    double last;
    std::uint32_t lastText;  // where the text of the pass before is kept
  };
  double Number(const Item& item, const std::uint8_t* bytes) const;
  bool TakeChange(Item& item, const std::uint8_t* bytes, double& number);

  const ByteOrder order_;
  std::vector<Item> items_;
  std::vector<std::uint8_t> texts_;
};

}  // namespace orvo::bench
