// The error numbers of the driver, of items and of calls that it refuses.
#pragma once

#include <cstdint>

namespace orvo::modbus {

enum ItemError : std::int32_t {
  NoError = 0,
  DeviceBusy = 1,   // exceptions 5 and 6; a request while another one is not answered yet
  WrongState = 2,   // the operation does not fit the state of the communication
  NoAnswer = 3,     // nothing within the time-out; exception 11: the gateway says so
  WrongAnswer = 4,  // an answer that is none; exceptions 4, 7, 8 and any other: the device failed
  LinkDown = 5,     // no connection, or it ended; exception 10: the gateway has none
  BadValue = 10,    // an address, length or value that the item does not take; exceptions 1, 2 and 3
};

}  // namespace orvo::modbus
