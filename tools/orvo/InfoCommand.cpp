// info.

#include "Commands.h"
#include "ExitCode.h"
#include "Values.h"
#include "errors/AutomationError.h"

#include <iostream>
#include <optional>

namespace orvo::client {

namespace {

void PrintProperties(KELDataServer& server, Format format) {
  const auto writer = MakeRowWriter(format, {{"property", "property"}, {"value", "value"}}, std::cout);
  const auto row = [&](const char* name, const Variant& value) {
    const bool isText = value.Is(VariantKind::String);
    writer->Row({name, isText ? Cell(std::string(value.Text())) : Cell::Of(value)});
  };
  row("Description", OneLine(server.Description()));
  row("MajorVersion", server.MajorVersion());
  row("MinorVersion", server.MinorVersion());
  row("BoardDescription", server.BoardDescription());
  row("BootVersion", server.BootVersion());
  row("BootDate", server.BootDate());
  row("FirmwareVersion", server.FirmwareVersion());
  row("BoardStatus", server.BoardStatus());
  row("DeviceType", server.DeviceType());
  row("DeviceName", server.DeviceName());
  row("ProjectName", server.ProjectName());
  row("ComPortNumber", server.ComPortNumber());
  row("BaudRate", server.BaudRate());
  row("Timeout", server.Timeout());
  row("WordIO", server.WordIO());
  row("AutoDownloadFirmware", server.AutoDownloadFirmware());
  row("AutoDownloadProject", server.AutoDownloadProject());
  row("CommunicationStatus", server.CommunicationStatus());
  row("ServerStatus", server.ServerStatus());
  writer->End();
}

}  // namespace

int RunInfo(Session& session, const Options& options) {
  // A driver that cannot open is the more reason to look at its properties.
  std::optional<AutomationError> failure;
  try {
    session.Open();
  } catch (const AutomationError& error) {
    failure = error;
  }
  PrintProperties(*session.server, options.format);
  session.Close();
  if (failure) throw AutomationError(*failure);
  return Success;
}

}  // namespace orvo::client
