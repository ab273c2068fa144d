// The demonstration: one round through the server against the simulated panel.

#include "Commands.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "Reading.h"
#include "Session.h"
#include "Table.h"
#include "Values.h"
#include "Watcher.h"

#include <cstddef>
#include <iostream>

namespace orvo::client {

namespace {

constexpr std::chrono::milliseconds AnswerLimit{3000};
constexpr std::chrono::milliseconds ReadLimit{10000};
constexpr std::int32_t WatchRate = 500;

// Prints the ends of asynchronous requests.
class CompletionLines final : public KELDataGroupEvents {
 public:
  int completions = 0;

  void AsyncReadComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                         const SafeArray<Variant>& USERValues,
                         const SafeArray<std::int32_t>& DataErrors) override {
    Line("AsyncReadComplete", TransactionId)
        << "  handle " << DataHandles.View()[0] << ", value " << ValueText(USERValues.View()[0]) << ", error "
        << DataErrors.View()[0] << '\n';
  }
  void AsyncWriteComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                          const SafeArray<std::int32_t>& DataErrors) override {
    Line("AsyncWriteComplete", TransactionId)
        << "  handle " << DataHandles.View()[0] << ", error " << DataErrors.View()[0] << '\n';
  }
  void AsyncCancelComplete(std::int32_t TransactionId, bool Success) override {
    Line("AsyncCancelComplete", TransactionId) << "  success " << (Success ? "True" : "False") << '\n';
  }

 private:
  std::ostream& Line(const char* event, std::int32_t transactionId) {
    ++completions;
    return std::cout << "  event " << event << "  transaction " << transactionId;
  }
};

void Heading(const std::string& text) {
  std::cout << '\n' << text << '\n';
}

void PrintProperties(KELDataServer& server) {
  Table table({"property", "value"});
  table.Add({"Description", OneLine(server.Description())});
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
  table.Print(std::cout);
}

bool PrintRead(Session& session, KELDataGroup& group) {
  Reader reader(session);
  const ReadResult result = reader.Read(group, ReadLimit);
  Table table({"item", "identifier", "raw bytes", "client value", "error"});
  for (std::size_t k = 0; k < result.handles.Size(); ++k) {
    const std::shared_ptr<KELDataItem> item = group.KELDataItems()->Item(result.handles.View()[k]);
    table.Add({item->ItemName(), IdentifierText(*item), ValueText(result.Delivered(k)),
               ValueText(result.values.View()[k]), std::to_string(result.errors.View()[k])});
  }
  table.Print(std::cout);
  return result.Succeeded();
}

void ShowAsynchronous(Session& session, KELDataGroup& group) {
  const auto sink = std::make_shared<CompletionLines>();
  const std::int32_t cookie = group.Events().Advise(sink);
  group.PutSubscribed(true);
  const auto await = [&](int completions) {
    session.platform.RunUntil([&] { return Interrupt::Requested() || sink->completions >= completions; },
                              AnswerLimit);
    Interrupt::Check();
  };
  const std::int32_t recipe = group.KELDataItems()->ItemByName("Recipe")->Handle();

  Heading("An asynchronous write: Recipe := \"Cherry 4%\"");
  std::int32_t transactionId = 0;
  group.AsyncWrite({recipe}, {Variant("Cherry 4%")}, transactionId);
  std::cout << "  AsyncWrite returned transaction " << transactionId << '\n';
  await(1);

  Heading("Two asynchronous reads; the second is cancelled while it waits");
  std::int32_t first = 0;
  std::int32_t second = 0;
  group.AsyncRead({recipe}, first);
  group.AsyncRead({recipe}, second);
  std::cout << "  AsyncRead returned transactions " << first << " and " << second << '\n';
  group.AsyncCancel(second);
  await(3);

  group.PutSubscribed(false);
  group.Events().Unadvise(cookie);
}

}  // namespace

int RunDemo(std::chrono::milliseconds watch) {
  Session session;
  std::cout << "The driver configuration file:\n\n" << BuiltInDriverFile("");
  session.Configure({});

  const std::shared_ptr<KELDataGroup> group = session.server->KELDataGroups()->Add("Line 1");
  const auto items = group->KELDataItems();
  items->Add("BI100.3", "Motor");
  items->Add("BY103", "Level");
  items->Add("WO104", "Torque")->PutSigned(true);
  items->Add("WO106", "Batch")->PutBCD(true);
  items->Add("DW108", "Pieces");
  items->Add("FL112", "Temperature");
  items->Add("ST0020010", "Recipe");
  items->Add("RA036", "Stamp");

  session.Open();
  Heading("The server, with communication open:");
  PrintProperties(*session.server);

  Heading("A synchronous read of the group \"Line 1\":");
  const bool succeeded = PrintRead(session, *group);

  ShowAsynchronous(session, *group);
  session.Close();

  Heading("DataChange events, refreshed every 500 ms, as the panel's values move:");
  const std::unique_ptr<WatchView> view = MakePersonsView(session.platform, {group}, std::cout);
  Watcher watcher(session, {group}, WatchRate, *view);
  watcher.Run(watch, std::nullopt);
  view->End(watcher.Counts());
  Interrupt::Check();
  return succeeded ? Success : ItemFailed;
}

}  // namespace orvo::client
