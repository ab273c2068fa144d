#include "modbus/Exchange.h"

namespace orvo::modbus {

Exchange::Exchange(Line& line, const ExchangeOptions& options)
    : reader_(line, options.order, options.gap), writer_(line, options.order, options.bits) {}

ItemResults Exchange::Read(std::span<const ItemRequest> items) {
  return reader_.Read(items);
}

ItemResults Exchange::Write(std::span<const ItemRequest> items) {
  return writer_.Write(items);
}

}  // namespace orvo::modbus
