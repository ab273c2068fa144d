// The device object of one connection: compiles identifiers (Identifier.h) and isolates bits and bytes. It
// shares nothing with the driver that made it and may outlive it. Any one thread at a time.
#pragma once

#include "modbus/Settings.h"
#include "spooler/CommunicationDriver.h"

#include <cstdint>
#include <string>
#include <utility>

namespace orvo::modbus {

class ModbusDevice : public DeviceObject {
 public:
  // `blocks`: where the connection's raw blocks begin.
  explicit ModbusDevice(RawBlocks blocks) : blocks_(std::move(blocks)) {}

  // True, or error 10 with a text that names the identifier, what is wrong with it and the right form; then
  // nothing is filled in.
  bool CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                     std::int32_t& ItemType) override;
  // For a bit or byte item the kind of the value tells where it comes from:
  //   16-bit integer  the decoded word that holds the item (0 or 1 of a coil or input): the bit (0 or 1) or
  //   byte
  //                   (0..255) is cut out
  //   double          from a group's image: the lowest bit (0 or 1) or lowest byte (0..255) is taken
  //   32-bit integer  a value that was written, already the item's own: stays
  // What is cut out or taken is a 16-bit integer. A fraction, a number beyond 32 bits and a value of any other
  // kind stay, and so do other items' values. Error 10 for a compiled address that is none.
  void ExtractValue(double CompiledAddress, Variant& Value, std::int32_t Reserved) override;
  // Error 10 with a text that names the identifier when it does not compile any more or to another address (a
  // raw block may have moved since), when the saved length gives the item no place, or the type is not that of
  // its type code. A string or raw item may have any length up to LongestItem.
  void ItemLoaded(const std::string& ItemId, double CompiledAddress, std::int32_t WordLength,
                  std::int32_t ItemType) override;

 private:
  const RawBlocks blocks_;
};

}  // namespace orvo::modbus
