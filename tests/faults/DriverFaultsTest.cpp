// Every operation of the driver fails in every way in every public operation that reaches it.

#include "faults/FaultPairs.h"
#include "faults/PublicCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace orvo::testing {
namespace {

// What is there after a call that met no failure.
const Picture& PictureAfter(const PublicCall& call) {
  static std::map<std::string, Picture> pictures;
  const auto found = pictures.find(call.name);
  if (found != pictures.end()) return found->second;
  FaultScene scene(call.setup);
  call.run(scene);
  return pictures.emplace(call.name, scene.Look()).first->second;
}

// What is wrong with the row; nothing when all is as the table says.
std::string FaultRow(const FaultPair& pair, const DriverFailure& failure) {
  const PublicCall& call = PublicCallNamed(pair.call);
  const bool fromDone = pair.left.starts_with("done: ");
  FaultScene scene(call.setup);
  const Picture before = fromDone ? PictureAfter(call) : scene.Look();
  scene.driver->Arm(pair.operation, failure, pair.nth);
  const std::string outcome = call.run(scene);
  if (scene.driver->Raised() == 0) return "the operation was not reached";
  std::string wrong;
  const auto compare = [&wrong](const std::string& got, const std::string& expected) {
    if (got != expected) wrong += "\n  got      " + got + "\n  expected " + expected;
  };
  compare(outcome, Expanded(pair.outcome, failure));
  compare(Difference(before, scene.Look()), fromDone ? pair.left.substr(6) : pair.left);
  compare(scene.Recover(), "");
  compare(scene.End(), "");
  return wrong;
}

std::string GuardedFaultRow(const FaultPair& pair, const DriverFailure& failure) {
  try {
    return FaultRow(pair, failure);
  } catch (const AutomationError& error) {
    return " escaped: " + std::to_string(error.Number()) + ": " + error.Description();
  } catch (const std::exception& error) {
    return std::string(" escaped: ") + error.what();
  } catch (...) {
    return " an exception escaped";
  }
}

TEST(DriverFaults, HaveTheirDocumentedEffectAndAreOverAfterwards) {
  std::size_t rows = 0;
  for (const FaultPair& pair : FaultPairs())
    for (const DriverFailure& failure : DriverFailures()) {
      ++rows;
      const std::string wrong = GuardedFaultRow(pair, failure);
      if (!wrong.empty())
        ADD_FAILURE() << pair.operation << (pair.nth != 0 ? " #" + std::to_string(pair.nth) : "")
                      << " fails with " << failure.name << " in " << pair.call << ":" << wrong;
    }
  EXPECT_EQ(rows, FaultPairs().size() * 12);
  EXPECT_EQ(rows, 2604U);
}

using Reached = std::set<std::pair<std::string, std::string>>;

// The table holds exactly what the driver sees when the whole public interface is used.
TEST(DriverFaults, AreTriedWhereverThePublicInterfaceReachesTheDriver) {
  Reached seen;
  for (const PublicCall& call : PublicCalls()) {
    FaultScene scene(call.setup);
    call.run(scene);
    for (const std::string& operation : scene.driver->called)
      seen.emplace(operation, call.name);
    scene.driver->called.clear();
    scene.plant->server.reset();
    for (const std::string& operation : scene.driver->called)
      seen.emplace(operation, "the end of the server");
  }
  Reached inTable;
  for (const FaultPair& pair : FaultPairs())
    inTable.emplace(pair.operation, pair.call);
  for (const auto& [operation, call] : seen)
    EXPECT_TRUE(inTable.contains({operation, call})) << operation << " is reached by " << call << ": no row";
  for (const auto& [operation, call] : inTable)
    EXPECT_TRUE(seen.contains({operation, call})) << operation << " is not reached by " << call;
  EXPECT_EQ(inTable, seen);
}

TEST(DriverFaults, EveryOperationOfTheContractButTheReservedOnesIsTried) {
  std::set<std::string> expected(DriverOperations().begin(), DriverOperations().end());
  for (const char* const reserved : {"Reserved18", "Reserved23", "Reserved29"})
    expected.erase(reserved);
  for (const char* const further : {"factory", "CompileItemId", "ExtractValue", "ItemLoaded"})
    expected.insert(further);
  std::set<std::string> tried;
  for (const FaultPair& pair : FaultPairs())
    tried.insert(pair.operation);
  EXPECT_EQ(tried, expected);
}

}  // namespace
}  // namespace orvo::testing
