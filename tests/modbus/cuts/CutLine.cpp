#include "modbus/cuts/CutLine.h"

#include "modbus/ExpectedOutcome.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace orvo::modbus_test {

namespace {

using modbus::Area;

const std::array<std::string, 12> OnTcp{
    "cut",           "cut",          "cut",           "once end",        "once half-end", "once swallow",
    "once slow 300", "once drip 30", "once wrong-id", "once garbage 20", "once stale",    "refuse"};
// Late answers above all: nothing in them tells whose they are.
const std::array<std::string, 12> OnRtu{"break",        "once swallow",    "once slow 170",  "once slow 300",
                                        "once late",    "once late",       "once late",      "once half",
                                        "once drip 30", "once garbage 20", "once wrong-crc", "once lose"};

std::vector<std::string> ServerOptions(bool serial) {
  return serial ? std::vector<std::string>{"--rtu-over-tcp"} : std::vector<std::string>{};
}

// Kilobytes of the process that are in memory.
long Resident() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;)
    if (word == "VmRSS:") {
      long kilobytes = 0;
      status >> kilobytes;
      return kilobytes;
    }
  return 0;
}

std::string Word(int value) {
  return Hex({static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)});
}

}  // namespace

CutLine::CutLine(bool serial, std::uint64_t seed, std::chrono::milliseconds pause)
    : serial_(serial),
      random_(seed),
      pause_(pause),
      server_(Package::Pymodbus, ServerOptions(serial)),
      proxy_(server_.Port(), serial),
      line_(serial ? std::optional<PtyLink>(std::in_place, proxy_.Port()) : std::nullopt),
      scene_(serial ? line_->Connection() + "&timeout=150" : proxy_.Connection() + "?timeout=150"),
      nextDisturbance_(Clock::now() + pause) {
  for (int each = 0; each < Written; ++each)
    held_[static_cast<std::size_t>(each)] = {WordOutcome(Area::HoldingRegisters, FirstWritten + each)};
}

int CutLine::Random(int first, int last) {
  return std::uniform_int_distribution(first, last)(random_);
}

void CutLine::DisturbWhenDue() {
  if (Clock::now() < nextDisturbance_) return;
  const auto most = static_cast<int>(pause_.count());
  nextDisturbance_ = Clock::now() + std::chrono::milliseconds(Random(most / 2, most * 3 / 2));
  if (refusing_) {
    refusing_ = false;
    proxy_.Do("accept");
    return;
  }
  const std::string disturbance = serial_ ? OnRtu[static_cast<std::size_t>(Random(0, OnRtu.size() - 1))]
                                          : OnTcp[static_cast<std::size_t>(Random(0, OnTcp.size() - 1))];
  ++counts_.disturbances[disturbance];
  if (disturbance == "break") {
    line_->Break();
    line_->Repair();
  } else if (disturbance == "refuse") {
    refusing_ = true;
    proxy_.Do("refuse");
    proxy_.Do("cut");
  } else {
    proxy_.Do(disturbance);
  }
}

void CutLine::AddWord(Wanted& wanted, int address) {
  wanted.items.push_back("WO" + std::to_string(40001 + address));
  if (address >= FirstWritten && address < FirstWritten + Written) {
    wanted.registers.emplace_back(address - FirstWritten);
    wanted.outcomes.push_back(held_[static_cast<std::size_t>(address - FirstWritten)]);
  } else {
    wanted.registers.emplace_back();
    wanted.outcomes.push_back({WordOutcome(Area::HoldingRegisters, address)});
  }
}

CutLine::Wanted CutLine::RandomItems() {
  Wanted wanted;
  const auto add = [&](const std::string& item, const std::string& outcome) {
    wanted.items.push_back(item);
    wanted.outcomes.push_back({outcome});
    wanted.registers.emplace_back();
  };
  const int first = Random(0, 9000);
  switch (Random(0, 8)) {
    case 1:
      for (int each = Random(1, 200); each > 0; --each)
        AddWord(wanted, FirstWritten + Written - each);
      break;
    case 2:
      for (int each = 0; each < Random(2, 12); ++each)
        AddWord(wanted, Random(0, 1500));
      break;
    case 3:
      for (int each = 0; each < 20; ++each) {
        const std::string number = std::to_string(10000 + first + each + 1).substr(1);
        add("BI0" + number, BitOutcome(Area::Coils, first + each));
        add("BI1" + number, BitOutcome(Area::DiscreteInputs, first + each));
      }
      break;
    case 4:
      add("DW" + std::to_string(30001 + first), LongOutcome(Area::InputRegisters, first));
      add("ST" + std::to_string(30011 + first) + "8", TextOutcome(Area::InputRegisters, first + 10, 8));
      add("FL" + std::to_string(40001 + 2 * Written + FirstWritten),
          LongOutcome(Area::HoldingRegisters, 2 * Written + FirstWritten));
      break;
    default:  // one register: these requests have answers of one shape
      AddWord(wanted, first);
      break;
  }
  return wanted;
}

