// Drivers that answer never, twice, late, from inside the call, or a request that they refused: a request of
// each kind meets them, others follow, and a model of the queue says what becomes of all of them.

#include "faults/ModelledScene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvo::testing {
namespace {

struct QueueFault {
  const char* name;
  AnswerPlan plan;
  int ticks;  // until everything that it causes is over
  bool once;  // each request that was taken is answered, and once
};

// A tick sends, the next one delivers, the one after that sends again: 0 comes before the delivery, 1 after it,
// 2 when the next request is in flight. After 230 ticks no caller waits any more.
const std::vector<QueueFault>& QueueFaults() {
  static const std::vector<QueueFault> faults{
      {"once", {.after = {0}}, 12, true},
      {"after a second", {.after = {20}}, 32, true},
      {"never", {}, 12, false},
      {"twice at once", {.after = {0, 0}}, 14, false},
      {"again after its delivery", {.after = {0, 1}}, 14, false},
      {"again when the next one is in flight", {.after = {0, 2}}, 14, false},
      {"again after two others", {.after = {0, 4, 4}}, 16, false},
      {"again when nothing is in flight", {.after = {0, 11}}, 16, false},
      {"too late", {.after = {230}}, 245, true},
      {"too late and twice", {.after = {230, 231}}, 245, false},
      {"inside the call", {.inside = true}, 12, true},
      {"inside the call and again", {.inside = true, .after = {0}}, 14, false},
      {"inside the call and after the delivery", {.inside = true, .after = {1}}, 14, false},
      {"inside the call, which fails", {.inside = true, .refused = true}, 14, false},
      {"inside the call, which fails, and again",
       {.inside = true, .refused = true, .after = {0, 2}},
       16,
       false},
      {"not: refused", {.refused = true}, 12, true},
      {"though refused", {.refused = true, .after = {0}}, 14, false},
      {"though refused, when the next one is in flight", {.refused = true, .after = {2}}, 14, false},
  };
  return faults;
}

constexpr std::int32_t RequestKinds[] = {1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13};

std::string Guarded(const std::function<std::string()>& row) {
  try {
    return row();
  } catch (const std::exception& error) {
    return std::string(" escaped: ") + error.what();
  } catch (...) {
    return " an exception escaped";
  }
}

// What comes after a fault: a driver that owes an answer gives it, and then two requests have their own
// answers.
void ComeToRest(ModelledScene& scene) {
  if (scene.IsBusy()) scene.AnswerNow();
  scene.Ticks(12);
  scene.Issue(4);
  scene.Issue(1);
  scene.Ticks(6);
}

std::string FaultyAnswer(const QueueFault& fault, std::int32_t first, std::int32_t second) {
  ModelledScene scene;
  scene.plans = {fault.plan};
  scene.Issue(first);
  scene.Issue(second);
  scene.Issue(1);
  scene.Ticks(fault.ticks);
  std::string wrong;
  if (fault.once && scene.IsBusy()) wrong = "\n  the spooler is still busy";
  ComeToRest(scene);
  if (scene.IsBusy()) wrong += "\n  the spooler stays busy";
  return wrong + scene.End();
}

TEST(QueueFaults, EndAsTheModelOfTheQueueSays) {
  std::size_t rows = 0;
  for (const QueueFault& fault : QueueFaults())
    for (const std::int32_t first : RequestKinds)
      for (const std::int32_t second : {1, 3, 4, 7, 10, 11, 12}) {
        ++rows;
        const std::string wrong = Guarded([&] { return FaultyAnswer(fault, first, second); });
        if (!wrong.empty())
          ADD_FAILURE() << "a request of kind " << first << " is answered " << fault.name
                        << ", then one of kind " << second << ":" << wrong;
      }
  EXPECT_EQ(rows, 18U * 12 * 7);
}

// When an answer is given that the close did not give: while closed, after the next open, or never; twice of
// it.
struct LateAnswer {
  const char* name;
  int whileClosed;
  int afterOpen;
};
constexpr LateAnswer LateAnswers[] = {
    {"while closed", 1, 0},
    {"while closed, twice", 2, 0},
    {"after the next open", 0, 1},
    {"after the next open, twice", 0, 2},
    {"in both", 1, 1},
    {"never", 0, 0},
};

std::string AnswerAcrossAClose(const LateAnswer& late, std::int32_t first, std::int32_t second,
                               int ticksBefore) {
  ModelledScene scene;
  scene.plans = {AnswerPlan{}};
  scene.Issue(first);
  scene.Issue(second);
  scene.Ticks(ticksBefore);
  scene.Close();
  for (int k = 0; k < late.whileClosed; ++k)
    scene.AnswerNow();
  scene.Open();
  scene.Issue(2);
  for (int k = 0; k < late.afterOpen; ++k)
    scene.AnswerNow();
  scene.Ticks(12);
  ComeToRest(scene);
  const std::string busy = scene.IsBusy() ? "\n  the spooler stays busy" : "";
  return busy + scene.End();
}

TEST(QueueFaults, EndAsTheModelSaysAlsoAcrossACloseAndTheNextOpen) {
  std::size_t rows = 0;
  for (const LateAnswer& late : LateAnswers)
    for (const std::int32_t first : RequestKinds)
      for (const std::int32_t second : {1, 3, 10, 4})
        for (const int ticksBefore : {0, 1, 2}) {
          ++rows;
          const std::string wrong =
              Guarded([&] { return AnswerAcrossAClose(late, first, second, ticksBefore); });
          if (!wrong.empty())
            ADD_FAILURE() << "a request of kind " << first << " is answered " << late.name << ", "
                          << ticksBefore << " ticks before the close, one of kind " << second
                          << " waits:" << wrong;
        }
  EXPECT_EQ(rows, 6U * 12 * 4 * 3);
}

}  // namespace
}  // namespace orvo::testing
