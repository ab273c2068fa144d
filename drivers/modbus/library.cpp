// The Modbus driver as a shared library: Modbus.Channel.so.
#include "modbus/ModbusDriver.h"
#include "spooler/DriverLibrary.h"

ORVO_DRIVER_LIBRARY("Modbus.Channel", "Modbus devices, over TCP or a serial line (RTU)",
                    [](orvo::DriverHost host) -> std::shared_ptr<orvo::CommunicationDriver> {
                      return orvo::modbus::ModbusDriver::Make(host);
                    });
