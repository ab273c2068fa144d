#include "boundary/drivers/SlotRecorder.h"

#include "com/Bstr.h"

#include <utility>

namespace orvo::testing {

namespace {

std::string Arrays(SAFEARRAY** array) {
  return Text(*array);
}
std::string TextOf(BSTR text) {
  return Text(Str(com::TextOf(text)));
}

template <class Result>
void Give(const Value& answer, Result* result) {
  *result = *static_cast<const Result*>(static_cast<const void*>(&(*answer).byref));
}
void Give(Value answer, BSTR* result) {
  *result = std::exchange(answer->bstrVal, nullptr);
}

}  // namespace

HRESULT SlotRecorder::SetEventSink(::IEventNotify* Sink) {
  recorder_->sink = ComPtr<IUnknown>(Sink);
  return Done("SetEventSink", {Sink == nullptr ? "Nothing" : "Object"});
}

HRESULT SlotRecorder::Done(const std::string& operation, std::initializer_list<std::string> arguments) {
  const Raised* failure = recorder_->Called(operation, arguments);
  return failure == nullptr ? S_OK : RaiseBySlot(*failure);
}

HRESULT SlotRecorder::WriteItems(SAFEARRAY** CompiledAddresses, SAFEARRAY** Dimensions,
                                 SAFEARRAY** DATAValues) {
  return Done("WriteItems", {Arrays(CompiledAddresses), Arrays(Dimensions), Arrays(DATAValues)});
}

HRESULT SlotRecorder::ReadItems(SAFEARRAY** CompiledAddresses, SAFEARRAY** Dimensions) {
  return Done("ReadItems", {Arrays(CompiledAddresses), Arrays(Dimensions)});
}

HRESULT SlotRecorder::WriteGroup(LONG* GroupId, SAFEARRAY** Buffer) {
  return Done("WriteGroup", {Text(I4(*GroupId)), Arrays(Buffer)});
}

HRESULT SlotRecorder::ReadGroup(LONG* GroupId, SAFEARRAY** Buffer) {
  return Done("ReadGroup", {Text(I4(*GroupId)), Arrays(Buffer)});
}

HRESULT SlotRecorder::OpenCommunication(VARIANT_BOOL Open) {
  return Done("OpenCommunication", {Text(Flag16(Open))});
}

HRESULT SlotRecorder::CloseCommunication() {
  return Done("CloseCommunication", {});
}

HRESULT SlotRecorder::get_BootVersion(float* Result) {
  const HRESULT done = Done("BootVersion", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("BootVersion", VT_R4), Result);
  return done;
}

HRESULT SlotRecorder::get_BootDate(BSTR* Result) {
  const HRESULT done = Done("BootDate", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("BootDate", VT_BSTR), Result);
  return done;
}

HRESULT SlotRecorder::get_FirmwareVersion(float* Result) {
  const HRESULT done = Done("FirmwareVersion", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("FirmwareVersion", VT_R4), Result);
  return done;
}

HRESULT SlotRecorder::get_BoardDescription(BSTR* Result) {
  const HRESULT done = Done("BoardDescription", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("BoardDescription", VT_BSTR), Result);
  return done;
}

HRESULT SlotRecorder::get_BoardStatus(LONG* Result) {
  const HRESULT done = Done("BoardStatus", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("BoardStatus", VT_I4), Result);
  return done;
}

HRESULT SlotRecorder::get_CommunicationStatus(LONG* Result) {
  const HRESULT done = Done("CommunicationStatus", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("CommunicationStatus", VT_I4), Result);
  return done;
}

HRESULT SlotRecorder::DownloadFirmware(BSTR FileName, LONG Flag) {
  return Done("DownloadFirmware", {TextOf(FileName), Text(I4(Flag))});
}

HRESULT SlotRecorder::DownloadProject(BSTR FileName, LONG Flag) {
  return Done("DownloadProject", {TextOf(FileName), Text(I4(Flag))});
}

HRESULT SlotRecorder::get_BaudRate(LONG* Result) {
  const HRESULT done = Done("BaudRate", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("BaudRate", VT_I4), Result);
  return done;
}

HRESULT SlotRecorder::put_BaudRate(LONG NewValue) {
  return Done("BaudRate=", {Text(I4(NewValue))});
}

HRESULT SlotRecorder::Reserved18() {
  return Done("Reserved18", {});
}

HRESULT SlotRecorder::SetConfigurationMode(VARIANT_BOOL* Result) {
  const HRESULT done = Done("SetConfigurationMode", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("SetConfigurationMode", VT_BOOL), Result);
  return done;
}

HRESULT SlotRecorder::SetGroupDefinition(LONG GroupId, LONG Define) {
  return Done("SetGroupDefinition", {Text(I4(GroupId)), Text(I4(Define))});
}

HRESULT SlotRecorder::get_GroupCapacity(LONG* Result) {
  const HRESULT done = Done("GroupCapacity", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("GroupCapacity", VT_I4), Result);
  return done;
}

HRESULT SlotRecorder::put_NetworkType(LONG NewValue) {
  return Done("NetworkType=", {Text(I4(NewValue))});
}

HRESULT SlotRecorder::Reserved23() {
  return Done("Reserved23", {});
}

HRESULT SlotRecorder::get_MinorVersion(short* Result) {
  const HRESULT done = Done("MinorVersion", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("MinorVersion", VT_I2), Result);
  return done;
}

HRESULT SlotRecorder::get_MajorVersion(short* Result) {
  const HRESULT done = Done("MajorVersion", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("MajorVersion", VT_I2), Result);
  return done;
}

HRESULT SlotRecorder::get_Description(BSTR* Result) {
  const HRESULT done = Done("Description", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("Description", VT_BSTR), Result);
  return done;
}

HRESULT SlotRecorder::put_ComPortNumber(LONG NewValue) {
  return Done("ComPortNumber=", {Text(I4(NewValue))});
}

HRESULT SlotRecorder::get_ComPortNumber(LONG* Result) {
  const HRESULT done = Done("ComPortNumber", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("ComPortNumber", VT_I4), Result);
  return done;
}

HRESULT SlotRecorder::Reserved29() {
  return Done("Reserved29", {});
}

HRESULT SlotRecorder::get_ProjectName(BSTR* Result) {
  const HRESULT done = Done("ProjectName", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("ProjectName", VT_BSTR), Result);
  return done;
}

HRESULT SlotRecorder::put_ProjectName(BSTR NewValue) {
  return Done("ProjectName=", {TextOf(NewValue)});
}

HRESULT SlotRecorder::get_GroupTransfer(VARIANT_BOOL* Result) {
  const HRESULT done = Done("GroupTransfer", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("GroupTransfer", VT_BOOL), Result);
  return done;
}

HRESULT SlotRecorder::CheckVariable(LONG TotalWordLength, LONG ItemCount, VARIANT_BOOL* Result) {
  const HRESULT done = Done("CheckVariable", {Text(I4(TotalWordLength)), Text(I4(ItemCount))});
  if (SUCCEEDED(done)) Give(recorder_->Answer("CheckVariable", VT_BOOL), Result);
  return done;
}

HRESULT SlotRecorder::put_WordIO(short NewValue) {
  return Done("WordIO=", {Text(I2(NewValue))});
}

HRESULT SlotRecorder::get_WordIO(short* Result) {
  const HRESULT done = Done("WordIO", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("WordIO", VT_I2), Result);
  return done;
}

HRESULT SlotRecorder::put_Timeout(short NewValue) {
  return Done("Timeout=", {Text(I2(NewValue))});
}

HRESULT SlotRecorder::get_Timeout(short* Result) {
  const HRESULT done = Done("Timeout", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("Timeout", VT_I2), Result);
  return done;
}

HRESULT SlotRecorder::get_FirmwareDownloadNeeded(VARIANT_BOOL* Result) {
  const HRESULT done = Done("FirmwareDownloadNeeded", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("FirmwareDownloadNeeded", VT_BOOL), Result);
  return done;
}

HRESULT SlotRecorder::get_ProjectDownloadNeeded(VARIANT_BOOL* Result) {
  const HRESULT done = Done("ProjectDownloadNeeded", {});
  if (SUCCEEDED(done)) Give(recorder_->Answer("ProjectDownloadNeeded", VT_BOOL), Result);
  return done;
}

HRESULT SlotRecorder::CreateDevice(BSTR DeviceKind, ::IDeviceObject** Result) {
  const HRESULT done = Done("CreateDevice", {TextOf(DeviceKind)});
  *Result = nullptr;
  if (SUCCEEDED(done) && recorder_->answers.contains("CreateDevice"))
    *Result = ComPtr<::IDeviceObject>(new SlotDeviceRecorder(recorder_)).Detach();
  return done;
}

HRESULT SlotDeviceRecorder::Done(const std::string& operation, std::initializer_list<std::string> arguments) {
  const Raised* failure = recorder_->Called(operation, arguments);
  return failure == nullptr ? S_OK : RaiseBySlot(*failure);
}

HRESULT SlotDeviceRecorder::CompileItemId(BSTR ItemId, double* CompiledAddress, LONG* WordLength,
                                          LONG* ItemType, VARIANT_BOOL* Result) {
  const HRESULT done = Done("CompileItemId", {TextOf(ItemId), Text(R8(*CompiledAddress)), Text(I4(*WordLength)),
                                              Text(I4(*ItemType))});
  if (FAILED(done)) return done;
  Give(recorder_->Answer("Address", VT_R8), CompiledAddress);
  Give(recorder_->Answer("Length", VT_I4), WordLength);
  Give(recorder_->Answer("Type", VT_I4), ItemType);
  Give(recorder_->Answer("CompileItemId", VT_BOOL), Result);
  return done;
}

HRESULT SlotDeviceRecorder::ExtractValue(double CompiledAddress, VARIANT* Value, LONG Reserved) {
  const HRESULT done = Done("ExtractValue", {Text(R8(CompiledAddress)), Text(*Value), Text(I4(Reserved))});
  if (FAILED(done)) return done;
  return VariantCopy(Value, recorder_->answers["Value"].Get());
}

HRESULT SlotDeviceRecorder::ItemLoaded(BSTR ItemId, double CompiledAddress, LONG WordLength, LONG ItemType) {
  return Done("ItemLoaded",
              {TextOf(ItemId), Text(R8(CompiledAddress)), Text(I4(WordLength)), Text(I4(ItemType))});
}

}  // namespace orvo::testing
