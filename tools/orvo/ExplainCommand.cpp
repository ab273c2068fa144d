// explain: one item's way from the bytes that the driver delivers to the value that a client sees.

#include "Commands.h"
#include "ExitCode.h"
#include "Reading.h"
#include "Table.h"
#include "Values.h"
#include "values/VariantConversion.h"

#include <cstddef>
#include <iostream>
#include <utility>

namespace orvo::client {

namespace {

struct Subject {
  std::shared_ptr<KELDataGroup> group;
  std::shared_ptr<KELDataItem> item;
};

// The configuration's own item of this name or identifier; a new one when there is none.
Subject Find(Session& session, const Selection& selection) {
  const std::string& text = selection.items.front();
  if (session.HasConfiguration()) {
    for (const auto& group : session.Select({{}, selection.group}, ""))
      for (const auto& item : group->KELDataItems()->NewEnum())
        if (item->ItemName() == text || item->ItemId() == text) return {group, item};
  }
  std::shared_ptr<KELDataGroup> group = session.AddItems("explain", {ItemArgument::Parse(text)});
  std::shared_ptr<KELDataItem> item = group->KELDataItems()->NewEnum().front();
  return {std::move(group), std::move(item)};
}

std::string NumberText(const Variant& number) {
  if (!number.Is(VariantKind::I2) && !number.Is(VariantKind::I4)) return ValueText(number);
  const std::string bits = Hexadecimal(static_cast<std::uint32_t>(ToI4(number)));
  constexpr std::size_t wordFrom = 6;
  return ValueText(number) + " (" + (number.Is(VariantKind::I2) ? "0x" + bits.substr(wordFrom) : bits) + ")";
}

std::string SignText(const KELDataItem& item, const ClientValueSteps& steps) {
  if (item.Signed()) return "the item is signed: the number stays as it is";
  if (!steps.withoutSign.IsEmpty())
    return ValueText(steps.withoutSign) + ": the same bits as a number that is not negative";
  return "the number is not negative: it stays as it is";
}

std::string BCDText(const KELDataItem& item, const ClientValueSteps& steps) {
  if (!item.BCD()) return "the item is not BCD: the number stays as it is";
  if (!steps.fromBCD.IsEmpty())
    return ValueText(steps.fromBCD) + ": decoded as decimal digits, each place rounded";
  return "left out: the number had its highest bit set";
}

void AddSteps(Table& table, KELDataItem& item) {
  ClientValueSteps steps;
  const Variant value = item.ClientValue(&steps);
  const bool isInteger = item.ItemType() == ItemTypeInteger;
  switch (item.ItemType()) {
    case ItemTypeInteger:
    case ItemTypeFloat:
      table.Add({"number in the words, least significant byte first", NumberText(steps.decoded)});
      table.Add({"cut out by the device", NumberText(steps.extracted)});
      if (isInteger) {
        table.Add({"sign", SignText(item, steps)});
        table.Add({"BCD", BCDText(item, steps)});
      }
      break;
    case ItemTypeString:
      table.Add(
          {"text", "Windows-1252, without zero bytes, " + std::to_string(item.DataSize()) + " characters"});
      break;
    default:
      table.Add({"bytes", "handed on as they are"});
      break;
  }
  table.Add({"client value", ValueText(value)});
}

}  // namespace

int RunExplain(Session& session, const Options& options) {
  const Subject subject = Find(session, options.selection);
  KELDataItem& item = *subject.item;
  session.Open();
  Reader reader(session);
  const ReadResult result = reader.Read(*subject.group, options.timeout);
  std::size_t position = 0;
  while (result.handles.View()[position] != item.Handle())
    ++position;

  Table table({"step", "result"});
  table.Add({"identifier", IdentifierText(item)});
  table.Add({"name, group", item.ItemName() + ", " + subject.group->GroupName()});
  table.Add({"type", ItemTypeText(item.ItemType())});
  table.Add(
      {"length", std::to_string(item.ItemWordLength()) + (item.ItemWordLength() == 1 ? " word" : " words")});
  table.Add({"compiled address", ValueText(item.CompiledAddress())});
  table.Add({"offset in the group's buffer", subject.group->CompiledBuffer().IsEmpty()
                                                 ? "none: the group has no buffer"
                                                 : std::to_string(item.ItemGroupBufferOffset()) + " bytes"});
  const std::int32_t error = result.errors.View()[position];
  table.Add({"bytes as delivered", ValueText(result.Delivered(position))});
  if (error == 0) {
    // The read has decoded them in their place; they go through it once more, step by step.
    item.SetDATAValue(result.Delivered(position));
    AddSteps(table, item);
  }
  table.Add({"error", std::to_string(error)});
  table.Print(std::cout);
  session.Close();
  return error == 0 ? Success : ItemFailed;
}

}  // namespace orvo::client
