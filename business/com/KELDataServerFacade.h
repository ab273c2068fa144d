// KELDataServer towards automation clients.
#pragma once

#include "ORVOBusiness_h.h"
#include "com/EventSinks.h"
#include "com/Facade.h"
#include "server/KELDataServer.h"

namespace orvo::com {

class KELDataServerFacade final : public SourceFacade<orvo::KELDataServer, KELDataServerEvents, ServerSink,
                                                      ::_KELDataServer, ::__KELDataServer> {
 public:
  explicit KELDataServerFacade(std::shared_ptr<orvo::KELDataServer> core);
  // A new server for the calling thread.
  static ComPtr<IUnknown> New();

  STDMETHODIMP get_MinorVersion(short* Result) override;
  STDMETHODIMP get_MajorVersion(short* Result) override;
  STDMETHODIMP get_Description(BSTR* Result) override;
  STDMETHODIMP get_DeviceName(BSTR* Result) override;
  STDMETHODIMP get_BootVersion(float* Result) override;
  STDMETHODIMP get_BootDate(BSTR* Result) override;
  STDMETHODIMP get_FirmwareVersion(float* Result) override;
  STDMETHODIMP get_BoardDescription(BSTR* Result) override;
  STDMETHODIMP get_BoardStatus(LONG* Result) override;
  STDMETHODIMP get_CommunicationStatus(LONG* Result) override;
  STDMETHODIMP get_ServerStatus(LONG* Result) override;
  STDMETHODIMP get_KELDataGroups(_KELDataGroups** Result) override;
  STDMETHODIMP get_AutoDownloadFirmware(VARIANT_BOOL* Result) override;
  STDMETHODIMP get_AutoDownloadProject(VARIANT_BOOL* Result) override;
  STDMETHODIMP get_WordIO(short* Result) override;
  STDMETHODIMP get_Timeout(short* Result) override;
  STDMETHODIMP get_ComPortNumber(LONG* Result) override;
  STDMETHODIMP put_ComPortNumber(LONG NewValue) override;
  STDMETHODIMP get_ProjectName(BSTR* Result) override;
  STDMETHODIMP put_ProjectName(BSTR NewValue) override;
  STDMETHODIMP get_BaudRate(LONG* Result) override;
  STDMETHODIMP put_BaudRate(LONG NewValue) override;
  STDMETHODIMP put_DeviceType(LONG NewValue) override;
  STDMETHODIMP get_DeviceType(LONG* Result) override;
  STDMETHODIMP put_WordIO(short NewValue) override;
  STDMETHODIMP put_Timeout(short NewValue) override;
  STDMETHODIMP put_AutoDownloadFirmware(VARIANT_BOOL NewValue) override;
  STDMETHODIMP put_AutoDownloadProject(VARIANT_BOOL NewValue) override;
  STDMETHODIMP LoadConfigurationFromFile(BSTR FileName, VARIANT bIgnoreErrors) override;
  STDMETHODIMP SaveConfigurationToFile(BSTR FileName) override;
  STDMETHODIMP OpenCommunication() override;
  STDMETHODIMP CloseCommunication() override;
  STDMETHODIMP SetDriverConfigurationFile(BSTR FileName) override;
  STDMETHODIMP DownloadFirmware(BSTR FileName) override;
  STDMETHODIMP DownloadProject(BSTR FileName) override;
};

}  // namespace orvo::com
