// Item identifiers, and the names of items. The input is a list of lines, each a step: "-NAME" removes by name,
// "~NUMBER" removes by handle, any other is an identifier to add, with a tab and a name behind it if it is to
// have one. Properties:
// - the panel takes exactly the identifiers of its table, and compiles each to its kind, place, length and type
// - a compiled address is taken apart into what it was made of
// - a refusal is error 10 of the panel, and names the identifier
// - an item is added, removed and named as a plain list of items says, with the documented failure otherwise; a
//   failure changes nothing
// - the data size of an item that compiles is what its identifier says
#include "Property.h"
#include "Targets.h"
#include "errors/modIDataErrors.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "server/KELDataServer.h"
#include "simulated/PanelDevice.h"
#include "simulated/SimulatedPanel.h"
#include "values/Text.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace orvo::fuzz {

namespace {

constexpr std::size_t MostIdentifierSteps = 40;

struct Expected {
  std::int32_t kind;
  std::int32_t address;
  std::int32_t bit;
  std::int32_t words;
  std::int32_t type;
  std::int32_t size;  // in bytes
};

// The number that all of `text` is, of at most `most` digits; -1 when it is none.
int Digits(std::string_view text, std::size_t most) {
  if (text.empty() || text.size() > most) return -1;
  int number = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') return -1;
    number = 10 * number + (digit - '0');
  }
  return number;
}

// The panel's table of identifiers, read a second time.
std::optional<Expected> Compiled(const std::string& id) {
  constexpr int Memory = 65536;
  const std::string code = id.substr(0, 2);
  const std::string rest = id.size() > 2 ? id.substr(2) : "";
  if (code == "ST") {
    if (rest.size() < 6) return std::nullopt;
    const int address = Digits(rest.substr(0, 5), 5);
    const int size = Digits(rest.substr(5), 3);
    const int words = (size + 1) / 2;
    if (address < 0 || size < 1 || size > 255 || address + 2 * words > Memory) return std::nullopt;
    return Expected{5, address, 0, words, 1, size};
  }
  if (code == "RA") {
    if (rest.size() < 3) return std::nullopt;
    const int block = Digits(rest.substr(0, 2), 2);
    const int size = Digits(rest.substr(2), 3);
    if (block < 0 || size < 1 || size > 256) return std::nullopt;
    return Expected{6, 32768 + 256 * block, 0, (size + 1) / 2, 3, size};
  }
  if (code == "BI") {
    const std::size_t point = rest.find('.');
    if (point == std::string::npos) return std::nullopt;
    const int address = Digits(rest.substr(0, point), 5);
    const int bit = Digits(rest.substr(point + 1), 2);
    if (address < 0 || address % 2 != 0 || address >= Memory || bit < 0 || bit > 15) return std::nullopt;
    return Expected{0, address, bit, 1, 0, 0};
  }
  const int address = Digits(rest, 5);
  if (address < 0 || address >= Memory) return std::nullopt;
  if (code == "BY") return Expected{1, address, 0, 1, 0, 1};
  if (address % 2 != 0) return std::nullopt;
  if (code == "WO") return Expected{2, address, 0, 1, 0, 2};
  if (address + 4 > Memory) return std::nullopt;
  if (code == "DW") return Expected{3, address, 0, 2, 0, 4};
  if (code == "FL") return Expected{4, address, 0, 2, 2, 4};
  return std::nullopt;
}

void CheckCompiling(const std::string& id, const std::optional<Expected>& expected) {
  PanelDevice device;
  double address = -1;
  std::int32_t words = -1;
  std::int32_t type = -1;
  const std::optional<AutomationError> failure = FailureOf(
      [&] { Demand(device.CompileItemId(id, address, words, type), "without faults nothing is refused"); });
  Demand(failure.has_value() != expected.has_value(), "the panel takes exactly the identifiers of its table",
         id);
  if (!expected) {
    Demand(failure->Number() == 10 && failure->Description().find("'" + id + "'") != std::string::npos,
           "a refusal is error 10 and names the identifier", failure->Description());
    Demand(address == -1 && words == -1 && type == -1, "a refusal fills in nothing");
    return;
  }
  Demand(address == expected->address + 65536.0 * expected->bit + 1048576.0 * (expected->kind + 1) &&
             words == expected->words && type == expected->type,
         "an identifier compiles to its place, length and type", id);
  const std::optional<PanelAddress> decoded = PanelAddress::Decode(address);
  Demand(decoded && decoded->address == expected->address && decoded->bit == expected->bit &&
             static_cast<std::int32_t>(decoded->kind) == expected->kind,
         "a compiled address is taken apart into what it was made of", id);
}

struct ModelItem {
  std::int32_t handle;
  std::string name;
  std::string id;
};

// The items of a group as a plain list.
class Items {
 public:
  std::vector<ModelItem> list;

