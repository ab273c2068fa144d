// The panel's device object: compiles identifiers and isolates bits and bytes. Identifiers and compiled
// addresses are described in PanelAddress.h. Shares the faults of the panel that made it and is otherwise
// independent of it.
#pragma once

#include "simulated/PanelFaults.h"
#include "spooler/CommunicationDriver.h"

#include <memory>
#include <utility>

namespace orvo {

class PanelDevice : public DeviceObject {
 public:
  // Null: without faults.
  explicit PanelDevice(std::shared_ptr<PanelFaults> faults = nullptr) : faults_(std::move(faults)) {}

  // True, False when a fault refuses the item, or error 10 with a text that names the identifier, what is wrong
  // with it and the right form.
  bool CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                     std::int32_t& ItemType) override;
  // For a bit or byte item the kind of the value tells where it comes from:
  //   16-bit integer  the decoded word that holds the item: the bit (0 or 1) or byte (0..255) is cut out
  //   double          from a group's image: the lowest bit (0 or 1) or lowest byte (0..255) is taken
  //   32-bit integer  a value that was written, already the item's own: stays
  // In a group's image each item has a place of its own; a bit or byte takes a whole word there. What is cut
  // out or taken is a 16-bit integer. A fraction, a number beyond 32 bits and a value of any other kind stay,
  // and so do other items' values. Error 10 for a compiled address that is none.
  void ExtractValue(double CompiledAddress, Variant& Value, std::int32_t Reserved) override;

 private:
  const std::shared_ptr<PanelFaults> faults_;
};

}  // namespace orvo
