// How often a link connects to devices that end connections: a minute of its work in the background, as a
// whole.
#include "unit/modbus/LinkFixture.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace orvo::modbus {

class LinkPauseTest : public LinkFixture {
 protected:
  LinkPauseTest() { begin = now; }

  // Works as the driver's thread does. The answer to each call ends the connection as `ends` says; `request` is
  // made each `period` (0: never).
  void PassAMinute(const std::function<void()>& request = {}, std::chrono::milliseconds period = 0ms) {
    const Link::Time end = begin + 60s;
    Link::Time nextRequest = request ? begin + period : end;
    for (int steps = 0; now < end; ++steps) {
      ASSERT_LT(steps, 5000) << "it does not rest";
      if (ended) {
        ended = false;
        line.unquiet = true;
        link->Work();
      }
      if (now >= nextRequest) {
        request();
        nextRequest += period;
        continue;
      }
      const Link::Time next = link->NextWork().value_or(end);
      if (next <= now)
        link->Work();
      else
        now = std::min(next, nextRequest);
    }
  }
  // The times of connecting, in ms from the beginning.
  void NoteConnections() {
    line.answering = [this](const Answer& answer) {
      if (answer.kind == Answer::Kind::NoAnswer) now += timeout;
      const std::string call = line.log.substr(line.log.rfind(' ') + 1);
      if (call == "connect")
        connections.push_back(std::chrono::ceil<std::chrono::milliseconds>(now - begin).count());
      ended = endsAfter.contains(call) && answer.kind != Answer::Kind::Broken;
    };
  }

  Link::Time begin;
  bool ended = false;
  std::set<std::string> endsAfter;
  std::vector<std::int64_t> connections;
};

const std::vector<std::int64_t> TwiceAsLong{0,     100,   300,   700,   1500,  3100,  6300,  11300, 16300,
                                            21300, 26300, 31300, 36300, 41300, 46300, 51300, 56300};

TEST_F(LinkPauseTest, ADeviceThatEndsTheConnectionAfterEachAnswerIsLeftAloneLongerAndLonger) {
  NoteConnections();
  endsAfter = {"identify"};
  PassAMinute();
  EXPECT_EQ(connections, TwiceAsLong);
  std::string calls = "connect identify unquiet";
  for (std::size_t k = 1; k < TwiceAsLong.size(); ++k)
    calls += " connect identify unquiet";
  EXPECT_EQ(line.Calls(), calls);
  EXPECT_EQ(Status(), "not connected");
}

TEST_F(LinkPauseTest, SoIsOneThatRefusesTheIdentificationAndEndsTheConnection) {
  NoteConnections();
  endsAfter = {"identify"};
  line.answers["identify"] = std::deque<Answer>(100, RefusedAnswer(1));
  PassAMinute();
  EXPECT_EQ(connections, TwiceAsLong);
}

TEST_F(LinkPauseTest, SoIsOneThatEndsEachConnectionAtOnce) {
  NoteConnections();
  endsAfter = {"connect"};
  PassAMinute();
  EXPECT_EQ(connections, TwiceAsLong);
  EXPECT_EQ(line.Calls().find("identify"), std::string::npos);
}

TEST_F(LinkPauseTest, SoIsOneThatEndsTheConnectionInsteadOfAnAnswer) {
  NoteConnections();
  line.answers["identify"] = std::deque<Answer>(100, BrokenAnswer());
  endsAfter = {"connect"};
  PassAMinute();
  EXPECT_EQ(connections, TwiceAsLong);
}

TEST_F(LinkPauseTest, AWellDeviceIsConnectedOnce) {
  NoteConnections();
  PassAMinute();
  EXPECT_EQ(connections, std::vector<std::int64_t>{0});
  EXPECT_EQ(line.Calls(), "connect identify");
}

// Whatever the background does, each of them finds a connection.
TEST_F(LinkPauseTest, RequestsToADeviceThatEndsTheConnectionAfterEachAnswerAreAllServed) {
  NoteConnections();
  endsAfter = {"identify", "read"};
  int served = 0;
  PassAMinute([&] { served += Read() == "done" ? 1 : 0; }, 1s);
  EXPECT_EQ(served, 59);
  // Behind each read one after 100 ms, 200 ms and 400 ms more.
  EXPECT_GE(connections.size(), 59U);
  EXPECT_LE(connections.size(), 59U * 4 + 4);
}

TEST_F(LinkPauseTest, RequestsToADeviceThatAnswersNoneBesiegeItNeither) {
  NoteConnections();
  endsAfter = {"identify"};
  line.answers["read"] = std::deque<Answer>(1000, BrokenAnswer());
  PassAMinute([&] { EXPECT_EQ(Read(), "broken"); }, 100ms);
  EXPECT_LE(connections.size(), 2 * TwiceAsLong.size());
}

}  // namespace orvo::modbus