  const ModelItem* Named(const std::string& name) const {
    for (const ModelItem& item : list)
      if (item.name == name) return &item;
    return nullptr;
  }
  // By key, that is without case.
  const ModelItem* Keyed(const std::string& name) const {
    for (const ModelItem& item : list)
      if (FoldCase(item.name) == FoldCase(name)) return &item;
    return nullptr;
  }
  const ModelItem* Handled(std::int32_t handle) const {
    for (const ModelItem& item : list)
      if (item.handle == handle) return &item;
    return nullptr;
  }
  std::string FreeName() const {
    int number = 1;
    while (Named("Item_" + std::to_string(number)) != nullptr)
      ++number;
    return "Item_" + std::to_string(number);
  }
  std::int32_t FreeHandle() const {
    std::int32_t handle = 1;
    while (Handled(handle) != nullptr)
      ++handle;
    return handle;
  }
  void Erase(const ModelItem* item) { list.erase(list.begin() + (item - list.data())); }
};

class IdentifierSite {
 public:
  IdentifierSite() {
    files_.PutFile("drivers.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA\n");
    RegisterSimulatedPanel(drivers_);
    server_ = KELDataServer::Create({platform_, files_, drivers_});
    server_->SetDriverConfigurationFile("drivers.ini");
    server_->PutDeviceType(1);
    group_ = server_->KELDataGroups()->Add("Line");
    items_ = group_->KELDataItems();
  }

  void Step(const std::string& line) {
    if (line.starts_with('-'))
      RemoveByName(line.substr(1));
    else if (line.starts_with('~'))
      Remove(static_cast<std::int32_t>(std::strtol(line.c_str() + 1, nullptr, 10) % 1000));
    else
      Add(line.substr(0, line.find('\t')), line.find('\t') == std::string::npos
                                               ? std::nullopt
                                               : std::optional(line.substr(line.find('\t') + 1)));
    Compare();
  }

 private:
  void Add(const std::string& id, const std::optional<std::string>& name) {
    const std::optional<Expected> expected = Compiled(id);
    CheckCompiling(id, expected);
    std::int32_t number = 0;
    const bool collides = model_.Keyed(name ? *name : model_.FreeName()) != nullptr;
    if (name && model_.Named(*name) != nullptr)
      number = errInternal;
    else if (!expected || collides)
      number = errInvalidItemId;
    std::shared_ptr<KELDataItem> item;
    const std::optional<AutomationError> failure =
        FailureOf([&] { item = items_->Add(id, name ? std::optional<Variant>(*name) : std::nullopt); });
    Demand((failure ? failure->Number() : 0) == number, "an item is added, or fails with the documented number",
           [&] { return id + ": " + (failure ? failure->Description() : "added"); });
    if (number == errInvalidItemId)
      Demand(failure->Description().find(id + ": Group Name= LineGroupHandle: 1") != std::string::npos,
             "a refused identifier is named, with its group", failure->Description());
    if (number != 0) return;
    Demand(item->DataSize() == expected->size, "the data size is what the identifier says", id);
    model_.list.push_back({model_.FreeHandle(), name ? *name : model_.FreeName(), id});
  }

  void RemoveByName(const std::string& name) {
    const ModelItem* item = model_.Keyed(name);
    Demand(NumberOf([&] { items_->RemoveByName(name); }) == (item != nullptr ? 0 : errInvalidName),
           "an item is removed by its name without case, or errInvalidName", name);
    if (item != nullptr) model_.Erase(item);
  }

  void Remove(std::int32_t handle) {
    const ModelItem* item = model_.Handled(handle);
    Demand(NumberOf([&] { items_->Remove(handle); }) == (item != nullptr ? 0 : errInvalidHandle),
           "an item is removed by its handle, or errInvalidHandle");
    if (item != nullptr) model_.Erase(item);
  }

  void Compare() const {
    const auto all = items_->NewEnum();
    Demand(all.size() == model_.list.size() && items_->Count() == static_cast<std::int32_t>(all.size()),
           "a group has the items that were added");
    for (std::size_t k = 0; k < all.size(); ++k) {
      const ModelItem& expected = model_.list[k];
      Demand(all[k]->ItemName() == expected.name && all[k]->ItemId() == expected.id &&
                 all[k]->Handle() == expected.handle,
             "items are in their order, with name, identifier and handle", expected.name);
      Demand(items_->Item(expected.handle) == all[k] && items_->ItemByName(expected.name) == all[k],
             "an item is found by handle and by name", expected.name);
    }
  }

  SimulatedPlatform platform_;
  MemoryFiles files_;
  DriverRegistry drivers_;
  std::shared_ptr<KELDataServer> server_;
  std::shared_ptr<KELDataGroup> group_;
  std::shared_ptr<KELDataItems> items_;
  Items model_;
};

}  // namespace

void ItemIdentifiers(InputReader& input) {
  IdentifierSite site;
  std::istringstream lines{std::string(input.Rest())};
  std::string line;
  for (std::size_t step = 0; step < MostIdentifierSteps && std::getline(lines, line); ++step)
    site.Step(line);
}

}  // namespace orvo::fuzz
