// The error numbers of the simulated panel, as failures of calls and as item errors.
#pragma once

#include <cstdint>

namespace orvo {

enum PanelError : std::int32_t {
  PanelBusy = 1,            // a read or write while another one is not answered yet
  PanelWrongState = 2,      // the operation does not fit the state of the communication
  PanelDownloadFailed = 4,  // a download broke off
  PanelLinkDown = 5,        // item error: the link was cut or closed before the answer
  PanelBadValue = 10,       // an argument, identifier, address or value that the panel does not take
};

}  // namespace orvo
