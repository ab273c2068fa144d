// All fuzz targets: one function each, which demands its properties of what it makes of the input (Property.h).
#pragma once

#include "InputReader.h"

namespace orvo::fuzz {

// The argument list of a call by name.
void Arguments(InputReader& input);
// A text as driver configuration file: sections, keys, and the server's choice of driver and device.
void DriverConfiguration(InputReader& input);
// A text as saved configuration: load, check, save, load again.
void SavedConfiguration(InputReader& input);
// A text as panel script: read, applied, run for a while.
void PanelScripts(InputReader& input);
// Item identifiers and names: what compiles, and what a group's items make of them.
void ItemIdentifiers(InputReader& input);
// One item's values between client, device and group buffer.
void ItemValues(InputReader& input);
// Conversions and comparisons of variants.
void Variants(InputReader& input);
// Texts, device bytes, numbers at their beginning.
void Texts(InputReader& input);
// A whole group's bytes on their way to and from the device.
void GroupBuffers(InputReader& input);
// Sequences of requests, in lock step with a model of the queue.
void Requests(InputReader& input);
// A fault that was planted, to be found.
void Canary(InputReader& input);

}  // namespace orvo::fuzz
