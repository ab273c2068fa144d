// A driver of the core as a COM driver, its devices included.
//
// The driver calls a COM server's sink by its slots and lets go of it when it is given another one, or none.
// Failures leave with number, text and source. What the driver still answers after the last reference is gone
// is answered.
#pragma once

#include "IORVOBusiness_h.h"
#include "com/DispatchObject.h"
#include "spooler/CommunicationDriver.h"

#include <memory>

namespace orvo::com {

class DriverExport final : public DispatchObject<::ICommunicationDriver> {
 public:
  // `source` names the driver's class in error information, for example "SimulatedPanel.Channel"; it stays
  // valid.
  DriverExport(std::shared_ptr<CommunicationDriver> driver, const char* source);

  // Error 13 for an object that is no sink; the sink held before stays.
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
  // Reserved: E_NOTIMPL, and nothing is done.
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
  ~DriverExport() override;

  std::shared_ptr<CommunicationDriver> driver_;
};

}  // namespace orvo::com
