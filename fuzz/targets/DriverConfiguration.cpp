// The driver configuration file. Properties:
// - any text is an INI text: what is read of it is what a plainer reading finds, line by line, and it reads the
//   same when it is written out again, with a byte-order mark, or with other line ends
// - the server takes the driver that the text names, or fails with the documented number (5, 429, 13, 6), and
//   the steps before the one that failed stay done, the others not
// - a device type is the kind that stands under its number; one that the driver does not know leaves status and
//   type as they were, and no device
#include "PlainIni.h"
#include "Property.h"
#include "Targets.h"
#include "errors/modIDataErrors.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "server/IniFile.h"
#include "server/KELDataServer.h"
#include "support/ScriptedDriver.h"
#include "values/VariantConversion.h"

namespace orvo::fuzz {

namespace {

std::string Listed(const IniFile& file) {
  std::string text;
  for (const IniFile::SectionPlace& section : file.Sections()) {
    text += "[" + section.name + "]\r\n";
    for (const IniFile::Entry& entry : file.Entries(section.name))
      text += entry.key + "=" + entry.value + "\r\n";
  }
  return text;
}

void CompareWithPlainReading(const IniFile& file, const PlainIni& plain) {
  const std::vector<IniFile::SectionPlace> sections = file.Sections();
  Demand(sections.size() == plain.sections.size(), "an INI text has the sections of its headers");
  std::size_t entries = 0;
  for (std::size_t k = 0; k < sections.size(); ++k) {
    Demand(sections[k].name == plain.sections[k], "sections are in the order of their headers",
           sections[k].name);
    Demand(file.SectionLine(sections[k].name) == sections[k].line, "a section knows its line");
    std::vector<const PlainIni::Line*> expected;
    for (const PlainIni::Line& line : plain.lines)
      if (line.section == sections[k].name) expected.push_back(&line);
    const std::vector<IniFile::Entry>& found = file.Entries(sections[k].name);
    entries += found.size();
    Demand(found.size() == expected.size(), "a section has the entries of its lines", sections[k].name);
    for (std::size_t e = 0; e < found.size(); ++e) {
      Demand(found[e].key == expected[e]->key && found[e].value == expected[e]->value &&
                 found[e].line == expected[e]->number,
             "an entry has key, value and number of its line", found[e].key);
      Demand(file.Value(sections[k].name, found[e].key) == plain.Value(sections[k].name, found[e].key),
             "the first entry of a key counts", found[e].key);
    }
  }
  Demand(entries == plain.lines.size(), "no entry is lost");
}

void CheckReading(const std::string& text) {
  std::vector<std::size_t> passedOver;
  const IniFile file =
      IniFile::Parse(text, [&](std::size_t line, std::string_view) { passedOver.push_back(line); });
  const PlainIni plain(text);
  CompareWithPlainReading(file, plain);
  Demand(passedOver == plain.passedOver, "exactly the lines that are nothing are told as passed over");
  const std::string listed = Listed(file);
  Demand(Listed(IniFile::Parse(listed)) == listed, "what was read reads the same when it is written out",
         listed);
  if (IsWellFormedUtf8(text) && !text.starts_with("\xEF\xBB\xBF"))
    Demand(Listed(IniFile::Parse("\xEF\xBB\xBF" + text)) == listed, "a byte-order mark changes nothing");
}

class DriverSite {
 public:
  DriverSite() {
    files_.PutFile("good.ini", "[Drivers]\nDataCommunication=Scripted.Channel\nNetworkType=3\n1=PanelA\n");
    drivers_.Register("Scripted.Channel", [this](DriverHost) {
      last_ = std::make_shared<testing::ScriptedDriver>();
      return last_;
    });
    server_ = KELDataServer::Create({platform_, files_, drivers_});
    server_->SetDriverConfigurationFile("good.ini");
    server_->PutDeviceType(1);
  }

  void Check(const std::string& text) {
    files_.PutFile("drivers.ini", text);
    const PlainIni plain(text);
    CheckDriver(plain);
    for (const std::int32_t type : {0, 1, 2, 7, -1, 2147483647})
      CheckDevice(plain, type);
  }

 private:
  void CheckDriver(const PlainIni& plain) {
    const std::shared_ptr<testing::ScriptedDriver> before = last_;
    const std::int32_t number = NumberOf([&] { server_->SetDriverConfigurationFile("drivers.ini"); });
    Demand(server_->ServerStatus() == StatusStopped && server_->DeviceType() == 1,
           "the choice of a driver changes neither status nor device type");
    const std::optional<std::string> name = plain.Value("Drivers", "DataCommunication");
    if (!name || FoldCase(*name) != "scripted.channel") {
      Demand(number == (name ? 429 : 5), "a driver that is not there is error 5 or 429",
             std::to_string(number));
      Demand(last_ == before && last_->HasSink(), "the driver before stays when there is no other");
      return;
    }
    Demand(last_ != before, "the driver that is named is made");
    std::int32_t expected = 0;
    std::int32_t networkType = last_->networkType;
    if (const auto value = plain.Value("Drivers", "NetworkType"))
      expected = NumberOf([&] { networkType = ToI4(Variant(*value)); });
    Demand(number == expected, "a network type is a number or the failure of its conversion",
           std::to_string(number));
    Demand(last_->HasSink() == (number == 0), "the spooler gets the driver after the last step");
    Demand(last_->networkType == networkType, "the driver gets the network type that stands there");
  }

  void CheckDevice(const PlainIni& plain, std::int32_t type) {
    const std::int32_t before = server_->DeviceType();
    const std::string kind = plain.Value("Drivers", std::to_string(type)).value_or("");
    const bool known = kind == "PanelA" || kind == "PanelB";
    const std::int32_t number = NumberOf([&] { server_->PutDeviceType(type); });
    Demand(number == (known ? 0 : errInvalidDeviceType), "a device type is known or errInvalidDeviceType",
           std::to_string(type) + " gives " + std::to_string(number));
    Demand(server_->DeviceType() == (known ? type : before) && server_->ServerStatus() == StatusStopped &&
               (server_->Device() != nullptr) == known,
           "a device type that fails leaves status and type, and no device");
  }

  SimulatedPlatform platform_;
  MemoryFiles files_;
  DriverRegistry drivers_;
  std::shared_ptr<testing::ScriptedDriver> last_;
  std::shared_ptr<KELDataServer> server_;
};

}  // namespace

void DriverConfiguration(InputReader& input) {
  const std::string text(input.Rest());
  CheckReading(text);
  DriverSite().Check(text);
}

}  // namespace orvo::fuzz
