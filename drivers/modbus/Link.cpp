#include "modbus/Link.h"

#include <algorithm>
#include <array>
#include <utility>

namespace orvo::modbus {

namespace {

// Exceptions that say nothing of the request itself: busy, or a gateway that does not reach the device.
bool IsPassing(const Answer& answer) {
  constexpr std::array<std::uint8_t, 4> passing{5, 6, 10, 11};
  return answer.kind == Answer::Kind::Refused &&
         std::find(passing.begin(), passing.end(), answer.exception) != passing.end();
}

std::string InSeconds(std::chrono::milliseconds time) {
  const auto tenths = std::max<std::int64_t>((time.count() + 99) / 100, 1);
  return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + " s";
}

}  // namespace

Link::Link(Line& line, const Terms& terms, Clock clock, LinkState& state)
    : line_(line),
      hold_(terms.hold.value_or(std::max(ShortestHold, HoldTimeouts * terms.timeout))),
      clock_(std::move(clock)),
      state_(state),
      reason_("not connected yet"),
      identity_(terms.identify ? Identity::Unasked : Identity::Settled) {
  published_ = state.Get();
  facts_.unanswered = published_.unanswered;
  Publish();
}

Answer Link::Connect() {
  Answer answer = line_.Connect();
  if (answer.IsDone()) {
    ++connections_;
    connectedAt_ = clock_();
    connectionAnswered_ = false;
    outOfStep_ = line_.MayConfuseAnswers();
    // Another device may be there now. One that never answers this is not asked again.
    if (identity_ == Identity::Settled && identityAnswered_) {
      identity_ = Identity::Unasked;
      identityFrom_ = clock_();
    }
  } else {
    reason_ = answer.reason;
    facts_.answered = true;
    Pause(clock_());
    nextForRequest_ = nextInBackground_;
    DoubtNoMore();
  }
  Publish();
  return answer;
}

void Link::Disconnect() noexcept {
  line_.Disconnect();
  facts_.connected = published_.connected = false;
  state_.PutDisconnected();
}

void Link::Pause(Time since) noexcept {
  pause_ = std::clamp(2 * pause_, FirstPause, LongestPause);
  nextInBackground_ = since + pause_;
}

void Link::Lose(const std::string& reason) noexcept {
  line_.Disconnect();
  reason_ = reason;
  Pause(connectedAt_);
  nextForRequest_ = connectionAnswered_ ? clock_() : nextInBackground_;
}

void Link::GiveUp(const std::string& reason) noexcept {
  Disconnect();
  if (line_.MayConfuseAnswers()) facts_.unanswered = clock_();
  Pause(clock_());
  nextForRequest_ = nextInBackground_;
  try {
    reason_ = reason;
    Publish();
  } catch (...) {
    reason_.clear();  // no memory for it: that there is no connection is told all the same
  }
}

void Link::Publish() {
  facts_.connected = line_.IsConnected();
  facts_.reason = facts_.connected ? std::string() : reason_;
  if (facts_ == published_) return;
  published_ = facts_;
  state_.Put(facts_);
}

void Link::Answered() {
  connectionAnswered_ = true;
  facts_.answered = true;
}

void Link::Unanswered(const Answer& answer) {
  facts_.answered = answer.kind == Answer::Kind::Broken;
  if (answer.kind == Answer::Kind::Broken) {
    Lose(answer.reason);
  } else if (line_.MayConfuseAnswers()) {
    outOfStep_ = true;
  } else {
    // The driver ends it, not the device: what else is asked of that one need not wait.
    const Duration pause = pause_;
    Lose(answer.reason);
    pause_ = pause;
    nextForRequest_ = clock_();
  }
}

void Link::Conclude(const Answer& answer) {
  if (answer.IsDone() || answer.kind == Answer::Kind::Refused) {
    Answered();
    pause_ = Duration{0};
    facts_.exception = answer.exception;
    if (answer.kind == Answer::Kind::Refused && answer.exception == 0) {
      facts_.exception = -1;
      if (line_.MayConfuseAnswers()) {
        outOfStep_ = true;
        facts_.unanswered = clock_();
      }
    }
    if (identity_ == Identity::InDoubt) {
      identity_ = Identity::Settled;
      identityAnswered_ = false;
      facts_.identification = {};  // what it was is no more known
    }
  } else {
    if (line_.MayConfuseAnswers()) facts_.unanswered = clock_();
    DoubtNoMore();
    Unanswered(answer);
  }
  Publish();
}

void Link::DoubtNoMore() {
  if (identity_ != Identity::InDoubt) return;
  identity_ = Identity::Unasked;
  identityFrom_ = clock_();
}

Answer Link::Ready() {
  if (line_.IsConnected()) IsQuiet();
  if (!line_.IsConnected()) {
    if (!mayReconnect_) return {Answer::Kind::Broken, 0, reason_};
    const Time now = clock_();
    if (now < nextForRequest_) {
      const auto left = std::chrono::ceil<Duration>(nextForRequest_ - now);
      return {Answer::Kind::Broken, 0, reason_ + "; the next attempt to connect is in " + InSeconds(left)};
    }
    Answer answer = Connect();
    if (!answer.IsDone()) return answer;
  }
  return outOfStep_ ? FallIntoStep() : Answer{};
}

Answer Link::FallIntoStep() {
  if (facts_.unanswered && clock_() - *facts_.unanswered >= hold_) {
    outOfStep_ = false;
    facts_.unanswered.reset();
    return {};
  }
  Answer answer = Resynchronise();
  if (outOfStep_ && !facts_.unanswered && answer.kind == Answer::Kind::NoAnswer) {
    outOfStep_ = false;  // nothing is outstanding: this one's late answer is no other's
    return {};
  }
  if (!outOfStep_) return {};
  DoubtNoMore();
  // Of the request itself nothing has left.
  return {Answer::Kind::Broken, 0, answer.reason};
}

Answer Link::Resynchronise() {
  Answer answer = line_.Resynchronise();
  if (answer.IsDone()) {
    Answered();
    outOfStep_ = false;
    facts_.unanswered.reset();
  } else {
    Unanswered(answer);
  }
  Publish();
  return answer;
}

bool Link::IsQuiet() {
  if (!line_.IsConnected()) return false;
  if (line_.IsQuiet()) return true;
  if (line_.IsConnected()) {
    outOfStep_ = line_.MayConfuseAnswers();
  } else {
    facts_.answered = true;
    Lose("the device ended the connection");
  }
  Publish();
  return false;
}

template <class Ask>
Answer Link::ReadBy(const Ask& ask) {
  const std::uint64_t before = connections_;
  if (Answer obstacle = Ready(); !obstacle.IsDone()) return obstacle;
  Answer answer = ask();
  Conclude(answer);
  if (answer.kind != Answer::Kind::Broken || connections_ != before) return answer;
  // Without a new connection it is this request that ended the one before, for all that is known.
  if (!Ready().IsDone()) return answer;
  answer = ask();
  Conclude(answer);
  return answer;
}

template <class Ask>
Answer Link::WriteBy(const Ask& ask) {
  if (Answer obstacle = Ready(); !obstacle.IsDone()) return obstacle;
  Answer answer = ask();
  Conclude(answer);
  return answer;
}

Answer Link::ReadBits(Area area, std::int32_t start, std::span<std::uint8_t> bits) {
  return ReadBy([&] { return line_.ReadBits(area, start, bits); });
}

Answer Link::ReadRegisters(Area area, std::int32_t start, std::span<std::uint16_t> registers) {
  return ReadBy([&] { return line_.ReadRegisters(area, start, registers); });
}

Answer Link::WriteCoils(std::int32_t start, std::span<const std::uint8_t> bits) {
  return WriteBy([&] { return line_.WriteCoils(start, bits); });
}

Answer Link::WriteRegisters(std::int32_t start, std::span<const std::uint16_t> registers) {
  return WriteBy([&] { return line_.WriteRegisters(start, registers); });
}

Answer Link::WriteCoil(std::int32_t address, bool on) {
  return WriteBy([&] { return line_.WriteCoil(address, on); });
}

Answer Link::WriteRegister(std::int32_t address, std::uint16_t value) {
  return WriteBy([&] { return line_.WriteRegister(address, value); });
}

Answer Link::MaskRegister(std::int32_t address, std::uint16_t keep, std::uint16_t set) {
  return WriteBy([&] { return line_.MaskRegister(address, keep, set); });
}

Answer Link::Identify(Identification& identification) {
  Answer answer = line_.Identify(identification);
  if (answer.IsDone() || answer.kind == Answer::Kind::Refused) {
    Answered();
    // Nothing else has such an answer, and what came before it is gone.
    outOfStep_ = false;
    facts_.unanswered.reset();
  } else {
    Unanswered(answer);
  }
  Publish();
  return answer;
}

void Link::AskIdentity() {
  Identification identification;
  const Answer answer = Identify(identification);
  if (IsPassing(answer)) {
    identityFrom_ = clock_() + IdentityPause;
    return;
  }
  if (answer.IsDone() || answer.kind == Answer::Kind::Refused) {
    identity_ = Identity::Settled;
    identityAnswered_ = true;
    facts_.identification = answer.IsDone() ? identification : Identification{};
  } else {
    identity_ = Identity::InDoubt;
  }
  Publish();
}

std::optional<Link::Time> Link::NextWork() const {
  if (!line_.IsConnected()) return nextInBackground_;
  if (identity_ == Identity::Unasked) return identityFrom_;
  return std::nullopt;
}

void Link::Work() {
  if (line_.IsConnected() && !IsQuiet()) return;
  const auto next = NextWork();
  if (!next || clock_() < *next) return;
  if (line_.IsConnected())
    AskIdentity();
  else
    Connect();
}

}  // namespace orvo::modbus