void CutLine::Judge(const Wanted& wanted, const Outcomes& outcomes) {
  if (outcomes.size() != wanted.items.size())
    throw std::runtime_error("an answer with another number of items");
  for (std::size_t at = 0; at < outcomes.size(); ++at) {
    const std::string& outcome = outcomes[at];
    if (outcome == "error 3" || outcome == "error 4" || outcome == "error 5") {
      ++counts_.errors[outcome];
      continue;
    }
    if (!wanted.outcomes[at].contains(outcome))
      throw std::runtime_error(wanted.items[at] + " was read as " + outcome + " instead of " +
                               *wanted.outcomes[at].begin() + "; the line:\n" + proxy_.Log());
    ++counts_.values;
    if (wanted.registers[at]) held_[static_cast<std::size_t>(*wanted.registers[at])] = {outcome};
  }
}

void CutLine::Read() {
  const Wanted wanted = RandomItems();
  ++counts_.requests;
  Judge(wanted, scene_.Read(wanted.items));
}

void CutLine::Write() {
  std::vector<std::pair<std::string, Variant>> writes;
  std::vector<std::pair<std::size_t, std::string>> values;
  const int count = Random(1, 30);
  const int first = Random(0, Written - count);
  for (int each = first; each < first + count; ++each) {
    const int value = Random(0, 0xFFFF);
    writes.emplace_back("WO" + std::to_string(40001 + FirstWritten + each), Variant(std::int32_t{value}));
    values.emplace_back(static_cast<std::size_t>(each), Word(value));
  }
  ++counts_.requests;
  const Outcomes outcomes = scene_.Write(writes);
  for (std::size_t at = 0; at < outcomes.size(); ++at) {
    auto& held = held_[values[at].first];
    if (outcomes[at] == "error 0") {
      held = {values[at].second};
      ++counts_.values;
    } else if (outcomes[at] == "error 3" || outcomes[at] == "error 4" || outcomes[at] == "error 5") {
      held.insert(values[at].second);  // nobody knows whether it was carried out
      ++counts_.errors[outcomes[at]];
    } else {
      throw std::runtime_error(writes[at].first + " was written with " + outcomes[at]);
    }
  }
}

void CutLine::Run(std::chrono::milliseconds time) {
  // Also in the middle of requests, while their answers are waited for.
  const std::int32_t timer =
      scene_.Platform().SetTimer(std::chrono::milliseconds(20), [this](std::int32_t) { DisturbWhenDue(); });
  scene_.Open();
  const auto start = Clock::now();
  while (Clock::now() < start + time) {
    if (residentWarm_ == 0 && Clock::now() - start > time / 4) residentWarm_ = Resident();
    if (Random(0, 3) == 0)
      Write();
    else
      Read();
    scene_.Platform().RunFor(std::chrono::milliseconds(Random(0, 4)));
  }
  scene_.Platform().KillTimer(timer);
  proxy_.Do("pass");
  proxy_.Do("accept");
  Wanted everything;
  for (int address = 0; address < FirstWritten + Written + 100; ++address)
    AddWord(everything, address);
  ++counts_.requests;
  Judge(everything, scene_.ReadWhenConnected(everything.items, {"error 3", "error 4"}));
  counts_.growth = Resident() - residentWarm_;
  scene_.Close();
  scene_.Platform().PumpOnce();
  if (scene_.Answers() != scene_.Requests())
    throw std::runtime_error(std::to_string(scene_.Answers()) + " answers to " +
                             std::to_string(scene_.Requests()) + " requests");
  if (counts_.disturbances.empty() || counts_.values == 0)
    throw std::runtime_error("nothing was tried: no disturbance, or no value");
}

}  // namespace orvo::modbus_test
