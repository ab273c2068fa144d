// read and items.

#include "Commands.h"
#include "ExitCode.h"
#include "Reading.h"
#include "Values.h"

#include <cstddef>
#include <iostream>

namespace orvo::client {

namespace {

// The columns of a table over several groups begin with the group.
std::vector<Column> WithGroup(bool grouped, std::vector<Column> columns) {
  if (grouped) columns.insert(columns.begin(), {"group", "group"});
  return columns;
}

std::vector<Cell> WithGroup(bool grouped, const KELDataGroup& group, std::vector<Cell> cells) {
  if (grouped) cells.insert(cells.begin(), Cell(group.GroupName()));
  return cells;
}

}  // namespace

int RunRead(Session& session, const Options& options) {
  const auto groups = session.Select(options.selection, "read");
  const bool grouped = options.selection.items.empty();
  session.Open();
  Reader reader(session);
  const auto writer = MakeRowWriter(options.format,
                                    WithGroup(grouped, {{"item", "item"},
                                                        {"identifier", "identifier"},
                                                        {"raw bytes", "raw"},
                                                        {"client value", "value"},
                                                        {"error", "error"}}),
                                    std::cout);
  bool succeeded = true;
  for (const auto& group : groups) {
    const ReadResult result = reader.Read(*group, options.timeout);
    succeeded = succeeded && result.Succeeded();
    for (std::size_t k = 0; k < result.handles.Size(); ++k) {
      const std::shared_ptr<KELDataItem> item = group->KELDataItems()->Item(result.handles.View()[k]);
      writer->Row(WithGroup(grouped, *group,
                            {item->ItemName(),
                             {item->ItemId(), IdentifierText(*item)},
                             Cell::Of(result.Delivered(k)),
                             Cell::Of(result.values.View()[k]),
                             result.errors.View()[k]}));
    }
  }
  writer->End();
  session.Close();
  return succeeded ? Success : ItemFailed;
}

int RunItems(Session& session, const Options& options) {
  const auto groups = session.Select(options.selection, "items");
  const bool grouped = options.selection.items.empty();
  const auto writer = MakeRowWriter(options.format,
                                    WithGroup(grouped, {{"identifier", "identifier"},
                                                        {"name", "name"},
                                                        {"type", "type"},
                                                        {"words", "words"},
                                                        {"bytes", "bytes"},
                                                        {"address", "address"},
                                                        {"offset", "offset"},
                                                        {"signed", "signed"},
                                                        {"BCD", "bcd"}}),
                                    std::cout);
  for (const auto& group : groups)
    for (const auto& item : group->KELDataItems()->NewEnum())
      writer->Row(WithGroup(grouped, *group,
                            {item->ItemId(), item->ItemName(), ItemTypeText(item->ItemType()),
                             item->ItemWordLength(), item->DataSize(), Cell::Of(item->CompiledAddress()),
                             item->ItemGroupBufferOffset(), item->Signed(), item->BCD()}));
  writer->End();
  return Success;
}

}  // namespace orvo::client
