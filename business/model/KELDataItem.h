// One variable of the device inside a group: its identity, its compiled facts, its options, its latest raw
// value.
//
// Made by KELDataItems only. A client that holds an item keeps its group alive, also after the item was
// removed.
#pragma once

#include "model/ModelServer.h"
#include "spooler/RequestParties.h"
#include "values/AutomationObject.h"
#include "values/Variant.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace orvo {

// What the driver's compiling tells about the kind of an item's value.
enum ItemTypeValue : std::int32_t {
  ItemTypeInteger = 0,
  ItemTypeString = 1,
  ItemTypeFloat = 2,
  ItemTypeRaw = 3,
};

// What a raw number passes through on its way to the client value, for diagnosis. Empty where a step does not
// apply: the first two for strings and raw bytes, the others unless the step changed the value.
struct ClientValueSteps {
  Variant decoded;      // the number in the item's words, least significant byte first
  Variant extracted;    // what the device object cut out of it for the item
  Variant withoutSign;  // of an item that is not signed: the same bits as a number that is not negative
  Variant fromBCD;      // the number that its coded decimal digits stand for
};

class KELDataItem final : public AutomationObject, public RequestItem {
 public:
  explicit KELDataItem(ThreadPlatform& platform) : platform_(platform) {}
  ~KELDataItem() override;

  std::int32_t Handle() const noexcept { return handle_; }
  const std::string& ItemName() const noexcept { return itemName_; }
  const std::string& ItemId() const noexcept { return itemId_; }
  std::shared_ptr<KELDataGroup> Parent() const noexcept { return parent_.lock(); }
  std::int32_t AccessRights() const noexcept { return accessRights_; }

  // The client value computed from DATAValue; Empty while nothing was read or written. A byte array in
  // DATAValue is replaced by the number decoded from it. Raises errInternal when the raw value cannot be
  // converted.
  Variant USERValue();
  // The latest raw value: Empty, bytes as the driver delivered them, or a number or text decoded or written.
  const Variant& DATAValue() const noexcept { return dataValue_; }
  // Local time of the latest successful read or write; the zero date before.
  Date TimeStamp() const noexcept { return timeStamp_; }

  // Reads the item from the device; waits about 10 seconds at most, pumping messages (a wait that midnight
  // interrupts has no time-out). `Error` is 0, or the code with which the read failed: then the item,
  // `USERValue` and `TimeStamp` (which may be null) keep what they had. Raises errInvalidState "Server isn't
  // running" unless communication is open, and errInternal when the raw value that came cannot be converted:
  // the item holds it then and `Error` is 0, all else is as it was.
  void SyncRead(Variant& USERValue, std::int32_t& Error, Variant* TimeStamp = nullptr);
  // Writes `USERValue` to the device; `Error` as for SyncRead. Raises errInvalidState, or errInvalidFormat when
  // the item cannot take the value: then nothing was sent.
  void SyncWrite(const Variant& USERValue, std::int32_t& Error);

  // The item's place in its group's buffer, in bytes from 0; its kind of value; its length in 16-bit words.
  std::int32_t ItemGroupBufferOffset() const noexcept { return groupBufferOffset_; }
  std::int32_t ItemType() const noexcept { return itemType_; }
  std::int32_t ItemWordLength() const noexcept { return wordLength_; }

  // Raw integers carry a sign; raw integers are binary coded decimals. Never both: setting one true clears the
  // other.
  bool Signed() const noexcept { return signed_; }
  void PutSigned(bool NewValue) noexcept;
  bool BCD() const noexcept { return bcd_; }
  void PutBCD(bool NewValue) noexcept;

