// The line to the device is cut and comes back: the same server, groups, items and handles go on, with lists of
// items and with whole groups, whatever was going on at the cut.

#include "faults/LineScene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvo::testing {
namespace {

struct LineCase {
  LineKind kind;
  const char* name;
  std::string lost;  // the errors of a request that meets the cut line
  bool answers;      // a request on the cut line is answered
};
const LineCase LineCases[] = {{LineKind::Reporting, "a driver that reports", "[4,4,4]", true},
                              {LineKind::Refusing, "a driver that refuses", "[99,99,99]", false},
                              {LineKind::Panel, "the panel", "[5,5,5]", true}};

// Compares, and keeps what differs.
class Findings {
 public:
  void Same(const std::string& what, const std::string& got, const std::string& expected) {
    if (got != expected) text_ += "\n  " + what + ": got '" + got + "', expected '" + expected + "'";
  }
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

constexpr const char* Nothing3 = "[Empty,Empty,Empty]";

// Each cuts the line at another moment, and returns with it cut.
struct CutMoment {
  const char* name;
  void (*cut)(LineScene&, const LineCase&, Findings&);
  bool losesRead = false;     // an asynchronous read is answered with errors
  bool losesRefresh = false;  // a refresh is
};

void CutIdle(LineScene& scene, const LineCase&, Findings&) {
  scene.AwaitIdle();
  scene.Cut(true);
}

// A request that was taken before the cut is lost with it: errors, also with a driver that refuses later ones.
std::string LostInFlight(const LineCase& line) {
  return line.kind == LineKind::Panel ? "[5,5,5]" : "[4,4,4]";
}

void CutInFlight(LineScene& scene, const LineCase& line, Findings& findings) {
  scene.AwaitIdle();
  std::int32_t id = 0;
  scene.TakeEvents();
  scene.group->AsyncRead({1, 2, 3}, id);
  scene.AwaitOutstanding();
  scene.Cut(true);
  scene.Advance(170ms);
  findings.Same("the read that was under way", scene.TakeEvents(),
                "AsyncReadComplete " + std::to_string(id) + " [1,2,3] " + Nothing3 + " " + LostInFlight(line));
}

void CutInAWrite(LineScene& scene, const LineCase& line, Findings& findings) {
  scene.AwaitIdle();
  std::int32_t id = 0;
  scene.TakeEvents();
  scene.group->AsyncWrite({1, 2, 3}, {"5", "6", "7"}, id);
  scene.AwaitOutstanding();
  scene.Cut(true);
  scene.Advance(170ms);
  findings.Same("the write that was under way", scene.TakeEvents(),
                "AsyncWriteComplete " + std::to_string(id) + " [1,2,3] " + LostInFlight(line));
}

void CutInARefresh(LineScene& scene, const LineCase&, Findings& findings) {
  scene.AwaitIdle();
  scene.TakeEvents();
  scene.AwaitOutstanding();
  findings.Same("refresh pending", scene.group->RefreshPending() ? "yes" : "no", "yes");
  scene.Cut(true);
}

void CutInAWait(LineScene& scene, const LineCase& line, Findings& findings) {
  scene.AwaitIdle();
  // Once the request of the call is on the line.
  for (auto delay = 10ms; delay <= 200ms; delay += 10ms)
    scene.At(delay, [&scene] {
      if (scene.IsOutstanding() && !scene.IsCut()) scene.Cut(true);
    });
  findings.Same("the call that waited", scene.SyncRead(), std::string(Nothing3) + " " + LostInFlight(line));
}

void CutBetweenCloseAndOpen(LineScene& scene, const LineCase&, Findings& findings) {
  scene.Server().CloseCommunication();
  scene.Cut(true);
  scene.Server().OpenCommunication();
  findings.Same("status", std::to_string(scene.Server().ServerStatus()), "3");
}

void CutBeforeACloseAndAnOpen(LineScene& scene, const LineCase&, Findings& findings) {
  scene.AwaitIdle();
  scene.Cut(true);
  scene.Advance(700ms);
  scene.Server().CloseCommunication();
  findings.Same("status", std::to_string(scene.Server().ServerStatus()), "2");
  scene.Advance(700ms);
  scene.Server().OpenCommunication();
  findings.Same("status", std::to_string(scene.Server().ServerStatus()), "3");
}

constexpr CutMoment CutMoments[] = {{"while idle", &CutIdle},
                                    {"during a read", &CutInFlight, true},
                                    {"during a write", &CutInAWrite},
                                    {"during a refresh", &CutInARefresh, false, true},
                                    {"during a waiting call", &CutInAWait},
                                    {"between close and open", &CutBetweenCloseAndOpen},
                                    {"before a close and an open", &CutBeforeACloseAndAnOpen}};

// With the line cut: every request says so, nothing blocks, nothing comes that is not true.
void Endure(LineScene& scene, const LineCase& line, bool wholeGroups, Findings& findings) {
  scene.Advance(300ms);
  scene.TakeEvents();
  const std::string lost = std::string(Nothing3) + " " + line.lost;
  findings.Same("SyncRead while cut", scene.SyncRead(), lost);
  findings.Same("SyncReadAll while cut", scene.SyncReadAll(*scene.group), lost);
  findings.Same("SyncWrite while cut", scene.SyncWrite(), line.lost);
  findings.Same("AsyncRead while cut", scene.AsyncRead(), line.answers ? lost : "no event");
  scene.AwaitIdle();
  scene.Advance(300ms);
  scene.TakeEvents();
  scene.Advance(1000ms);
  // A list refresh hands on what the driver gives beside an error: nothing, as long as it lasts. One of a whole
  // group, and one that was refused, tells nothing.
  const bool told = line.answers && !wholeGroups;
  const std::string change = std::string("DataChange [1,2,3] ") + Nothing3;
  findings.Same("refreshes while cut", scene.TakeEvents(), told ? change + "; " + change : "");
}

// The line is back: the refresh tells what is other now, everything works, with the same handles. Where the
// clients were told of nothing in between (by an answer with errors: a list refresh knows the previous one, a
// whole group's goes by what its items hold) they are told again what there is.
void GoOn(LineScene& scene, bool wholeGroups, bool toldOfNothing, bool changed, Findings& findings) {
  for (int k = 0; k < 20; ++k) {  // what the line lost so far is told of
    scene.AwaitIdle();
    scene.Advance(110ms);
    if (!scene.Server().Spooler()->IsBusy()) break;
  }
  scene.TakeEvents();
  scene.Cut(false);
  if (changed) scene.PutLevel(scene.Level() + 3);
  scene.Advance(1500ms);
  const std::string change = "DataChange [1,2,3] " + scene.Values(wholeGroups);
  findings.Same("refreshes afterwards", scene.TakeEvents(), changed || toldOfNothing ? change : "");
  scene.PutLevel(scene.Level() + 1);
  scene.Advance(1000ms);
  findings.Same("the next change", scene.TakeEvents(), "DataChange [1,2,3] " + scene.Values(wholeGroups));
  findings.Same("SyncRead", scene.SyncRead(), scene.Values(false) + " [0,0,0]");
  findings.Same("SyncReadAll", scene.SyncReadAll(*scene.group), scene.Values(wholeGroups) + " [0,0,0]");
  findings.Same("AsyncRead", scene.AsyncRead(), scene.Values(false) + " [0,0,0]");
  findings.Same("SyncWrite", scene.SyncWrite(), "[0,0,0]");
}

std::string LinkLoss(const LineCase& line, const CutMoment& moment, bool wholeGroups, bool changed) {
  LineScene scene(line.kind, wholeGroups);
  Findings findings;
  scene.Advance(700ms);
  findings.Same("the first refresh", scene.TakeEvents(), "DataChange [1,2,3] " + scene.Values(wholeGroups));
  moment.cut(scene, line, findings);
  Endure(scene, line, wholeGroups, findings);
  const bool lost = wholeGroups ? moment.losesRead : moment.losesRefresh;
  GoOn(scene, wholeGroups, line.answers || lost, changed, findings);
  findings.Same("at the end", scene.End(), "");
  return findings.Text();
}

TEST(LinkRecovery, TheSameHandlesGoOnWhateverTheCutMet) {
  std::size_t rows = 0;
  for (const LineCase& line : LineCases)
    for (const CutMoment& moment : CutMoments)
      for (const bool wholeGroups : {false, true})
        for (const bool changed : {false, true}) {
          ++rows;
          const std::string wrong = LinkLoss(line, moment, wholeGroups, changed);
          if (!wrong.empty())
            ADD_FAILURE() << line.name << ", " << (wholeGroups ? "whole groups" : "lists of items") << ", cut "
                          << moment.name << ", " << (changed ? "values change meanwhile" : "nothing changes")
                          << wrong;
        }
  EXPECT_EQ(rows, 84U);
}

// Cut for two seconds of every five, by the panel's script; asked in the middle of each half.
TEST(LinkRecovery, ALineThatIsCutAgainAndAgainComesBackEachTime) {
  for (const bool wholeGroups : {false, true}) {
    LineScene scene(LineKind::Panel, wholeGroups, "link cut at 3 s for 2 s every 5 s");
    scene.Advance(1500ms);
    EXPECT_EQ(scene.TakeEvents(), "DataChange [1,2,3] " + scene.Values(wholeGroups));
    for (int round = 1; round <= 12; ++round) {
      SCOPED_TRACE(round);
      scene.PutLevel(round + 1);
      EXPECT_EQ(scene.SyncRead(), scene.Values(false) + " [0,0,0]");
      EXPECT_EQ(scene.SyncReadAll(*scene.group), scene.Values(wholeGroups) + " [0,0,0]");
      scene.AdvanceTo(5000 * (round - 1) + 4000);
      scene.PutLevel(round + 101);
      EXPECT_EQ(scene.SyncRead(), std::string(Nothing3) + " [5,5,5]");
      EXPECT_EQ(scene.SyncReadAll(*scene.group), std::string(Nothing3) + " [5,5,5]");
      scene.TakeEvents();
      scene.AdvanceTo(5000 * round + 1500);
      const std::string change = "DataChange [1,2,3] " + scene.Values(wholeGroups);
      const std::string events = scene.TakeEvents();
      EXPECT_TRUE(events.ends_with(change)) << events;
      EXPECT_EQ(events.find(change), events.rfind(change)) << "told more than once: " << events;
    }
    EXPECT_EQ(scene.End(), "");
  }
}

// A definition that the cut line did not let through is made by the first request that needs it afterwards.
TEST(LinkRecovery, ADefinitionThatFailedIsMadeAgainByTheNextRequest) {
  LineScene scene(LineKind::Reporting, true);
  scene.Cut(true);
  EXPECT_EQ(scene.SyncReadAll(*scene.other), std::string(Nothing3) + " [99,99,99]");
  EXPECT_FALSE(scene.other->IsDefined());
  scene.Cut(false);
  EXPECT_EQ(scene.SyncReadAll(*scene.other), scene.Values(true) + " [0,0,0]");
  EXPECT_TRUE(scene.other->IsDefined());
  EXPECT_EQ(scene.DefinitionsSent(133), 2);
  EXPECT_EQ(scene.DefinitionsSent(5), 1);  // what was defined is not defined again
  EXPECT_EQ(scene.End(), "");
}

// An active group that got no definition when communication was opened has no timer; the next open gives it
// one.
TEST(LinkRecovery, AGroupThatCouldNotBeDefinedAtAnOpenIsRefreshedAfterTheNext) {
  for (const LineKind kind : {LineKind::Reporting, LineKind::Refusing}) {
    LineScene scene(kind, true);
    scene.Server().CloseCommunication();
    scene.group->ReleaseDefinition();
    scene.Cut(true);
    scene.Server().OpenCommunication();
    EXPECT_EQ(scene.Server().ServerStatus(), 3);
    EXPECT_TRUE(scene.group->Active());
    EXPECT_LT(scene.group->TimerId(), 0);
    scene.Cut(false);
    scene.Advance(2s);
    EXPECT_EQ(scene.TakeEvents(), "");
    EXPECT_EQ(scene.SyncReadAll(*scene.group), scene.Values(true) + " [0,0,0]");
    scene.Server().CloseCommunication();
    scene.Server().OpenCommunication();
    EXPECT_GE(scene.group->TimerId(), 0);
    scene.PutLevel(2);
    scene.Advance(1s);
    EXPECT_EQ(scene.TakeEvents(), "DataChange [1,2,3] " + scene.Values(true));
    EXPECT_EQ(scene.End(), "");
  }
}

// An active group's rate and activity are changed while the line is cut; nothing of it needs the line.
TEST(LinkRecovery, AGroupThatIsSwitchedWhileTheLineIsCutIsRefreshedAsItSays) {
  for (const LineCase& line : LineCases)
    for (const bool wholeGroups : {false, true}) {
      SCOPED_TRACE(line.name);
      LineScene scene(line.kind, wholeGroups);
      scene.Advance(700ms);
      scene.Cut(true);
      scene.group->PutActive(false);
      scene.Advance(1s);
      scene.group->PutUpdateRate(250);
      scene.group->PutActive(true);
      EXPECT_TRUE(scene.group->Active());
      scene.Advance(1s);
      scene.Cut(false);
      scene.PutLevel(4);
      scene.Advance(1s);
      scene.TakeEvents();
      scene.PutLevel(5);
      scene.Advance(400ms);
      EXPECT_EQ(scene.TakeEvents(), "DataChange [1,2,3] " + scene.Values(wholeGroups));
      EXPECT_EQ(scene.End(), "");
    }
}

}  // namespace
}  // namespace orvo::testing
