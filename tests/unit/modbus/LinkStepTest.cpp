// How a link on a serial line keeps requests and answers in step: whatever was not answered properly may be
// answered late.
#include "unit/modbus/LinkFixture.h"

namespace orvo::modbus {

class LinkStepTest : public LinkFixture {
 protected:
  LinkStepTest() { line.mayConfuse = true; }
};

TEST_F(LinkStepTest, FallsIntoStepBeforeTheFirstRequestOfAConnection) {
  EXPECT_EQ(Read(), "done");
  EXPECT_EQ(Read(), "done");
  EXPECT_EQ(line.Calls(), "connect resync read read");
}

TEST_F(LinkStepTest, AnIdentificationIsAsGood) {
  for (const Answer& answer : {Answer{}, RefusedAnswer(1)}) {
    line.answers["identify"] = {answer};
    WorkAll();
    EXPECT_EQ(Read(), "done");
    EXPECT_EQ(line.Calls(), "connect identify read");
    link->Disconnect();
    line.Calls();
  }
}

TEST_F(LinkStepTest, AfterARequestWithoutProperAnswerFallsIntoStepFirst) {
  Read();
  for (const Answer& failure : {SilentAnswer(), RubbishAnswer()})
    for (const bool writes : {false, true}) {
      line.Calls();
      line.answers[writes ? "write" : "read"] = {failure};
      EXPECT_EQ(writes ? Write() : Read(), Text(failure));
      EXPECT_EQ(Status(), "unanswered");
      EXPECT_EQ(Read(), "done");
      EXPECT_EQ(line.Calls(), std::string(writes ? "write" : "read") + " resync read");
      EXPECT_EQ(Status(), "answering");
    }
}

TEST_F(LinkStepTest, OutOfStepNothingIsReadOrWritten) {
  Read();
  line.Calls();
  line.answers["read"] = {SilentAnswer()};
  line.answers["resync"] = {SilentAnswer(), SilentAnswer(), SilentAnswer()};
  Read();
  // Nothing of them is sent, so nothing of them can happen.
  EXPECT_EQ(Read(), "broken");
  EXPECT_EQ(Write(), "broken");
  EXPECT_EQ(Text(link->MaskRegister(0, 0, 0)), "broken");
  EXPECT_EQ(line.Calls(), "read resync resync resync");
  EXPECT_EQ(Status(), "unanswered");
  EXPECT_EQ(Write(), "done");
  EXPECT_EQ(line.Calls(), "resync write");
}

// It may be the answer to something else.
TEST_F(LinkStepTest, AfterAnExceptionThatTheProtocolDoesNotDefineFallsIntoStepFirst) {
  Read();
  for (const bool writes : {false, true}) {
    line.Calls();
    line.answers[writes ? "write" : "read"] = {RefusedAnswer(0)};
    EXPECT_EQ(writes ? Write() : Read(), "refused 0");
    EXPECT_EQ(Status(), "answering");
    EXPECT_EQ(Read(), "done");
    EXPECT_EQ(line.Calls(), std::string(writes ? "write" : "read") + " resync read");
  }
  line.answers["read"] = {RefusedAnswer(9)};
  Read();
  Read();
  EXPECT_EQ(line.Calls(), "read read");
}

// A device without that function: time has to do.
TEST_F(LinkStepTest, BehindAnExceptionThatTheProtocolDoesNotDefineTheTrueAnswerIsWaitedFor) {
  Read();
  line.answers["read"] = {RefusedAnswer(0)};
  EXPECT_EQ(Read(), "refused 0");
  line.answers["resync"] = {SilentAnswer(), SilentAnswer()};
  EXPECT_EQ(Read(), "broken");
  EXPECT_EQ(Read(), "broken");
  now += 10s;
  EXPECT_EQ(Read(), "done");
}

TEST_F(LinkStepTest, IsInStepWhenALateAnswerHasHadTimeEnough) {
  struct Row {
    std::chrono::milliseconds timeout;
    std::optional<std::chrono::milliseconds> given;
    std::chrono::milliseconds hold;
  };
  for (const Row& row : {Row{1000ms, {}, 10000ms}, Row{100ms, {}, 5000ms}, Row{500ms, {}, 5000ms},
                         Row{600ms, {}, 6000ms}, Row{100ms, 300ms, 300ms}, Row{1000ms, 60000ms, 60000ms}}) {
    timeout = row.timeout;
    hold = row.given;
    Begin();
    Read();
    line.answers["read"] = {SilentAnswer()};
    Read();
    line.Calls();
    const Link::Time since = now;
    line.answers["resync"] = {SilentAnswer()};
    now = since + row.hold - 1ms;
    EXPECT_EQ(Read(), "broken");
    EXPECT_EQ(line.Calls(), "resync");
    now = since + row.hold;
    EXPECT_EQ(Read(), "done");
    EXPECT_EQ(line.Calls(), "read") << row.timeout.count();
    EXPECT_EQ(Read(), "done");
    EXPECT_EQ(line.Calls(), "read");
  }
}

TEST_F(LinkStepTest, ADeviceSilentToBothIsInStepWhenNothingIsOutstanding) {
  line.answers["identify"] = {SilentAnswer()};
  line.answers["resync"] = {SilentAnswer()};
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect identify");
  EXPECT_EQ(Read(), "done");
  EXPECT_EQ(line.Calls(), "resync read");
  EXPECT_EQ(Status(), "answering");
}

TEST_F(LinkStepTest, ADeviceThatKnowsNeitherIsAskedForEachOnceMore) {
  line.answers["identify"] = {SilentAnswer(), SilentAnswer(), SilentAnswer()};
  line.answers["resync"] = {SilentAnswer(), SilentAnswer(), SilentAnswer()};
  for (int k = 0; k < 4; ++k) {
    WorkAll();
    EXPECT_EQ(Read(), "done");
  }
  EXPECT_EQ(line.Calls(), "connect identify resync read read read read");
}

TEST_F(LinkStepTest, ADeviceThatComesBackIsAskedForItsIdentification) {
  line.answers["identify"] = {SilentAnswer(), SilentAnswer()};
  line.answers["resync"] = {SilentAnswer(), SilentAnswer()};
  line.answers["read"] = {SilentAnswer()};
  for (const char* const outcome : {"no answer", "broken"}) {
    WorkAll();
    EXPECT_EQ(Read(), outcome);
  }
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect identify resync read identify resync identify");
  EXPECT_EQ(Read(), "done");
  EXPECT_EQ(line.Calls(), "read");
  EXPECT_EQ(state.Get().identification.vendor, "Acme");
}

TEST_F(LinkStepTest, ALinkInPlaceOfAnotherWaitsForTheLateAnswersOfThatOne) {
  Read();
  line.answers["read"] = {SilentAnswer()};
  Read();
  line.answers["resync"] = {SilentAnswer(), SilentAnswer(), SilentAnswer()};
  link->Disconnect();
  Begin();
  line.Calls();
  EXPECT_EQ(Read(), "broken");
  EXPECT_EQ(Read(), "broken");
  EXPECT_EQ(line.Calls(), "connect resync resync");
  now += 10s;
  EXPECT_EQ(Read(), "done");
  EXPECT_EQ(line.Calls(), "read");
}

TEST_F(LinkStepTest, APortThatWasLostIsOutOfStepWhenItIsBack) {
  Read();
  line.answers["write"] = {BrokenAnswer()};
  Write();
  line.Calls();
  line.answers["resync"] = {SilentAnswer()};
  EXPECT_EQ(Read(), "broken");
  EXPECT_EQ(line.Calls(), "connect resync");
}

TEST_F(LinkStepTest, BytesThatNobodyAskedForMakeItFallIntoStepFirst) {
  Read();
  line.Calls();
  line.unquiet = true;
  EXPECT_EQ(Read(), "done");
  EXPECT_EQ(line.Calls(), "unquiet resync read");
  line.unquiet = true;
  link->Work();
  EXPECT_EQ(Write(), "done");
  EXPECT_EQ(line.Calls(), "unquiet resync write");
}

TEST_F(LinkStepTest, AnUnansweredRequestDoesNotCloseThePort) {
  Read();
  line.Calls();
  line.answers["read"] = {SilentAnswer(), RubbishAnswer()};
  Read();
  Read();
  EXPECT_EQ(line.Calls(), "read resync read");
  EXPECT_EQ(link->Connections(), 1U);
}

}  // namespace orvo::modbus
