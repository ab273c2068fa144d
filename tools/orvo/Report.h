// What the commands print about a server and a group.
#pragma once

#include "server/KELDataServer.h"

#include <iosfwd>

namespace orvo::client {

// The server's properties as a table; needs a driver.
void PrintProperties(KELDataServer& server, std::ostream& out);
// Reads the whole group synchronously and prints it as a table. Whether no item has an error.
bool PrintRead(KELDataGroup& group, std::ostream& out);

}  // namespace orvo::client
