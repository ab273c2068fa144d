// How a link connects, heals and tells its state.
#include "unit/modbus/LinkFixture.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace orvo::modbus {

class LinkTest : public LinkFixture {};

TEST_F(LinkTest, ConnectsForTheFirstRequestAndKeepsTheConnection) {
  EXPECT_EQ(Read(), "done");
  EXPECT_EQ(Write(), "done");
  EXPECT_EQ(line.Calls(), "connect read write");
  EXPECT_EQ(link->Connections(), 1U);
}

TEST_F(LinkTest, EveryKindOfRequestReachesItsOwnOnTheLine) {
  std::uint8_t bit = 0;
  const std::uint8_t coil = 1;
  EXPECT_EQ(Text(link->ReadBits(Area::Coils, 0, {&bit, 1})), "done");
  EXPECT_EQ(Text(link->WriteCoils(0, {&coil, 1})), "done");
  EXPECT_EQ(Text(link->MaskRegister(0, 0, 0)), "done");
  EXPECT_EQ(line.Calls(), "connect read write mask");
}

TEST_F(LinkTest, ConnectsAndIdentifiesInTheBackgroundOnce) {
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect identify");
  EXPECT_EQ(state.Get().identification, (Identification{"Acme", "P7", "V1.5"}));
  EXPECT_EQ(Status(), "answering");
  EXPECT_FALSE(link->NextWork());
  link->Work();
  EXPECT_EQ(line.Calls(), "");
}

TEST_F(LinkTest, PausesTwiceAsLongAfterEachAttemptInVainUpToFiveSeconds) {
  line.answers["connect"] = {BrokenAnswer(), BrokenAnswer(), BrokenAnswer(), BrokenAnswer(), BrokenAnswer(),
                             BrokenAnswer(), BrokenAnswer(), BrokenAnswer(), BrokenAnswer()};
  std::vector<std::int64_t> pauses;
  for (int k = 0; k < 9; ++k) {
    link->Work();
    pauses.push_back(std::chrono::ceil<std::chrono::milliseconds>(*link->NextWork() - now).count());
    now = *link->NextWork() - 1ms;
    link->Work();  // too early: nothing happens
    now += 1ms;
  }
  EXPECT_EQ(line.Calls(), "connect connect connect connect connect connect connect connect connect");
  EXPECT_EQ(pauses, (std::vector<std::int64_t>{100, 200, 400, 800, 1600, 3200, 5000, 5000, 5000}));
  EXPECT_EQ(Status(), "not connected");
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect identify");
  EXPECT_EQ(Status(), "answering");
}

TEST_F(LinkTest, ARequestDuringThePauseFailsAtOnceAndTellsWhenItIsOver) {
  line.answers["connect"] = {BrokenAnswer(), BrokenAnswer()};
  EXPECT_EQ(ReadAnswer().reason, "cut");
  EXPECT_EQ(ReadAnswer().reason, "cut; the next attempt to connect is in 0.1 s");
  EXPECT_EQ(Write(), "broken");
  EXPECT_EQ(line.Calls(), "connect");
  now += 100ms;
  EXPECT_EQ(Read(), "broken");
  EXPECT_EQ(line.Calls(), "connect");
  EXPECT_EQ(ReadAnswer().reason, "cut; the next attempt to connect is in 0.2 s");
  now += 200ms;
  EXPECT_EQ(Read(), "done");
}

