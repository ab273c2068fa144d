// What the end of a request means for its items and for the requests behind it.
#pragma once

#include "modbus/ItemError.h"
#include "modbus/Line.h"

namespace orvo::modbus {

// The error of an item whose request ended so; NoError when it is done.
ItemError ErrorOf(const Answer& answer) noexcept;

// The same of a request that was to change something: a connection that ended behind it is NoAnswer.
ItemError ErrorOfWrite(const Answer& answer) noexcept;

// The device knows this kind of request, is there, and refuses what was asked for: part of it may still be had.
// Everything but 1, 5, 6, 10 and 11.
bool IsWorthDividing(const Answer& answer) noexcept;

// The device says that it did not take the address or the value (2, 3): nothing was done.
bool TookNothing(const Answer& answer) noexcept;

// It does not know the request (1): nothing was done.
bool IsUnknown(const Answer& answer) noexcept;

// Nothing can be expected of further requests now: no answer, none that fits, no connection, or a gateway (10,
// 11) that says so of the line behind it. Each of them would cost a time-out.
bool EndsTheList(const Answer& answer) noexcept;

// Such an end may be the fault of what was asked for: an address that makes the device keep silent.
bool IsSilence(const Answer& answer) noexcept;

}  // namespace orvo::modbus
