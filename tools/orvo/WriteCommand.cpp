// write.

#include "Commands.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "Values.h"
#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "errors/modIDataErrors.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <string_view>

namespace orvo::client {

namespace {

// The server names the position of the value that it refuses; a person wants the item and the reason.
[[noreturn]] void RaiseWithReason(const AutomationError& error, KELDataGroup& group,
                                  const SafeArray<Variant>& values,
                                  const std::vector<std::string>& assignments) {
  std::size_t k = 0;
  for (const auto& item : group.KELDataItems()->NewEnum()) {
    try {
      item->RawValue(item->CheckClientValue(values.View()[k]));
    } catch (const AutomationError& reason) {
      const bool noNumber = reason.Number() == static_cast<std::int32_t>(RuntimeError::TypeMismatch) &&
                            values.View()[k].Is(VariantKind::String);
      throw AutomationError(
          error.Number(),
          error.Description() + " (" + assignments[k] + ": " +
              (noNumber ? "this is no number; decimals stand behind a point" : reason.Description()) + ")");
    }
    ++k;
  }
  throw AutomationError(error);
}

// A string item is filled with blanks.
std::string_view WithoutTrailingBlanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

// What was written is not always what was asked for.
void TellWhatBecame(KELDataItem& item, const Variant& asked) {
  Variant now;
  // The write is done; a device that cannot show the value now does not change that.
  if (!Suppressed([&] { now = item.USERValue(); })) return;
  const bool isText = asked.Is(VariantKind::String) && now.Is(VariantKind::String);
  if (isText && WithoutTrailingBlanks(now.Text()) != WithoutTrailingBlanks(asked.Text()))
    std::cerr << "orvo: " << item.ItemId() << ": not the whole text was written, it reads as " << ValueText(now)
              << '\n';
  else if (item.BCD() && ValueText(now) != ValueText(asked))
    std::cerr << "orvo: " << item.ItemId() << " was written as the number " << ValueText(asked)
              << ", not as decimal digits: it reads as " << ValueText(now) << '\n';
}

}  // namespace

int RunWrite(Session& session, const Options& options) {
  std::vector<Assignment> assignments;
  std::vector<ItemArgument> arguments;
  for (const std::string& text : options.assignments) {
    assignments.push_back(Assignment::Parse(text));
    arguments.push_back(assignments.back().item);
  }
  // A refresh of the configuration's own groups would make the spooler busy, and a refused write is not
  // repeated.
  for (const auto& group : session.server->KELDataGroups()->NewEnum())
    group->PutActive(false);
  const std::shared_ptr<KELDataGroup> group = session.AddItems("write", arguments);
  const auto items = group->KELDataItems()->NewEnum();
  SafeArray<std::int32_t> handles;
  SafeArray<Variant> values;
  for (std::size_t k = 0; k < items.size(); ++k) {
    handles.Append(items[k]->Handle());
    values.Append(assignments[k].ValueFor(*items[k]));
  }
  session.Open();
  SafeArray<std::int32_t> errors;
  try {
    group->SyncWrite(handles, values, errors);
  } catch (const AutomationError& error) {
    if (error.Number() != errInvalidFormat) throw;
    RaiseWithReason(error, *group, values, options.assignments);
  }
  const bool unknown = std::any_of(errors.View().begin(), errors.View().end(),
                                   [](std::int32_t error) { return error == RequestFailed; });
  const auto sayUnknown = [&] {
    if (unknown)
      std::cerr << "orvo: the outcome of a write with error 1 is unknown: read the items back before you write "
                   "again\n";
  };
  if (Interrupt::Requested()) sayUnknown();
  Interrupt::Check();
  const auto writer = MakeRowWriter(
      options.format, {{"identifier", "identifier"}, {"written", "written"}, {"error", "error"}}, std::cout);
  for (std::size_t k = 0; k < items.size(); ++k)
    writer->Row(
        {{items[k]->ItemId(), IdentifierText(*items[k])}, Cell::Of(values.View()[k]), errors.View()[k]});
  writer->End();
  std::cout.flush();
  for (std::size_t k = 0; k < items.size(); ++k)
    if (errors.View()[k] == 0) TellWhatBecame(*items[k], values.View()[k]);
  sayUnknown();
  session.Close();
  const bool succeeded =
      std::all_of(errors.View().begin(), errors.View().end(), [](std::int32_t error) { return error == 0; });
  return succeeded ? Success : ItemFailed;
}

}  // namespace orvo::client