TEST_F(LinkTest, OnlyAReadOrWriteTakesThePauseBack) {
  line.answers["connect"] = {BrokenAnswer(), BrokenAnswer()};
  link->Work();
  now += 100ms;
  link->Work();
  now += 200ms;
  line.unquiet = true;
  link->Work();  // connected
  link->Work();  // and lost before an answer
  EXPECT_EQ(line.Calls(), "connect connect connect unquiet");
  EXPECT_EQ(*link->NextWork() - now, 400ms);
  now += 400ms;
  WorkAll();  // identified, and lost
  line.unquiet = true;
  link->Work();
  EXPECT_EQ(line.Calls(), "connect identify unquiet");
  EXPECT_EQ(*link->NextWork() - now, 800ms);
  for (const bool refused : {false, true}) {
    if (refused) line.answers["read"] = {RefusedAnswer(2)};
    EXPECT_EQ(Read(), refused ? "refused 2" : "done");
    line.unquiet = true;
    link->Work();
    EXPECT_EQ(*link->NextWork() - now, 100ms);
  }
}

// The pause counts from the beginning of the connection, and is for the background.
TEST_F(LinkTest, AConnectionThatStoodLongEnoughOrServedIsReplacedAtOnce) {
  WorkAll();
  now += 100ms;
  line.unquiet = true;
  link->Work();
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect identify unquiet connect identify");
  Read();
  line.unquiet = true;
  link->Work();
  WorkAll();
  EXPECT_EQ(line.Calls(), "read unquiet");
  EXPECT_EQ(Read(), "done");
  EXPECT_EQ(line.Calls(), "connect read");
}

TEST_F(LinkTest, AnExceptionIsAnAnswer) {
  line.answers["read"] = {RefusedAnswer(2)};
  EXPECT_EQ(Read(), "refused 2");
  EXPECT_EQ(state.Get().exception, 2);
  EXPECT_EQ(Status(), "answering");
  EXPECT_EQ(Read(), "done");
  EXPECT_EQ(state.Get().exception, 0);
  line.answers["read"] = {RefusedAnswer(0)};
  Read();
  EXPECT_EQ(state.Get().exception, -1);
}

TEST_F(LinkTest, AReadWhoseConnectionEndsIsAskedOnceMoreOnANewOne) {
  Read();
  line.Calls();
  line.answers["read"] = {BrokenAnswer()};
  EXPECT_EQ(Read(), "done");
  EXPECT_EQ(line.Calls(), "read connect read");
  line.answers["read"] = {BrokenAnswer(), BrokenAnswer()};
  EXPECT_EQ(Read(), "broken");
  EXPECT_EQ(line.Calls(), "read connect read");
}

TEST_F(LinkTest, AReadOnAConnectionMadeForItIsNotAskedAgain) {
  line.answers["read"] = {BrokenAnswer()};
  EXPECT_EQ(ReadAnswer().reason, "cut");
  EXPECT_EQ(line.Calls(), "connect read");
}

TEST_F(LinkTest, AReadThatEndedItsConnectionSaysSoThoughNoOtherOneCanBeMade) {
  Read();
  line.answers["read"] = {{Answer::Kind::Broken, 0, "reset", true}};
  line.answers["connect"] = {BrokenAnswer()};
  const Answer answer = ReadAnswer();
  EXPECT_EQ(answer.reason, "reset");
  EXPECT_TRUE(answer.mayHaveArrived);
}

TEST_F(LinkTest, OnTcpWhatComesAfterAnUnansweredRequestNeedNotWait) {
  for (int k = 0; k < 5; ++k) {
    line.answers["read"] = {SilentAnswer()};
    EXPECT_EQ(Read(), "no answer");
    EXPECT_EQ(line.Calls(), "connect read close");
  }
  line.answers["read"] = {RubbishAnswer()};
  EXPECT_EQ(Read(), "wrong");
  EXPECT_EQ(Read(), "done");
}

TEST_F(LinkTest, AWriteIsNeverAskedTwice) {
  Read();
  line.Calls();
  line.answers["write"] = {BrokenAnswer()};
  EXPECT_EQ(Write(), "broken");
  EXPECT_EQ(line.Calls(), "write");
  line.answers["mask"] = {BrokenAnswer()};
  EXPECT_EQ(Text(link->MaskRegister(0, 0, 0)), "broken");
  EXPECT_EQ(line.Calls(), "connect mask");
}

