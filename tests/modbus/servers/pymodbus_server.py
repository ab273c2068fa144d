#!/usr/bin/python3
"""A Modbus server for the tests: the protocol is that of pymodbus, here is what it serves.

All 65536 addresses of the four tables exist. A register holds (address * 40503 + 7919 * digit of its table) modulo 65536, a
bit the parity of the same number; what is written into a table that can be written is kept. Ends with its standard input,
so that it never outlives the program that started it.
"""
import argparse
import asyncio
import logging
import math
import os
import struct
import sys
import threading

from pymodbus.datastore import ModbusServerContext, ModbusSlaveContext
from pymodbus.device import ModbusDeviceIdentification
from pymodbus.server.async_io import ModbusSerialServer, ModbusTcpServer
from pymodbus.transaction import ModbusRtuFramer, ModbusSocketFramer

AREA_SIZE = 65536


class Table:
    """One of the four tables, in the way in which pymodbus asks for its data."""

    def __init__(self, digit, holes):
        self.digit = digit
        self.holes = [(first, last) for table, first, last in holes if table == digit]
        self.written = {}

    def value(self, address):
        """What lies at an address."""
        if address in self.written:
            return self.written[address]
        register = (address * 40503 + 7919 * self.digit) & 0xFFFF
        return register if self.digit >= 3 else bin(register).count("1") & 1

    def reset(self):
        """Everything as at the beginning."""
        self.written.clear()

    def validate(self, address, count=1):
        """Whether all of it exists; else the package answers exception 2."""
        if address < 0 or address + count > AREA_SIZE:
            return False
        return all(address > last or address + count <= first for first, last in self.holes)

    def getValues(self, address, count=1):  # pylint: disable=invalid-name
        """The package's name for a read."""
        return [self.value(each) for each in range(address, address + count)]

    def setValues(self, address, values):  # pylint: disable=invalid-name
        """The package's name for a write."""
        for offset, value in enumerate(values if isinstance(values, list) else [values]):
            self.written[address + offset] = value


def hole(text):
    """4:200-201: these addresses of the holding registers do not exist."""
    digit, _, addresses = text.partition(":")
    first, _, last = addresses.partition("-")
    return int(digit), int(first), int(last or first)


async def move(registers):
    """A plant that lives: a counter, a sine, a bit, in registers from 40001 on; a text from 40201 on."""
    registers.setValues(200, [*struct.unpack(">5H", b"Vanilla 3%")])
    passed = 0
    while True:
        registers.setValues(0, passed & 0xFFFF)
        registers.setValues(1, [*struct.unpack(">HH", struct.pack(">f", 20 + 1.5 * math.sin(passed / 10)))])
        registers.setValues(3, 1 << passed // 5 % 16)
        await asyncio.sleep(0.2)
        passed += 1


def end_with_input():
    """The program that started this one holds the other end."""
    while os.read(sys.stdin.fileno(), 4096):
        pass
    os._exit(0)  # pylint: disable=protected-access


async def serve(options):
    """Makes the server, tells where it is, and runs it."""
    tables = {name: Table(digit, options.hole) for name, digit in (("co", 0), ("di", 1), ("ir", 3), ("hr", 4))}
    unit = ModbusSlaveContext(**tables, zero_mode=True)
    context = ModbusServerContext(slaves={options.unit: unit}, single=False)
    identity = None
    if options.identify:
        identity = ModbusDeviceIdentification(info=dict(enumerate(options.identify.split("|"))))
    background = [asyncio.create_task(move(tables["hr"]))] if options.moving else []
    if options.rtu:
        server = ModbusSerialServer(context, ModbusRtuFramer, identity=identity, port=options.rtu, baudrate=options.baud,
                                    parity=options.parity, stopbits=1, bytesize=8, timeout=1,
                                    ignore_missing_slaves=True)
        await server.start()
        if server.transport is None:
            raise OSError(f"{options.rtu} cannot be opened so")
        print("listening", options.rtu, flush=True)
        await server.serve_forever()
    else:
        framer = ModbusRtuFramer if options.rtu_over_tcp else ModbusSocketFramer
        server = ModbusTcpServer(context, framer, identity, ("127.0.0.1", options.port), allow_reuse_address=True,
                                 ignore_missing_slaves=True)
        serving = asyncio.create_task(server.serve_forever())
        await asyncio.wait([serving, server.serving], return_when=asyncio.FIRST_COMPLETED)
        if serving.done():
            serving.result()
        print("listening", server.server.sockets[0].getsockname()[1], flush=True)
        await serving
    del background


def main():
    """The command line."""
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--port", type=int, default=0, help="of 127.0.0.1; 0: a free one, which is printed")
    parser.add_argument("--unit", type=int, default=1)
    parser.add_argument("--hole", type=hole, action="append", default=[], metavar="DIGIT:FIRST-LAST")
    parser.add_argument("--identify", metavar="VENDOR|PRODUCT|REVISION")
    parser.add_argument("--rtu", metavar="DEVICE", help="a serial device instead of TCP")
    parser.add_argument("--baud", type=int, default=115200)
    parser.add_argument("--parity", choices="NEO", default="N", help="pseudo terminals have none")
    parser.add_argument("--rtu-over-tcp", action="store_true", help="frames of RTU on a TCP port")
    parser.add_argument("--moving", action="store_true", help="40001 counts, 40002 is a sine (two registers), 40004 one bit, 40201 a text")
    options = parser.parse_args()
    # Clients that go away are what the tests are about.
    logging.getLogger("pymodbus").setLevel(logging.CRITICAL)
    threading.Thread(target=end_with_input, daemon=True).start()
    asyncio.run(serve(options))


if __name__ == "__main__":
    main()
