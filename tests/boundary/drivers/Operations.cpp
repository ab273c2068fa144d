#include "boundary/drivers/Operations.h"

#include <sstream>

namespace orvo::testing {

std::string Shown(bool value) {
  return value ? "True" : "False";
}

std::string Shown(const std::string& value) {
  return '"' + value + '"';
}

std::string Shown(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

namespace {

using Driver = CommunicationDriver;

const SafeArray<double> Addresses(std::vector<double>{1.5, -2, 4e9}, 0);
const SafeArray<std::int16_t> Dimensions(std::vector<std::int16_t>{1, 2, 3}, 0);
const SafeArray<std::uint8_t> Buffer(std::vector<std::uint8_t>{0, 127, 255}, 0);

SafeArray<Variant> Values() {
  return SafeArray<Variant>(
      std::vector<Variant>{std::int32_t{5}, Variant("a\xC3\xA9"), SafeArray<std::uint8_t>({1, 255})}, 0);
}

// An operation that answers nothing.
template <class Call>
Operation Does(const char* name, Call call, const char* bySlot, const char* byName = nullptr) {
  return {name,
          [call](Driver& driver) {
            call(driver);
            return std::string();
          },
          {},
          "",
          bySlot,
          byName == nullptr ? bySlot : byName};
}

template <class Call>
Operation Asks(const char* name, Call call, Value answer, const char* result, const char* arguments = "") {
  return {
      name,     [call](Driver& driver) { return Shown(call(driver)); }, std::move(answer), result, arguments,
      arguments};
}

template <class Number>
auto Question(Number (Driver::*question)()) {
  return [question](Driver& driver) {
    if constexpr (std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>)
      return static_cast<double>((driver.*question)());
    else
      return (driver.*question)();
  };
}

std::vector<Operation> AllOperations() {
  return {
      Does(
          "SetEventSink", [](Driver& driver) { driver.SetEventSink(nullptr); }, "Nothing"),
      Does(
          "WriteItems", [](Driver& driver) { driver.WriteItems(Addresses, Dimensions, Values()); },
          "R8[0: 1.5, -2, 4000000000], I2[0: 1, 2, 3], Variant[0: I4:5, Str:\"a\xC3\xA9\", UI1[0: 1, 255]]",
          "Variant[0: R8:1.5, R8:-2, R8:4000000000], Variant[0: I2:1, I2:2, I2:3], "
          "Variant[0: I4:5, Str:\"a\xC3\xA9\", Variant[0: UI1:1, UI1:255]]"),
      Does(
          "ReadItems", [](Driver& driver) { driver.ReadItems(Addresses, Dimensions); },
          "R8[0: 1.5, -2, 4000000000], I2[0: 1, 2, 3]",
          "Variant[0: R8:1.5, R8:-2, R8:4000000000], Variant[0: I2:1, I2:2, I2:3]"),
      Does(
          "WriteGroup", [](Driver& driver) { driver.WriteGroup(70000, Buffer); },
          "I4:70000, UI1[0: 0, 127, 255]", "I4:70000, Variant[0: UI1:0, UI1:127, UI1:255]"),
      Does(
          "ReadGroup", [](Driver& driver) { driver.ReadGroup(-1, SafeArray<std::uint8_t>()); },
          "I4:-1, UI1[0:]", "I4:-1, Variant[0:]"),
      Does(
          "OpenCommunication", [](Driver& driver) { driver.OpenCommunication(true); }, "Bool:True"),
      Does(
          "CloseCommunication", [](Driver& driver) { driver.CloseCommunication(); }, ""),
      Asks("BootVersion", Question(&Driver::BootVersion), R4(1.25F), "1.25"),
      Asks("BootDate", Question(&Driver::BootDate), Str("2020-01-02"), "\"2020-01-02\""),
      Asks("FirmwareVersion", Question(&Driver::FirmwareVersion), R4(-2.5F), "-2.5"),
      Asks("BoardDescription", Question(&Driver::BoardDescription), Str("Brett \xC3\xBC"),
           "\"Brett \xC3\xBC\""),
      Asks("BoardStatus", Question(&Driver::BoardStatus), I4(-70000), "-70000"),
      Asks("CommunicationStatus", Question(&Driver::CommunicationStatus), I4(3), "3"),
      Does(
          "DownloadFirmware", [](Driver& driver) { driver.DownloadFirmware("C:\\a.fw", 0); },
          "Str:\"C:\\a.fw\", I4:0"),
      Does(
          "DownloadProject", [](Driver& driver) { driver.DownloadProject("", 0); }, "Str:\"\", I4:0"),
      Asks("BaudRate", Question(&Driver::BaudRate), I4(115200), "115200"),
      Does(
          "BaudRate=", [](Driver& driver) { driver.PutBaudRate(19200); }, "I4:19200"),
      Asks("SetConfigurationMode", Question(&Driver::SetConfigurationMode), Flag(true), "True"),
      Does(
          "SetGroupDefinition", [](Driver& driver) { driver.SetGroupDefinition(7, -1); }, "I4:7, I4:-1"),
      Asks("GroupCapacity", Question(&Driver::GroupCapacity), I4(8), "8"),
      Does(
          "NetworkType=", [](Driver& driver) { driver.PutNetworkType(2); }, "I4:2"),
      Asks("MinorVersion", Question(&Driver::MinorVersion), I2(-3), "-3"),
      Asks("MajorVersion", Question(&Driver::MajorVersion), I2(300), "300"),
      Asks("Description", Question(&Driver::Description), Str(""), "\"\""),
      Does(
          "ComPortNumber=", [](Driver& driver) { driver.PutComPortNumber(4); }, "I4:4"),
      Asks("ComPortNumber", Question(&Driver::ComPortNumber), I4(4), "4"),
      Asks("ProjectName", Question(&Driver::ProjectName), Str("plant.prj"), "\"plant.prj\""),
      Does(
          "ProjectName=", [](Driver& driver) { driver.PutProjectName("plant"); }, "Str:\"plant\""),
      Asks("GroupTransfer", Question(&Driver::GroupTransfer), Flag(true), "True"),
      Asks(
          "CheckVariable", [](Driver& driver) { return driver.CheckVariable(1000, 70000); }, Flag(false),
          "False", "I4:1000, I4:70000"),
      Does(
          "WordIO=", [](Driver& driver) { driver.PutWordIO(-5); }, "I2:-5"),
      Asks("WordIO", Question(&Driver::WordIO), I2(-5), "-5"),
      Does(
          "Timeout=", [](Driver& driver) { driver.PutTimeout(32767); }, "I2:32767"),
      Asks("Timeout", Question(&Driver::Timeout), I2(250), "250"),
      Asks("FirmwareDownloadNeeded", Question(&Driver::FirmwareDownloadNeeded), Flag(true), "True"),
      Asks("ProjectDownloadNeeded", Question(&Driver::ProjectDownloadNeeded), Flag(false), "False"),
  };
}

}  // namespace

const std::vector<Operation>& Operations() {
  static const std::vector<Operation> operations = AllOperations();
  return operations;
}

}  // namespace orvo::testing