TEST_F(LinkTest, AWriteAfterTheConnectionEndedInSilenceGoesOverANewOne) {
  Read();
  line.Calls();
  line.unquiet = true;
  EXPECT_EQ(Write(), "done");
  EXPECT_EQ(line.Calls(), "unquiet connect write");
  EXPECT_EQ(link->Connections(), 2U);
}

TEST_F(LinkTest, OnTcpARequestWithoutProperAnswerEndsTheConnection) {
  const std::vector<std::pair<Answer, std::string>> failures{{SilentAnswer(), "no answer"},
                                                             {RubbishAnswer(), "wrong"}};
  for (const auto& [failure, text] : failures) {
    Read();
    line.Calls();
    line.answers["read"] = {failure};
    EXPECT_EQ(Read(), text);
    EXPECT_EQ(line.Calls(), "read close");
    EXPECT_EQ(Status(), "not connected");
    EXPECT_EQ(Read(), "done");
    EXPECT_EQ(line.Calls(), "connect read");
  }
}

TEST_F(LinkTest, ANewConnectionAfterAnUnansweredRequestIsNotCalledAnswering) {
  Read();
  WorkAll();
  line.answers["read"] = {SilentAnswer()};
  Read();
  link->Connect();
  EXPECT_EQ(Status(), "unanswered");
  Read();
  EXPECT_EQ(Status(), "answering");
}

// Nobody asks it anything after that.
TEST_F(LinkTest, AConnectionAfterOneThatBrokeBeginsAnew) {
  line.answers["identify"] = {BrokenAnswer()};
  WorkAll();
  now = *link->NextWork();
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect identify connect");
  EXPECT_EQ(Status(), "answering");

  for (const bool refused : {false, true}) {
    link->Disconnect();
    Begin();
    line.answers["identify"] = {SilentAnswer()};
    if (refused) line.answers["connect"] = {Answer{}, BrokenAnswer()};
    WorkAll();
    EXPECT_EQ(Status(), refused ? "not connected" : "unanswered");
    if (!refused) {
      line.unquiet = true;
      link->Work();
    }
    now = std::max(now, *link->NextWork());
    link->Work();
    EXPECT_EQ(Status(), "answering");
  }
}

TEST_F(LinkTest, TellsWhyThereIsNoConnection) {
  EXPECT_EQ(state.Get().reason, "not connected yet");
  line.answers["connect"] = {{Answer::Kind::Broken, 0, "nobody there"}};
  link->Work();
  EXPECT_EQ(state.Get().reason, "nobody there");
  now = *link->NextWork();
  WorkAll();
  EXPECT_EQ(state.Get().reason, "");
  line.unquiet = true;
  link->Work();
  EXPECT_EQ(state.Get().reason, "the device ended the connection");
  Read();
  line.answers["write"] = {SilentAnswer()};
  Write();
  EXPECT_EQ(state.Get().reason, "silent");
  Read();
  link->GiveUp("out of memory");
  EXPECT_EQ(state.Get().reason, "out of memory");
}

TEST_F(LinkTest, ADeviceThatIsNotToBeAskedWhatItIsIsNot) {
  identify = false;
  for (const bool serial : {false, true}) {
    line.mayConfuse = serial;
    Begin();
    WorkAll();
    EXPECT_FALSE(link->NextWork());
    line.answers["read"] = {SilentAnswer()};
    Read();
    now += 1h;
    WorkAll();
    link->Disconnect();
    WorkAll();
    EXPECT_EQ(line.Calls().find("identify"), std::string::npos);
    link->Disconnect();
  }
}

TEST_F(LinkTest, ANewConnectionIsAskedForItsIdentificationAgain) {
  WorkAll();
  line.Calls();
  line.unquiet = true;
  line.identification = {"Other", "Q", "3"};
  link->Work();
  EXPECT_EQ(Status(), "not connected");
  now += 100ms;
  WorkAll();
  EXPECT_EQ(line.Calls(), "unquiet connect identify");
  EXPECT_EQ(state.Get().identification.vendor, "Other");
  line.unquiet = true;
  line.answers["identify"] = {RefusedAnswer(1)};
  link->Work();
  now += 200ms;
  WorkAll();
  EXPECT_EQ(state.Get().identification, Identification{});
  EXPECT_EQ(Status(), "answering");
}

