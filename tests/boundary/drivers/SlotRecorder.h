// A COM driver with the driver interface: it must be called by slot, calls by name are refused.
#pragma once

#include "IORVOBusiness_h.h"
#include "boundary/drivers/Recorder.h"

#include <string>

namespace orvo::testing {

// Counts its references; refuses calls by name.
template <class Interface>
class SlotObject : public Interface {
 public:
  STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
    *result = nullptr;
    if (iid != __uuidof(IUnknown) && iid != __uuidof(IDispatch) && iid != __uuidof(Interface))
      return E_NOINTERFACE;
    *result = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return E_NOTIMPL;
  }

 protected:
  virtual ~SlotObject() = default;

 private:
  ULONG references_ = 0;
};

class SlotRecorder final : public SlotObject<::ICommunicationDriver> {
 public:
  explicit SlotRecorder(std::shared_ptr<Recorder> recorder) : recorder_(std::move(recorder)) {}

  STDMETHODIMP SetEventSink(::IEventNotify* Sink) override;
  STDMETHODIMP WriteItems(SAFEARRAY** CompiledAddresses, SAFEARRAY** Dimensions,
                          SAFEARRAY** DATAValues) override;
  STDMETHODIMP ReadItems(SAFEARRAY** CompiledAddresses, SAFEARRAY** Dimensions) override;
  STDMETHODIMP WriteGroup(LONG* GroupId, SAFEARRAY** Buffer) override;
  STDMETHODIMP ReadGroup(LONG* GroupId, SAFEARRAY** Buffer) override;
  STDMETHODIMP OpenCommunication(VARIANT_BOOL Open) override;
  STDMETHODIMP CloseCommunication() override;
  STDMETHODIMP get_BootVersion(float* Result) override;
  STDMETHODIMP get_BootDate(BSTR* Result) override;
  STDMETHODIMP get_FirmwareVersion(float* Result) override;
  STDMETHODIMP get_BoardDescription(BSTR* Result) override;
  STDMETHODIMP get_BoardStatus(LONG* Result) override;
  STDMETHODIMP get_CommunicationStatus(LONG* Result) override;
  STDMETHODIMP DownloadFirmware(BSTR FileName, LONG Flag) override;
  STDMETHODIMP DownloadProject(BSTR FileName, LONG Flag) override;
  STDMETHODIMP get_BaudRate(LONG* Result) override;
  STDMETHODIMP put_BaudRate(LONG NewValue) override;
  STDMETHODIMP Reserved18() override;
  STDMETHODIMP SetConfigurationMode(VARIANT_BOOL* Result) override;
  STDMETHODIMP SetGroupDefinition(LONG GroupId, LONG Define) override;
  STDMETHODIMP get_GroupCapacity(LONG* Result) override;
  STDMETHODIMP put_NetworkType(LONG NewValue) override;
  STDMETHODIMP Reserved23() override;
  STDMETHODIMP get_MinorVersion(short* Result) override;
  STDMETHODIMP get_MajorVersion(short* Result) override;
  STDMETHODIMP get_Description(BSTR* Result) override;
  STDMETHODIMP put_ComPortNumber(LONG NewValue) override;
  STDMETHODIMP get_ComPortNumber(LONG* Result) override;
  STDMETHODIMP Reserved29() override;
  STDMETHODIMP get_ProjectName(BSTR* Result) override;
  STDMETHODIMP put_ProjectName(BSTR NewValue) override;
  STDMETHODIMP get_GroupTransfer(VARIANT_BOOL* Result) override;
  STDMETHODIMP CheckVariable(LONG TotalWordLength, LONG ItemCount, VARIANT_BOOL* Result) override;
  STDMETHODIMP put_WordIO(short NewValue) override;
  STDMETHODIMP get_WordIO(short* Result) override;
  STDMETHODIMP put_Timeout(short NewValue) override;
  STDMETHODIMP get_Timeout(short* Result) override;
  STDMETHODIMP get_FirmwareDownloadNeeded(VARIANT_BOOL* Result) override;
  STDMETHODIMP get_ProjectDownloadNeeded(VARIANT_BOOL* Result) override;
  STDMETHODIMP CreateDevice(BSTR DeviceKind, ::IDeviceObject** Result) override;

 private:
  HRESULT Done(const std::string& operation, std::initializer_list<std::string> arguments);

  const std::shared_ptr<Recorder> recorder_;
};

// Its operations are in the same log. What CompileItemId makes of its variables is in the answers "Address",
// "Length" and "Type", what ExtractValue makes of the value in "Value".
class SlotDeviceRecorder final : public SlotObject<::IDeviceObject> {
 public:
  explicit SlotDeviceRecorder(std::shared_ptr<Recorder> recorder) : recorder_(std::move(recorder)) {}

  STDMETHODIMP CompileItemId(BSTR ItemId, double* CompiledAddress, LONG* WordLength, LONG* ItemType,
                             VARIANT_BOOL* Result) override;
  STDMETHODIMP ExtractValue(double CompiledAddress, VARIANT* Value, LONG Reserved) override;
  STDMETHODIMP ItemLoaded(BSTR ItemId, double CompiledAddress, LONG WordLength, LONG ItemType) override;

 private:
  HRESULT Done(const std::string& operation, std::initializer_list<std::string> arguments);

  const std::shared_ptr<Recorder> recorder_;
};

}  // namespace orvo::testing
