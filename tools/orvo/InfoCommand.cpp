// info.

#include "Commands.h"
#include "ExitCode.h"
#include "Values.h"
#include "errors/AutomationError.h"

#include <functional>
#include <iostream>
#include <optional>

namespace orvo::client {

namespace {

// A property that the driver fails to tell shows its error; the first of them is returned.
std::optional<AutomationError> PrintProperties(KELDataServer& server, Format format) {
  const auto writer = MakeRowWriter(format, {{"property", "property"}, {"value", "value"}}, std::cout);
  std::optional<AutomationError> failure;
  const auto row = [&](const char* name, const std::function<Variant()>& property) {
    try {
      const Variant value = property();
      const bool isText = value.Is(VariantKind::String);
      writer->Row({name, isText ? Cell(OneLine(value.Text())) : Cell::Of(value)});
    } catch (const AutomationError& error) {
      writer->Row({name, Cell(Variant(), "error " + std::to_string(error.Number()))});
      if (!failure) failure = error;
    }
  };
  row("Description", [&] { return Variant(server.Description()); });
  row("MajorVersion", [&] { return Variant(server.MajorVersion()); });
  row("MinorVersion", [&] { return Variant(server.MinorVersion()); });
  row("BoardDescription", [&] { return Variant(server.BoardDescription()); });
  row("BootVersion", [&] { return Variant(server.BootVersion()); });
  row("BootDate", [&] { return Variant(server.BootDate()); });
  row("FirmwareVersion", [&] { return Variant(server.FirmwareVersion()); });
  row("BoardStatus", [&] { return Variant(server.BoardStatus()); });
  row("DeviceType", [&] { return Variant(server.DeviceType()); });
  row("DeviceName", [&] { return Variant(server.DeviceName()); });
  row("ProjectName", [&] { return Variant(server.ProjectName()); });
  row("ComPortNumber", [&] { return Variant(server.ComPortNumber()); });
  row("BaudRate", [&] { return Variant(server.BaudRate()); });
  row("Timeout", [&] { return Variant(server.Timeout()); });
  row("WordIO", [&] { return Variant(server.WordIO()); });
  row("AutoDownloadFirmware", [&] { return Variant(server.AutoDownloadFirmware()); });
  row("AutoDownloadProject", [&] { return Variant(server.AutoDownloadProject()); });
  row("CommunicationStatus", [&] { return Variant(server.CommunicationStatus()); });
  row("ServerStatus", [&] { return Variant(server.ServerStatus()); });
  writer->End();
  return failure;
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
  const std::optional<AutomationError> untold = PrintProperties(*session.server, options.format);
  if (!failure) failure = untold;
  session.Close();
  if (failure) throw AutomationError(*failure);
  return Success;
}

}  // namespace orvo::client
