// One Modbus line to one device: requests go out and their answers are waited for. Every call blocks, at most
// for the line's time-out (Connect: that of connecting). Everything but Interrupt is called on one thread.
//
// After a request that ended Broken the line is not connected any more; neither is it after NoAnswer or Wrong
// unless MayConfuseAnswers: then Resynchronise comes before the next read or write.
#pragma once

#include "modbus/Area.h"

#include <cstdint>
#include <span>
#include <string>

namespace orvo::modbus {

// How a request ended.
struct Answer {
  enum class Kind : std::uint8_t {
    Done,
    Refused,   // the device answered with an exception
    NoAnswer,  // nothing, or not all of it, within the time-out; whatever was asked may still happen, or have
               // happened
    Wrong,     // bytes that are no answer to this request
    Broken,    // no connection, or it ended
  };

  Kind kind = Kind::Done;
  // Refused: its code, 1..255; 0 for one that the protocol does not define, when the transport cannot tell it.
  std::uint8_t exception = 0;
  std::string reason;  // for people; empty when done
  // Broken: the request, or a part of it, may have reached the device before the connection ended.
  bool mayHaveArrived = false;

  bool IsDone() const noexcept { return kind == Kind::Done; }
};

// What a device says of itself; what it does not say is empty.
struct Identification {
  std::string vendor;
  std::string product;
  std::string revision;

  friend bool operator==(const Identification&, const Identification&) = default;
};

class Line {
 public:
  Line() = default;
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;
  virtual ~Line() = default;

  // Done or Broken. Connecting what is connected begins anew.
  virtual Answer Connect() = 0;
  virtual void Disconnect() noexcept = 0;
  virtual bool IsConnected() const noexcept = 0;
  // Connections made so far. Behind each of them another device may answer.
  virtual std::uint64_t Connections() const noexcept = 0;

  // Spans within the limits of one request (Area.h); `bits` are 0 or 1, one byte each. Unless Done, what was to
  // be filled holds anything. Broken when not connected.
  virtual Answer ReadBits(Area area, std::int32_t start, std::span<std::uint8_t> bits) = 0;
  virtual Answer ReadRegisters(Area area, std::int32_t start, std::span<std::uint16_t> registers) = 0;
  virtual Answer WriteCoils(std::int32_t start, std::span<const std::uint8_t> bits) = 0;
  virtual Answer WriteRegisters(std::int32_t start, std::span<const std::uint16_t> registers) = 0;
  // One coil, one register, by the requests for one (functions 5 and 6; above: 15 and 16).
  virtual Answer WriteCoil(std::int32_t address, bool on) = 0;
  virtual Answer WriteRegister(std::int32_t address, std::uint16_t value) = 0;
  // The register becomes (register AND keep) OR set, in one step inside the device.
  virtual Answer MaskRegister(std::int32_t address, std::uint16_t keep, std::uint16_t set) = 0;
  // Basic device identification. A device without it refuses.
  virtual Answer Identify(Identification& identification) = 0;

  // Whether a late answer could be taken for that of a later request: true for RTU, whose frames bear no
  // number.
  virtual bool MayConfuseAnswers() const noexcept = 0;
  // Finds out whether the answers that arrive are those of the latest requests: asks something whose answer no
  // read or write can have, and discards what comes before it. Done when in step, also when the device refuses
  // it.
  virtual Answer Resynchronise() = 0;
  // While nobody asks anything: whether the connection still stands and nothing unasked has come. If not, what
  // came is discarded, and a connection that ended, or can not be trusted any more, is closed.
  virtual bool IsQuiet() = 0;

  // A line that connects by itself: whether a request may find a new connection. False: it is Broken when the
  // one of now has ended.
  virtual void PutReconnecting(bool /*may*/) noexcept {}

  // What poll() can wait on while nobody asks anything; -1 when not connected.
  virtual int Descriptor() const noexcept = 0;

  // Called by any thread: a call that waits now ends soon where the transport can do that (TCP), else by its
  // time-out; later calls are Broken. There is no way back.
  virtual void Interrupt() noexcept = 0;
};

}  // namespace orvo::modbus
