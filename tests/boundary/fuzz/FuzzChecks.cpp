// Fuzzer: what must hold for every call.
#include "AllocationCount.h"
#include "Fuzzer.h"
#include "com/Bstr.h"
#include "errors/modIDataErrors.h"

#include <algorithm>
#include <cstdio>

namespace orvo::testing {

namespace {

constexpr HRESULT ClassicBase = static_cast<HRESULT>(0x800A0000U);

std::string Hexadecimal(HRESULT result) {
  char text[12];
  std::snprintf(text, sizeof text, "%08lX", static_cast<unsigned long>(result));
  return text;
}

// A failure that the system can have of its own accord.
bool IsOwnFailure(HRESULT result) {
  if (FindDataError(static_cast<std::int32_t>(result)) != nullptr) return true;
  const long number = result - ClassicBase;
  if (number == 10) return true;  // an array that cannot be given other bounds
  return std::any_of(RuntimeErrorTable.begin(), RuntimeErrorTable.end(),
                     [number](const RuntimeErrorRow& row) { return static_cast<long>(row.error) == number; });
}

}  // namespace

void Fuzzer::Fail(const std::string& what) {
  ++failures_;
  std::printf("FAILED: seed %llu %s: %s\n", static_cast<unsigned long long>(seed_), Doing(), what.c_str());
  std::fflush(stdout);
}

void Fuzzer::CheckOutcome(const Choice& choice, const Given& given, const Outcome& outcome) {
  ++results_[outcome.result];
  if (members_.contains(choice.name) && choice.member != nullptr &&
      (outcome.result == S_OK || outcome.result == DISP_E_EXCEPTION)) {
    reached_.insert(choice.name);
    if (outcome.result == S_OK) succeeded_.insert(choice.name);
  }
  switch (outcome.result) {
    case S_OK:
    case DISP_E_MEMBERNOTFOUND:
    case DISP_E_BADPARAMCOUNT:
    case DISP_E_PARAMNOTOPTIONAL:
    case DISP_E_PARAMNOTFOUND:
    case DISP_E_BADINDEX:  // of an array that a property holds
      return;
    case DISP_E_TYPEMISMATCH:
    case DISP_E_OVERFLOW:
    case DISP_E_BADVARTYPE:
    case DISP_E_ARRAYISLOCKED:
      if (outcome.argument != 0xC3C3 && outcome.argument >= given.count)
        Fail("the index of the argument is wrong");
      return;
    case DISP_E_EXCEPTION:
      if (outcome.asked) CheckFailure(choice, outcome);
      return;
    default:
      Fail("the call was answered with " + Hexadecimal(outcome.result));
  }
}

void Fuzzer::CheckFailure(const Choice& choice, const Outcome& outcome) {
  EXCEPINFO failure = outcome.failure;
  const std::string description = com::TextOf(failure.bstrDescription);
  const std::string source = com::TextOf(failure.bstrSource);
  SysFreeString(failure.bstrDescription);
  SysFreeString(failure.bstrSource);
  SysFreeString(failure.bstrHelpFile);
  if (description.empty()) Fail("failure " + Hexadecimal(failure.scode) + " has no description");
  if (!source.starts_with("ORVOBusiness."))
    Fail("failure " + Hexadecimal(failure.scode) + " has the source " + source);
  if (failure.wCode != 0 || failure.pfnDeferredFillIn != nullptr) Fail("the failure is not filled in");
  // A client's object as the driver fails with whatever it likes; so does a null reference.
  const bool foreign =
      (choice.member->kind == INVOKE_PROPERTYPUTREF && choice.info->Id() == __uuidof(_DataRequests)) ||
      failure.scode == E_POINTER;
  if (!FAILED(failure.scode) || (!foreign && !IsOwnFailure(failure.scode)))
    Fail("failure " + Hexadecimal(failure.scode) + ": " + description);
}

// What scripts can take: their own types, and arrays of them that they can index.
void Fuzzer::CheckResult(const VARIANT& value, int depth) {
  switch (V_VT(&value)) {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I2:
    case VT_I4:
    case VT_R4:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_BOOL:
    case VT_BSTR:
    case VT_UI1:
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return;
    case VT_ERROR:
    case VT_DECIMAL:
    case VT_I1:
    case VT_UI2:
    case VT_UI4:
    case VT_I8:
    case VT_UI8:
    case VT_INT:
    case VT_UINT:
      if (depth == 0) Fail("a result has the type " + std::to_string(V_VT(&value)));
      return;  // a client's own element comes back as it was
    case VT_ARRAY | VT_VARIANT: {
      SAFEARRAY* const array = V_ARRAY(&value);
      if (array == nullptr || array->cDims != 1 || array->cLocks != 0) {
        Fail("an array that came back is not whole");
        return;
      }
      for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i)
        CheckResult(static_cast<const VARIANT*>(array->pvData)[i], depth + 1);
      return;
    }
    default:
      Fail("a result has the type " + std::to_string(V_VT(&value)));
  }
}

void Fuzzer::CheckCoverage() {
  for (const std::string& member : members_) {
    if (!reached_.contains(member)) Fail(member + " was never reached");
  }
  if (blocks_ < 0) return;
  // More than a few mean that something is lost with every round; a few are tables that grow once.
  constexpr std::int64_t Margin = 50;
  if (BlocksInUse() - blocks_ > Margin)
    Fail(std::to_string(BlocksInUse() - blocks_) + " blocks of memory more than after a quarter of the run");
  if (AutomationBlocksInUse() - automationBlocks_ > Margin)
    Fail(std::to_string(AutomationBlocksInUse() - automationBlocks_) +
         " strings, arrays or values more than after a quarter of the run");
}

std::string Fuzzer::Summary() const {
  std::string text = std::to_string(calls_) + " calls; members: " + std::to_string(members_.size()) +
                     ", reached: " + std::to_string(reached_.size()) +
                     ", with success: " + std::to_string(succeeded_.size()) + "\n";
  for (const std::string& member : members_)
    if (!succeeded_.contains(member)) text += "  never with success: " + member + "\n";
  for (const auto& [result, count] : results_)
    text += "  " + Hexadecimal(result) + " " + std::to_string(count) + "\n";
  text += "blocks of memory: " + std::to_string(BlocksInUse()) + ", after a quarter of the run " +
          std::to_string(blocks_) + "; strings, arrays, values: " + std::to_string(AutomationBlocksInUse()) +
          ", after a quarter of the run " + std::to_string(automationBlocks_) + "\n";
  return text;
}

}  // namespace orvo::testing
