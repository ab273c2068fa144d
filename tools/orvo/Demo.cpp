// The demonstration: one round through the server against the simulated panel.

#include "ChangeView.h"
#include "Commands.h"
#include "Report.h"
#include "Session.h"
#include "Table.h"
#include "errors/AutomationError.h"

#include <iostream>

namespace orvo::client {

namespace {

constexpr std::chrono::milliseconds AnswerLimit{3000};

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

void ShowAsynchronous(Session& session, KELDataGroup& group) {
  const auto sink = std::make_shared<CompletionLines>();
  const std::int32_t cookie = group.Events().Advise(sink);
  group.PutSubscribed(true);
  const auto await = [&](int completions) {
    session.platform.RunUntil([&] { return sink->completions >= completions; }, AnswerLimit);
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
  std::cout << "The driver configuration file:\n\n" << DemoDriverFile;
  session.Configure("", 2);

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

  session.server->OpenCommunication();
  Heading("The server, with communication open:");
  PrintProperties(*session.server, std::cout);

  Heading("A synchronous read of the group \"Line 1\":");
  const bool succeeded = PrintRead(*group, std::cout);

  ShowAsynchronous(session, *group);
  session.server->CloseCommunication();

  Heading("DataChange events, refreshed every 500 ms, as the panel's values move:");
  ChangeView::Watch(session, *group, 500, watch, std::cout);
  return succeeded ? Success : ItemFailed;
}

}  // namespace orvo::client
