// Making a driver and its device, and what the device makes of identifiers.
#include "errors/AutomationError.h"
#include "kit/Checks.h"
#include "values/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace orvo::kit {

namespace {

void MakesDrivers(DriverSession& session) {
  if (&session.Driver() == session.MakeAnother().get())
    throw CheckFailed{"the factory gives the same driver again"};
}

void TakesSink(DriverSession& session) {
  session.Connected();
  session.ReplaceSink();
}

void KnowsKind(DriverSession& session) {
  session.Device();
}

void KnowsNoOtherKind(DriverSession& session) {
  const char* const kind = "no such kind of device";
  CommunicationDriver& driver = session.Connected();
  const auto device = session.Ask("CreateDevice", [&] { return driver.CreateDevice(kind); });
  if (device) throw CheckFailed{"CreateDevice gives a device for the kind '" + std::string(kind) + "'"};
}

void CompilesItems(DriverSession& session) {
  for (const CompiledItem& item : session.Items()) {
    const std::string name = "'" + item.id + "' ";
    if (std::isnan(item.address)) throw CheckFailed{name + "has an address that is no number"};
    if (item.words < 1 || item.words > std::numeric_limits<std::int16_t>::max())
      throw CheckFailed{name + "has a length of " + std::to_string(item.words) + " words"};
    if (item.type < 0 || item.type > 3)
      throw CheckFailed{name + "has the type " + std::to_string(item.type) + ", which is none of 0 to 3"};
    if (item.type == 2 && item.words != 2)
      throw CheckFailed{name + "is a floating-point item of " + std::to_string(item.words) +
                        " words instead of 2"};
  }
}

// What the system reads out of an identifier by itself, for the range of what may be written.
struct Form {
  std::string_view code;
  std::int32_t type;
  std::int32_t words;       // 0: given by the characters
  std::size_t lengthPlace;  // of the number of characters or bytes
};
constexpr std::array Forms{Form{"BY", 0, 1, 0}, Form{"WO", 0, 1, 0}, Form{"DW", 0, 2, 0},
                           Form{"FL", 2, 2, 0}, Form{"ST", 1, 0, 7}, Form{"RA", 3, 0, 4}};

std::int32_t WordsOf(const Form& form, const std::string& id) {
  if (form.words != 0 || id.size() <= form.lengthPlace) return form.words;
  const double length = LeadingNumber(std::string_view(id).substr(form.lengthPlace));
  return static_cast<std::int32_t>(std::ceil(std::min(length, 65535.0) / 2));
}

void FitsIdentifiers(DriverSession& session) {
  bool any = false;
  for (const CompiledItem& item : session.Items()) {
    const auto form = std::find_if(Forms.begin(), Forms.end(),
                                   [&](const Form& known) { return item.id.starts_with(known.code); });
    if (form == Forms.end()) continue;
    any = true;
    const std::int32_t words = WordsOf(*form, item.id);
    if (item.type != form->type || item.words != words)
      throw CheckFailed{"'" + item.id + "' is compiled to type " + std::to_string(item.type) + " and " +
                        std::to_string(item.words) + " words; by its letters it has type " +
                        std::to_string(form->type) + " and " + std::to_string(words) + " words"};
  }
  if (!any) throw NotApplicable{"no identifier begins with BY, WO, DW, FL, ST or RA"};
}

void CompilesAlike(DriverSession& session) {
  const std::vector<CompiledItem> first = session.Items();
  for (const CompiledItem& item : first) {
    const CompiledItem again = session.Compile(item.id);
    if (again.address != item.address || again.words != item.words || again.type != item.type)
      throw CheckFailed{"'" + item.id + "' is compiled to other facts the second time"};
  }
}

void RefusesWrongItems(DriverSession& session) {
  if (session.Plan().wrongItems.empty()) throw NotApplicable{"no wrong identifier is given"};
  for (const std::string& id : session.Plan().wrongItems) {
    DeviceObject& device = session.Device();
    double address = 0;
    std::int32_t words = 0;
    std::int32_t type = 0;
    bool valid = false;
    session.MayRefuse("CompileItemId of '" + id + "'",
                      [&] { valid = device.CompileItemId(id, address, words, type); });
    if (valid) throw CheckFailed{"'" + id + "' is taken for an identifier"};
  }
}

// What the system hands over: the number that it decoded from the item's words.
Variant Decoded(const CompiledItem& item) {
  if (item.type == 2) return 1.0F;
  if (item.words == 1) return std::int16_t{1};
  return std::int32_t{1};
}

bool IsNumber(const Variant& value) {
  if (value.IsArray()) return false;
  switch (value.Kind()) {
    case VariantKind::Empty:
    case VariantKind::Null:
    case VariantKind::String:
    case VariantKind::Object:
    case VariantKind::Error:
      return false;
    default:
      return true;
  }
}

void ExtractsNumbers(DriverSession& session) {
  bool any = false;
  for (const CompiledItem& item : session.Items()) {
    if (item.type != 0 && item.type != 2) continue;
    any = true;
    for (Variant value : {Decoded(item), Variant(1.0)}) {
      session.Call("ExtractValue of '" + item.id + "'",
                   [&] { session.Device().ExtractValue(item.address, value, 0); });
      if (!IsNumber(value))
        throw CheckFailed{"ExtractValue of '" + item.id + "' makes something else of a number"};
    }
  }
  if (!any) throw NotApplicable{"no integer or floating-point item is given"};
}

void AcceptsLoadedItems(DriverSession& session) {
  for (const CompiledItem& item : session.Items())
    session.Call("ItemLoaded of '" + item.id + "'",
                 [&] { session.Device().ItemLoaded(item.id, item.address, item.words, item.type); });
}

constexpr std::array DeviceChecksList{
    Check{{"makes-drivers", "The factory makes a new driver at each call."}, "", MakesDrivers},
    Check{
        {"takes-sink", "SetEventSink takes a sink, and another one in its place."}, "makes-drivers", TakesSink},
    Check{{"knows-kind", "CreateDevice gives a device for a kind that the driver knows."},
          "takes-sink",
          KnowsKind},
    Check{{"knows-no-other-kind",
           "CreateDevice gives nothing, without failing, for a kind that it does not know."},
          "takes-sink",
          KnowsNoOtherKind},
    Check{{"compiles-items",
           "An identifier is compiled to an address, a length of 1 to 32767 words and a type of 0 to 3."},
          "knows-kind",
          CompilesItems},
    Check{{"fits-identifiers",
           "An identifier that begins with BY, WO, DW, FL, ST or RA has the type and length of these."},
          "compiles-items",
          FitsIdentifiers},
    Check{{"compiles-alike", "An identifier is compiled to the same facts every time."},
          "compiles-items",
          CompilesAlike},
    Check{
        {"refuses-wrong-items", "A text that is no identifier is refused by False or by an error with a text."},
        "knows-kind",
        RefusesWrongItems},
    Check{{"extracts-numbers", "ExtractValue leaves a number for an integer or floating-point item."},
          "compiles-items",
          ExtractsNumbers},
    Check{{"accepts-loaded-items", "ItemLoaded accepts the facts that the device itself has compiled."},
          "compiles-items",
          AcceptsLoadedItems},
};

}  // namespace

std::span<const Check> DeviceChecks() {
  return DeviceChecksList;
}

}  // namespace orvo::kit
