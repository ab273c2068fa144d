#include "Commands.h"

#include "ChangeView.h"
#include "Report.h"
#include "Session.h"
#include "Table.h"
#include "errors/AutomationError.h"

#include <cstddef>
#include <iostream>

namespace orvo::client {

namespace {

void Open(Session& session, const Connection& connection) {
  session.Configure(connection.driverFile, connection.deviceType);
}

}  // namespace

int RunInfo(const Connection& connection) {
  Session session;
  Open(session, connection);
  session.server->OpenCommunication();
  PrintProperties(*session.server, std::cout);
  session.server->CloseCommunication();
  return Success;
}

int RunRead(const Connection& connection, const std::vector<std::string>& items) {
  Session session;
  Open(session, connection);
  const std::shared_ptr<KELDataGroup> group = session.AddItems("read", items);
  session.server->OpenCommunication();
  const bool succeeded = PrintRead(*group, std::cout);
  session.server->CloseCommunication();
  return succeeded ? Success : ItemFailed;
}

int RunWrite(const Connection& connection, const std::vector<std::string>& assignments) {
  Session session;
  Open(session, connection);
  std::vector<std::string> items;
  SafeArray<Variant> values;
  for (const std::string& assignment : assignments) {
    const std::size_t equals = assignment.find('=');
    if (equals == std::string::npos)
      RaiseRuntimeError(RuntimeError::InvalidProcedureCall, "'" + assignment + "' is not ITEM=VALUE");
    items.push_back(assignment.substr(0, equals));
    values.Append(assignment.substr(equals + 1));
  }
  const std::shared_ptr<KELDataGroup> group = session.AddItems("write", items);
  session.server->OpenCommunication();
  SafeArray<std::int32_t> handles;
  for (const auto& item : group->KELDataItems()->NewEnum())
    handles.Append(item->Handle());
  SafeArray<std::int32_t> errors;
  group->SyncWrite(handles, values, errors);
  Table table({"identifier", "written", "error"});
  bool succeeded = true;
  for (std::size_t k = 0; k < items.size(); ++k) {
    table.Add({items[k], ValueText(values.View()[k]), std::to_string(errors.View()[k])});
    if (errors.View()[k] != 0) succeeded = false;
  }
  table.Print(std::cout);
  session.server->CloseCommunication();
  return succeeded ? Success : ItemFailed;
}

int RunWatch(const Connection& connection, const std::vector<std::string>& items, std::int32_t rate,
             std::chrono::milliseconds duration) {
  Session session;
  Open(session, connection);
  const std::shared_ptr<KELDataGroup> group = session.AddItems("watch", items);
  ChangeView::Watch(session, *group, rate, duration, std::cout);
  return Success;
}

}  // namespace orvo::client
