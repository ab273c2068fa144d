// The simulated panel as a shared library: SimulatedPanel.Channel.so.
#include "simulated/SimulatedPanel.h"
#include "spooler/DriverLibrary.h"

ORVO_DRIVER_LIBRARY("SimulatedPanel.Channel", "A panel in a box, simulated inside the process",
                    [](orvo::DriverHost host) -> std::shared_ptr<orvo::CommunicationDriver> {
                      return orvo::SimulatedPanel::Make(host);
                    });