  // For the other classes of the system.
  const std::string& Name() const noexcept { return itemName_; }
  void SetHandle(std::int32_t handle) noexcept { handle_ = handle; }
  void SetItemName(std::string name) { itemName_ = std::move(name); }
  void SetItemId(std::string id) { itemId_ = std::move(id); }
  void SetParent(std::weak_ptr<KELDataGroup> parent) noexcept { parent_ = std::move(parent); }
  void SetAccessRights(std::int32_t rights) noexcept { accessRights_ = rights; }
  void SetDATAValue(Variant value) noexcept { dataValue_ = std::move(value); }
  void SetTimeStamp(Date time) noexcept { timeStamp_ = time; }
  void SetCompiledAddress(double address) noexcept { compiledAddress_ = address; }
  double CompiledAddress() const noexcept { return compiledAddress_; }
  void SetItemType(std::int32_t type) noexcept { itemType_ = type; }
  void SetItemWordLength(std::int32_t words) noexcept { wordLength_ = words; }
  void SetItemGroupBufferOffset(std::int32_t offset) noexcept { groupBufferOffset_ = offset; }
  bool WriteDone() const noexcept { return writeDone_; }
  void SetWriteDone(bool done) noexcept { writeDone_ = done; }
  // A periodic refresh has reported the item once; items with a reused handle start anew with it.
  bool IsRefreshed() const noexcept { return refreshed_; }
  void SetRefreshed() noexcept { refreshed_ = true; }
  // The epoch of its collection when the item was added (KELDataItems::Epoch).
  std::int64_t AddedEpoch() const noexcept { return addedEpoch_; }
  void SetAddedEpoch(std::int64_t epoch) noexcept { addedEpoch_ = epoch; }
  // A write of `raw` succeeded at `time`.
  void StoreWritten(Variant raw, Date time) noexcept;

  // RequestItem.
  SafeArray<double> CompiledAddressArray() const override;
  SafeArray<std::int16_t> DimensionArray() const override;

  // ItemWordLength in 16 bits; error 6 when it does not fit.
  std::int16_t Dimension() const;

  // Length in bytes that the identifier's type code and size field give; 0 for a bit and for an unknown type
  // code. Error 6 when the size field is outside 32 bits.
  std::int32_t DataSize() const;
  // USERValue without a trace: failures are raised as they are.
  // `steps`, which may be null, gets what it passed through.
  Variant ClientValue(ClientValueSteps* steps = nullptr);
  // The same for a caller that holds the item, its group and the server; null: the server is gone.
  Variant HeldClientValue(ModelServer* server) { return Converted(server, nullptr); }
  // The value to be converted and written for a client value, or an error (5, 6, 13, 94) when the item refuses
  // it.
  Variant CheckClientValue(const Variant& value) const;
  // The raw value to be sent for a value that CheckClientValue handed out.
  Variant RawValue(const Variant& checked) const;
  // What the item holds in the bytes of a whole group, as a raw value; bytes outside the buffer count as not
  // there.
  Variant ExtractFromBuffer(std::span<const std::uint8_t> buffer) const noexcept;
  // Puts a raw value at the item's place; bytes outside the buffer are left out.
  void StoreIntoBuffer(const Variant& raw, std::span<std::uint8_t> buffer) const;
  // Whether a raw value taken from a group's buffer differs from DATAValue. After a write it does once.
  bool TakeChange(const Variant& raw);
  // True when TakeChange of what the buffer holds would answer false, judged from the bytes alone; false also
  // when that takes a closer look. What a refresh asks of every item.
  bool IsSurelySameIn(std::span<const std::uint8_t> buffer) const noexcept;

 private:
  std::shared_ptr<ModelServer> RunningServer() const;
  void DecodeBytes();
  Variant Converted(ModelServer* server, ClientValueSteps* steps);
  Variant ExtractedNumber(ModelServer* server, ClientValueSteps* steps);
  Variant ClientInteger(ModelServer* server, ClientValueSteps* steps);
  Variant ClientText() const;
  Variant CheckInteger(const Variant& value) const;
  Variant CheckText(const Variant& value) const;
  Variant CheckFloat(const Variant& value) const;
  Variant CheckRaw(const Variant& value) const;
  void ExtractDriverValue(ModelServer* server, Variant& value) const;

  ThreadPlatform& platform_;
  std::weak_ptr<KELDataGroup> parent_;
  std::string itemName_;
  std::string itemId_;
  Variant dataValue_;
  Date timeStamp_;
  double compiledAddress_ = 0;
  std::int64_t addedEpoch_ = 0;
  std::int32_t handle_ = 0;
  std::int32_t accessRights_ = 0;
  std::int32_t itemType_ = 0;
  std::int32_t wordLength_ = 0;
  std::int32_t groupBufferOffset_ = 0;
  bool signed_ = false;
  bool bcd_ = false;
  bool writeDone_ = false;
  bool refreshed_ = false;

  friend class KELDataItems;
  struct Lease;
  std::weak_ptr<Lease> lease_;
};

// The decimal number that four binary coded digits of `value` stand for.
std::int32_t DecodeBCD(std::int32_t value) noexcept;
// kept: the encoding is the identity; a value is written as it is, not as decimal digits.
constexpr std::int32_t EncodeBCD(std::int32_t value) noexcept {
  return value;
}

}  // namespace orvo
