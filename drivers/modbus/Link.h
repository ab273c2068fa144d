// A line that heals by itself: connects when it is needed and in the background, waits longer and longer
// between attempts in vain, keeps requests and answers in step, and knows what its state is.
//
// Connecting. An attempt in vain, and the end of a connection, is followed by a pause: 100 ms, then twice as
// long each time, up to 5 s. Only a read or write that the device answered (also with an exception) takes it
// back: a device that ends each connection that nobody uses is not besieged. The pause after a connection
// counts from when it was made. In the background nothing connects before it is over. A request connects at
// once when the device had answered anything on the connection that ended, or when the link ended it because a
// request went unanswered; else it is Broken at once while the pause lasts, with a reason that tells when it is
// over.
//
// Requests. A read that finds its connection ended is asked once more on a new one. A write never is: before it
// the connection is looked at, so that it finds a new one when the old one ended while nothing went on.
//
// Staying in step. TCP: a request without a proper answer ends the connection. RTU: after connecting and after
// a request without a proper answer nothing is read or written before Line::Resynchronise went through. A
// device that never answers that one counts as in step when no answer is outstanding, or when the last one is
// so for Terms::hold; until then requests are Broken, and nothing of them is sent. The same comes behind an
// exception with a code that the protocol does not define: it may be the answer to something else.
//
// Identification is asked for after connecting, in the background, unless Terms::identify says never. A device
// that does not answer it, but other requests, is not asked again.
//
// LinkFacts::answered begins anew, as true, with the connection after one that broke or could not be made. A
// connection that replaces one over which nothing (or rubbish) came has still to show that there is an answer.
//
// One thread, but for Interrupt. Every function takes at most: a read two time-outs and two of connecting, a
// write one and one; on RTU one more for each Resynchronise, and for a line that does not fall silent.
#pragma once

#include "modbus/Line.h"
#include "modbus/LinkState.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace orvo::modbus {

class Link final : public Line {
 public:
  using Duration = std::chrono::milliseconds;
  using Time = std::chrono::steady_clock::time_point;
  using Clock = std::function<Time()>;

  static constexpr Duration FirstPause{100};
  static constexpr Duration LongestPause{5000};
  static constexpr Duration IdentityPause{5000};  // until a gateway or busy device is asked again
  static constexpr Duration ShortestHold{5000};
  static constexpr int HoldTimeouts = 10;

  struct Terms {
    Duration timeout;
    bool identify = true;
    std::optional<Duration> hold = std::nullopt;  // nothing: ShortestHold, or HoldTimeouts when that is longer
  };

  // Line and state are not owned, and outlive the link. What `state` tells of an outstanding answer holds for
  // this link too: it is that of the one before on the same line.
  Link(Line& line, const Terms& terms, Clock clock, LinkState& state);

  // At once, whatever pause there is.
  Answer Connect() override;
  void Disconnect() noexcept override;
  bool IsConnected() const noexcept override { return line_.IsConnected(); }
  std::uint64_t Connections() const noexcept override { return connections_; }

  Answer ReadBits(Area area, std::int32_t start, std::span<std::uint8_t> bits) override;
  Answer ReadRegisters(Area area, std::int32_t start, std::span<std::uint16_t> registers) override;
  Answer WriteCoils(std::int32_t start, std::span<const std::uint8_t> bits) override;
  Answer WriteRegisters(std::int32_t start, std::span<const std::uint16_t> registers) override;
  Answer WriteCoil(std::int32_t address, bool on) override;
  Answer WriteRegister(std::int32_t address, std::uint16_t value) override;
  Answer MaskRegister(std::int32_t address, std::uint16_t keep, std::uint16_t set) override;
  Answer Identify(Identification& identification) override;

  bool MayConfuseAnswers() const noexcept override { return line_.MayConfuseAnswers(); }
  Answer Resynchronise() override;
  bool IsQuiet() override;
  int Descriptor() const noexcept override { return line_.Descriptor(); }
  void Interrupt() noexcept override { line_.Interrupt(); }
  void PutReconnecting(bool may) noexcept override { mayReconnect_ = may; }

  // When there is something to do in the background; nothing: not before the descriptor is readable.
  std::optional<Time> NextWork() const;
  // Does one piece of what is due. Call it at NextWork, and when the descriptor is readable while nobody asks.
  void Work();
  // After a failure of the program's own inside one of the functions above, whatever it was: begins anew.
  void GiveUp(const std::string& reason) noexcept;

 private:
  enum class Identity : std::uint8_t {
    Unasked,
    InDoubt,  // it was asked for and not answered: by a device that does not know it, or by none
    Settled,  // known, refused, or never answered
  };

  // Makes ready for a request; Done: it can go out.
  Answer Ready();
  Answer FallIntoStep();
  template <class Ask>
  Answer ReadBy(const Ask& ask);
  template <class Ask>
  Answer WriteBy(const Ask& ask);
  // What the end of a read or write means for the link.
  void Conclude(const Answer& answer);
  void Answered();
  void Unanswered(const Answer& answer);
  void AskIdentity();
  // The device answers nothing, so it may well know the identification that it did not answer.
  void DoubtNoMore();
  // The connection ended, or ends here.
  void Lose(const std::string& reason) noexcept;
  // What `since` is the beginning of; nothing connects in the background before it is over.
  void Pause(Time since) noexcept;
  void Publish();

  Line& line_;
  const Duration hold_;
  const Clock clock_;
  LinkState& state_;

  LinkFacts facts_;
  LinkFacts published_;
  std::uint64_t connections_ = 0;
  Time connectedAt_{};
  bool connectionAnswered_ = false;
  std::string reason_;  // why there is no connection
  Duration pause_{0};   // the last one
  // When not connected: not before, for a request and in the background.
  Time nextForRequest_{};
  Time nextInBackground_{};
  bool outOfStep_ = false;  // RTU
  bool mayReconnect_ = true;
  Identity identity_;
  bool identityAnswered_ = false;  // Settled: by an answer
  Time identityFrom_{};            // Unasked: not before
};

}  // namespace orvo::modbus
