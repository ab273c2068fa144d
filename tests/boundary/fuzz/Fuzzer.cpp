#include "Fuzzer.h"

#include "AllocationCount.h"
#include "ClientObject.h"
#include "Fingerprint.h"
#include "com/ModuleCount.h"
#include "values/AutomationObject.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace orvo::testing {

using namespace std::chrono_literals;
using com::ComPtr;

namespace {

constexpr WORD Flags[] = {DISPATCH_METHOD,
                          DISPATCH_PROPERTYGET,
                          DISPATCH_PROPERTYPUT,
                          DISPATCH_PROPERTYPUTREF,
                          DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                          DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF};
constexpr WORD AllFlags = 16;
constexpr LCID Locales[] = {0, 0x409, 0x407, 0x411, 0x800};
constexpr int MostFailures = 20;
constexpr std::uint64_t SettledRound = 100;

char doing[400] = "starting";

}  // namespace

const char* Fuzzer::Doing() noexcept {
  return doing;
}

void Fuzzer::RunRound(std::uint64_t round, int calls) {
  round_ = round;
  FuzzRandom mixer(seed_ ^ (round * 0xD1B54A32D192ED03U));
  random_ = FuzzRandom(mixer.Next());
  systematic_ = round * (CallsPerRound / 2);
  std::snprintf(doing, sizeof doing, "round %llu: making the scene", static_cast<unsigned long long>(round_));
  scene_ = std::make_unique<FuzzScene>(random_, [this] { Nested(); });
  if (members_.empty())
    for (const FuzzClass& each : scene_->Classes())
      for (const FuzzMember& member : each.members)
        members_.insert(each.name + "." + member.name);
  const bool open = round % 10 == 9;
  if (open) scene_->Open();
  for (int i = 0; i < calls && failures_ < MostFailures; ++i) {
    Call();
    if (!open && !random_.OneIn(5)) scene_->Close();
    if (random_.OneIn(30)) scene_->Advise();
    if (random_.OneIn(30)) scene_->Advance(std::chrono::milliseconds(random_.Between(1, 400)));
  }
  std::snprintf(doing, sizeof doing, "round %llu: its end", static_cast<unsigned long long>(round_));
  depth_ = 100;  // the scene's end calls nobody in turn
  scene_ = nullptr;
  depth_ = 0;
  CheckEnd();
}

void Fuzzer::CheckEnd() {
  const auto expectNone = [&](const char* what, std::int64_t count) {
    if (count != 0) Fail(std::to_string(count) + " " + what + " are left at the end of the round");
  };
  expectNone("objects of the boundary", com::ModuleCount::Value());
  expectNone("objects of the system", AutomationObject::LiveCount());
  expectNone("objects of the client", ClientObject::Value());
  // What is kept for the process (tables, the system's caches) is there by then.
  if (round_ != SettledRound) return;
  blocks_ = BlocksInUse();
  automationBlocks_ = AutomationBlocksInUse();
}

Fuzzer::Choice Fuzzer::Choose() {
  std::vector<FuzzClass>& classes = scene_->Classes();
  Choice choice;
  choice.flags = random_.OneIn(8) ? static_cast<WORD>(random_.Below(AllFlags)) : random_.Pick(Flags);
  std::size_t member = 0;
  if (random_.OneIn(2)) {
    // The next of all combinations.
    std::uint64_t number = systematic_++;
    choice.flags = static_cast<WORD>(number % AllFlags);
    number /= AllFlags;
    std::size_t count = 0;
    for (const FuzzClass& each : classes)
      count += each.members.size();
    member = static_cast<std::size_t>(number % count);
    while (member >= classes[choice.type].members.size())
      member -= classes[choice.type++].members.size();
  } else {
    choice.type = random_.Below(classes.size());
    member = random_.Below(classes[choice.type].members.size());
  }
  FuzzClass& type = classes[choice.type];
  choice.target = random_.Pick(std::span<const ComPtr<IDispatch>>(type.objects));
  choice.info = type.info;
  choice.id = type.members[member].id;
  choice.name = type.name + "." + type.members[member].name;
  if (random_.OneIn(100)) {
    choice.id = static_cast<DISPID>(random_.OneIn(2) ? random_.Next()
                                                     : static_cast<std::uint64_t>(random_.Between(-10, 60)));
    choice.name = type.name + ".#" + std::to_string(choice.id);
  }
  choice.member = choice.info->Find(choice.id, choice.flags);
  // Mostly what the member is: otherwise most calls would end at the flags.
  if (choice.member == nullptr && !random_.OneIn(4)) {
    for (const WORD flags : Flags) {
      choice.member = choice.info->Find(choice.id, flags);
      if (choice.member == nullptr) continue;
      choice.flags = flags;
      break;
    }
  }
  return choice;
}

