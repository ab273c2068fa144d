// A Modbus TCP server for the tests: the protocol is that of the npm package modbus-serial, here is what it serves: the same
// tables as pymodbus_server.py, by the same options. Ends with its standard input.
//
// usage: node modbus_serial_server.js --modules FOLDER [--port N] [--unit N] [--hole DIGIT:FIRST-LAST]... [--identify V|P|R]
"use strict";
const path = require("path");
const { parseArgs } = require("util");

const options = parseArgs({
  options: {
    modules: { type: "string" },
    port: { type: "string", default: "0" },
    unit: { type: "string", default: "1" },
    hole: { type: "string", multiple: true, default: [] },
    identify: { type: "string" },
  },
}).values;
const { ServerTCP } = require(path.join(options.modules, "modbus-serial"));

const AreaSize = 65536;

class Table {
  constructor(digit) {
    this.digit = digit;
    this.written = new Map();
    this.holes = options.hole
      .map((text) => /^(\d):(\d+)(?:-(\d+))?$/.exec(text))
      .filter((parts) => Number(parts[1]) === digit)
      .map((parts) => [Number(parts[2]), Number(parts[3] ?? parts[2])]);
  }

  require(address) {
    if (address >= 0 && address < AreaSize && !this.holes.some(([first, last]) => address >= first && address <= last)) return;
    const error = new Error(`table ${this.digit} has no address ${address}`);
    error.modbusErrorCode = 2;
    throw error;
  }

  read(address) {
    this.require(address);
    if (this.written.has(address)) return this.written.get(address);
    const register = (Math.imul(address, 40503) + 7919 * this.digit) & 0xffff;
    if (this.digit >= 3) return register;
    let ones = 0;
    for (let rest = register; rest !== 0; rest &= rest - 1) ones++;
    return ones % 2 === 1;
  }

  write(address, values) {
    // All or nothing, as a device does it.
    values.forEach((_, offset) => this.require(address + offset));
    values.forEach((value, offset) => this.written.set(address + offset, value));
  }
}

const [coils, inputs, inputRegisters, holdingRegisters] = [0, 1, 3, 4].map((digit) => new Table(digit));
const several = (table, address, count) => Array.from({ length: count }, (_, offset) => table.read(address + offset));
const vector = {
  getCoil: (address) => coils.read(address),
  getDiscreteInput: (address) => inputs.read(address),
  getInputRegister: (address) => inputRegisters.read(address),
  getHoldingRegister: (address) => holdingRegisters.read(address),
  getMultipleInputRegisters: (address, count) => several(inputRegisters, address, count),
  getMultipleHoldingRegisters: (address, count) => several(holdingRegisters, address, count),
  setCoil: (address, value) => coils.write(address, [value]),
  setRegister: (address, value) => holdingRegisters.write(address, [value]),
  setRegisterArray: (address, values) => holdingRegisters.write(address, values),
};
if (options.identify) {
  const [vendor, product, revision] = options.identify.split("|");
  vector.readDeviceIdentification = () => ({ 0: vendor, 1: product, 2: revision });
}

// A text, because the package takes the number 0 for none.
const server = new ServerTCP(vector, { host: "127.0.0.1", port: options.port, unitID: Number(options.unit) });
server.on("initialized", () => console.log("listening", server._server.address().port));
server.on("serverError", (error) => {
  console.error(error.message);
  process.exit(1);
});
process.stdin.resume();
process.stdin.on("end", () => process.exit(0));
