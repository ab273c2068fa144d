// What the end of a request means for its items and for the requests behind it.
#pragma once

#include "modbus/ItemError.h"
#include "modbus/Line.h"

namespace orvo::modbus {

// The error of an item whose request ended so; NoError when it is done.
ItemError ErrorOf(const Answer& answer) noexcept;

// The device refuses what was asked for (2, 3, 4), so that part of it may still be had.
bool IsWorthDividing(const Answer& answer) noexcept;

// Nothing can be expected of further requests now: no answer, none that fits, no connection, or a gateway (10,
// 11) that says so of the line behind it. Each of them would cost a time-out.
bool EndsTheList(const Answer& answer) noexcept;

}  // namespace orvo::modbus
