#include "Report.h"

#include "Table.h"

#include <cstddef>
#include <ostream>
#include <string>

namespace orvo::client {

void PrintProperties(KELDataServer& server, std::ostream& out) {
  std::string description = server.Description();
  if (const std::size_t end = description.find("\r\n"); end != std::string::npos)
    description.replace(end, 2, " / ");
  Table table({"property", "value"});
  table.Add({"Description", description});
  table.Add({"MajorVersion.MinorVersion",
             std::to_string(server.MajorVersion()) + "." + std::to_string(server.MinorVersion())});
  table.Add({"BoardDescription", server.BoardDescription()});
  table.Add({"BootVersion / BootDate", ValueText(server.BootVersion()) + " / " + server.BootDate()});
  table.Add({"FirmwareVersion", ValueText(server.FirmwareVersion())});
  table.Add({"ComPortNumber, BaudRate",
             std::to_string(server.ComPortNumber()) + ", " + std::to_string(server.BaudRate())});
  table.Add({"Timeout, WordIO", std::to_string(server.Timeout()) + ", " + std::to_string(server.WordIO())});
  table.Add({"DeviceType", std::to_string(server.DeviceType())});
  table.Add({"BoardStatus", std::to_string(server.BoardStatus())});
  table.Add({"CommunicationStatus", std::to_string(server.CommunicationStatus())});
  table.Add({"ServerStatus", std::to_string(server.ServerStatus())});
  table.Print(out);
}

bool PrintRead(KELDataGroup& group, std::ostream& out) {
  SafeArray<std::int32_t> handles;
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group.SyncReadAll(handles, values, errors);
  Table table({"item", "identifier", "raw bytes", "client value", "error"});
  bool succeeded = true;
  for (std::size_t k = 0; k < handles.Size(); ++k) {
    const std::shared_ptr<KELDataItem> item = group.KELDataItems()->Item(handles.View()[k]);
    const std::int32_t error = errors.View()[k];
    const char* option = item->Signed() ? " signed" : item->BCD() ? " BCD" : "";
    table.Add({item->ItemName(), item->ItemId() + option, RawText(*item), ValueText(values.View()[k]),
               std::to_string(error)});
    if (error != 0) succeeded = false;
  }
  table.Print(out);
  return succeeded;
}

}  // namespace orvo::client