TEST_F(LinkTest, ADeviceThatIsSilentToIdentificationOnlyIsNotAskedAgain) {
  line.answers["identify"] = {SilentAnswer()};
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect identify close connect");
  EXPECT_EQ(Status(), "unanswered");
  EXPECT_FALSE(link->NextWork());
  EXPECT_EQ(Read(), "done");
  line.unquiet = true;
  link->Work();
  now += 100ms;
  WorkAll();
  EXPECT_EQ(line.Calls(), "read unquiet connect");
  EXPECT_EQ(Status(), "answering");
  line.answers["read"] = {SilentAnswer()};
  EXPECT_EQ(Read(), "no answer");
  now += 1s;
  WorkAll();
  EXPECT_EQ(line.Calls(), "read close connect");
}

TEST_F(LinkTest, ADeviceInPlaceOfAnotherMayNotIdentifyItself) {
  WorkAll();
  line.unquiet = true;
  line.answers["identify"] = {SilentAnswer()};
  link->Work();
  now += 100ms;
  WorkAll();
  Read();
  line.Calls();
  line.unquiet = true;
  link->Work();
  now += 100ms;
  WorkAll();
  EXPECT_EQ(line.Calls(), "unquiet connect");
  EXPECT_EQ(state.Get().identification, Identification{});
}

TEST_F(LinkTest, ADeviceThatWasSilentAltogetherIsAskedForItsIdentificationLater) {
  line.answers["identify"] = {SilentAnswer()};
  WorkAll();
  line.answers["read"] = {SilentAnswer()};
  EXPECT_EQ(Read(), "no answer");
  line.Calls();
  now = std::max(now, *link->NextWork());
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect identify");
  EXPECT_EQ(Status(), "answering");
}

TEST_F(LinkTest, ADeviceThatWasGoneAltogetherIsAskedForItsIdentificationWhenItIsBack) {
  line.answers["identify"] = {SilentAnswer()};
  line.answers["connect"] = {Answer{}, BrokenAnswer()};
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect identify close connect");
  now = *link->NextWork();
  EXPECT_EQ(Read(), "done");
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect read identify");
  EXPECT_EQ(state.Get().identification.vendor, "Acme");
}

TEST_F(LinkTest, AGatewayWithoutItsDeviceIsAskedForTheIdentificationAgainAfterFiveSeconds) {
  for (const std::uint8_t passing : std::vector<std::uint8_t>{5, 6, 10, 11}) {
    line.answers["identify"].push_back(RefusedAnswer(passing));
    WorkAll();
    EXPECT_EQ(*link->NextWork() - now, 5s) << int{passing};
    now += 5s;
  }
  WorkAll();
  EXPECT_EQ(line.Calls(), "connect identify identify identify identify identify");
  EXPECT_FALSE(link->NextWork());
  EXPECT_EQ(state.Get().exception, 0);  // nobody asked for that
}

TEST_F(LinkTest, AFailureOfTheProgramsOwnBeginsAnewAfterAPause) {
  Read();
  line.Calls();
  link->GiveUp("out of memory");
  EXPECT_EQ(line.Calls(), "close");
  EXPECT_EQ(Status(), "not connected");
  EXPECT_EQ(ReadAnswer().reason, "out of memory; the next attempt to connect is in 0.1 s");
  now += 100ms;
  EXPECT_EQ(Read(), "done");
}

TEST_F(LinkTest, PassesAnInterruptionOn) {
  link->Interrupt();
  EXPECT_TRUE(line.interrupted);
}

}  // namespace orvo::modbus