void Fuzzer::MakeArguments(const Choice& choice, ArgumentMaker& maker, Given& given) {
  const com::Member* const member = choice.member;
  std::size_t declared = member == nullptr ? random_.Below(4) : member->parameters.size();
  if (member != nullptr && random_.OneIn(6) && declared > member->RequiredCount())
    declared = member->RequiredCount();
  if (random_.OneIn(15)) declared = random_.Below(6);
  given.count = static_cast<UINT>(declared);
  given.list = given.count == 0 ? nullptr : maker.MakeList(given.count);
  given.parameters.resize(given.count);
  given.shared.resize(given.count);

  const bool isPut = (choice.flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  if (given.count > 0 && isPut && !random_.OneIn(10))
    given.names.push_back(DISPID_PROPERTYPUT);
  else if (given.count > 0 && random_.OneIn(12)) {
    for (UINT i = 0; i < random_.Below(given.count + 1); ++i)
      given.names.push_back(random_.OneIn(8) ? random_.Between(-5, 8)
                                             : static_cast<DISPID>(given.count - 1 - i));
  }
  if (given.names.size() > given.count) given.names.resize(given.count);

  const bool wild = random_.OneIn(4);
  for (UINT i = 0; i < given.count; ++i) {
    std::size_t parameter = given.count - 1 - i;
    if (i < given.names.size())
      parameter = given.names[i] == DISPID_PROPERTYPUT ? (member == nullptr ? 0 : member->parameters.size() - 1)
                                                       : static_cast<std::size_t>(given.names[i]);
    if (member != nullptr && parameter < member->parameters.size())
      given.parameters[i] = &member->parameters[parameter];
    if (given.parameters[i] == nullptr || wild)
      maker.FillAny(given.list[i]);
    else
      maker.FillFor(*given.parameters[i], given.list[i]);
  }
  if (given.count < 2 || !random_.OneIn(40)) return;
  const std::size_t from = random_.Below(given.count);
  const std::size_t to = (from + 1) % given.count;
  if ((V_VT(&given.list[from]) & VT_BYREF) == 0) return;
  VariantClear(&given.list[to]);
  ArgumentMaker::Alias(given.list[from], given.list[to]);
  given.shared[from] = given.shared[to] = true;
}

void Fuzzer::Nested() {
  if (depth_ >= 3 || !random_.OneIn(6)) return;
  Call();
}

void Fuzzer::Call() {
  ++calls_;
  const Choice choice = Choose();
  if (random_.OneIn(400)) {
    CallMalformed(choice);
    return;
  }
  ArgumentMaker maker(random_, scene_->World());
  Given given;
  MakeArguments(choice, maker, given);

  std::string types;
  for (UINT i = 0; i < given.count; ++i) {
    char type[16];
    std::snprintf(type, sizeof type, " %X", V_VT(&given.list[i]));
    types += type;
    if (V_VT(&given.list[i]) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(&given.list[i]) != nullptr) {
      std::snprintf(type, sizeof type, ">%X", V_VT(V_VARIANTREF(&given.list[i])));
      types += type;
    }
  }
  std::string now = "round " + std::to_string(round_) + " call " + std::to_string(calls_) + " depth " +
                    std::to_string(depth_) + ": " + choice.name + " flags " + std::to_string(choice.flags) +
                    " names " + std::to_string(given.names.size()) + " arguments" + types;
  char before[sizeof doing];
  std::memcpy(before, doing, sizeof doing);
  std::snprintf(doing, sizeof doing, "%s", now.c_str());

  if (print_) std::printf("%s\n", doing);

  Outcome outcome;
  // Room for the result between two guards; what it holds before is nobody's business.
  VARIANT results[3];
  std::memset(results, 0xC3, sizeof results);
  const bool wanted = !random_.OneIn(6);
  outcome.asked = !random_.OneIn(8);
  ++depth_;
  outcome.result = Invoke(choice, given, outcome, wanted ? &results[1] : nullptr);
  --depth_;
  std::snprintf(doing, sizeof doing, "%s", now.c_str());

  CheckOutcome(choice, given, outcome);
  if (!maker.GuardsAreWhole()) Fail("memory around the arguments was written");
  VARIANT guard;
  std::memset(&guard, 0xC3, sizeof guard);
  if (std::memcmp(&results[0], &guard, sizeof guard) != 0 ||
      std::memcmp(&results[2], &guard, sizeof guard) != 0)
    Fail("memory around the result was written");
  if (wanted) {
    if (outcome.result != S_OK && V_VT(&results[1]) != VT_EMPTY) Fail("a failed call left a result");
    // An element of an array that a client has put there comes back as it was.
    const bool isElement = choice.member != nullptr && choice.member->parameters.empty() && given.count > 0;
    CheckResult(results[1], isElement ? 1 : 0);
    TakeResult(results[1]);
    VariantClear(&results[1]);
  }
  std::memcpy(doing, before, sizeof doing);
}

HRESULT Fuzzer::Invoke(const Choice& choice, const Given& given, Outcome& outcome, VARIANT* result) {
  std::vector<std::string> before;
  for (UINT i = 0; i < given.count; ++i)
    before.push_back(FingerprintOf(given.list[i]));
  std::vector<DISPID> names = given.names;
  DISPPARAMS arguments{given.list, names.empty() ? nullptr : names.data(), given.count,
                       static_cast<UINT>(names.size())};
  if (outcome.asked) std::memset(&outcome.failure, 0xC3, sizeof outcome.failure);
  outcome.argument = 0xC3C3;
  const HRESULT called = choice.target->Invoke(choice.id, IID_NULL, random_.Pick(Locales), choice.flags,
                                               &arguments, result, outcome.asked ? &outcome.failure : nullptr,
                                               random_.OneIn(8) ? nullptr : &outcome.argument);
  if (arguments.rgvarg != given.list || arguments.cArgs != given.count || names != given.names)
    Fail("the argument list itself was changed");
  // A value that cannot go back into the caller's variable is noticed after the call.
  const bool mayBeWritten = called == S_OK || called == DISP_E_TYPEMISMATCH || called == DISP_E_OVERFLOW ||
                            called == DISP_E_ARRAYISLOCKED;
  for (UINT i = 0; i < given.count; ++i) {
    const bool isOut = given.parameters[i] != nullptr && given.parameters[i]->isOut;
    if (mayBeWritten && (isOut || given.shared[i])) continue;
    if (FingerprintOf(given.list[i]) != before[i]) Fail("argument " + std::to_string(i) + " was changed");
  }
  return called;
}

void Fuzzer::CallMalformed(const Choice& choice) {
  VARIANT list[2];
  VariantInit(&list[0]);
  VariantInit(&list[1]);
  DISPID name = 0;
  DISPPARAMS arguments{list, &name, 2, 3};
  IID iid = IID_NULL;
  HRESULT expected = E_INVALIDARG;
  switch (random_.Below(4)) {
    case 0:
      arguments = {nullptr, nullptr, 2, 0};
      break;
    case 1:
      arguments = {list, nullptr, 2, 1};
      break;
    case 2:
      iid = IID_IUnknown;
      expected = DISP_E_UNKNOWNINTERFACE;
      break;
    default:
      break;
  }
  const HRESULT called =
      choice.target->Invoke(choice.id, iid, 0, choice.flags, &arguments, nullptr, nullptr, nullptr);
  ++results_[called];
  if (called == expected || called == DISP_E_MEMBERNOTFOUND || called == DISP_E_BADPARAMCOUNT) return;
  char text[80];
  std::snprintf(text, sizeof text, "a malformed list was answered with %08lX",
                static_cast<unsigned long>(called));
  Fail(choice.name + ": " + text);
}

void Fuzzer::TakeResult(const VARIANT& value) {
  if (V_VT(&value) == VT_DISPATCH && V_DISPATCH(&value) != nullptr) scene_->Take(V_DISPATCH(&value));
  if (V_VT(&value) != VT_UNKNOWN || V_UNKNOWN(&value) == nullptr) return;
  const auto enumerator = ComPtr<IUnknown>(V_UNKNOWN(&value)).Query<IEnumVARIANT>();
  if (!enumerator) {
    Fail("an object that is neither dispatch nor an enumerator came back");
    return;
  }
  VARIANT elements[3];
  ULONG fetched = 0;
  enumerator->Skip(static_cast<ULONG>(random_.Below(3)));
  enumerator->Next(static_cast<ULONG>(random_.Below(4)), elements, &fetched);
  for (ULONG i = 0; i < fetched; ++i) {
    CheckResult(elements[i], 0);
    scene_->Take(V_DISPATCH(&elements[i]));
    VariantClear(&elements[i]);
  }
}

}  // namespace orvo::testing
