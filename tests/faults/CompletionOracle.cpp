#include "faults/CompletionOracle.h"

#include "faults/PublicCalls.h"

#include <array>
#include <bit>
#include <utility>

namespace orvo::testing {

namespace {

const std::array<std::string, 3> OracleItems{"a", "b", "c"};

std::string Joined(const std::vector<std::string>& texts) {
  std::string all = "[";
  for (const std::string& text : texts)
    all += (all.size() > 1 ? "," : "") + text;
  return all + "]";
}

std::vector<std::string> ErrorsOf(const Brought& brought) {
  std::vector<std::string> errors;
  for (const BroughtItem& item : brought.items)
    errors.push_back(std::to_string(brought.requestError != 0 ? brought.requestError : item.error));
  return errors;
}

enum class Stamp { None, Read, Written };

// Adds what an item holds now to a list of differences.
void Hold(std::string& left, std::size_t position, const std::string& value, Stamp stamp) {
  const std::string name = "G." + OracleItems[position] + ".";
  left += (left.empty() ? "" : ", ") + name + "DATAValue=" + value;
  if (stamp != Stamp::None) left += ", " + name + "stamped";
  if (stamp == Stamp::Written) left += ", " + name + "WriteDone=True";
}

bool StartsLike(const CompletionPath& path, const std::string& call) {
  return path.call.starts_with(call);
}

std::string Handles(const CompletionPath& path) {
  return path.items == 3 ? "[1,2,3]" : "[1]";
}

std::string WithEvent(const std::string& event, const std::string& rest) {
  return "id 2 | " + event + " 2 [1,2,3] " + rest;
}

// What the three items hold in the bytes of their group; bytes that are not there count as 0.
std::vector<std::string> InBuffer(std::vector<std::uint8_t> buffer) {
  buffer.resize(std::max<std::size_t>(buffer.size(), 10));
  const auto number = [&](std::size_t offset, int bytes) {
    std::uint32_t value = 0;
    for (int k = 0; k < bytes; ++k)
      value = value * 256 + buffer[offset + static_cast<std::size_t>(k)];
    return value;
  };
  return {LogText(Variant(static_cast<double>(number(0, 2)))),
          LogText(Variant(static_cast<double>(static_cast<std::int32_t>(number(2, 4))))),
          LogText(Variant(std::bit_cast<float>(number(6, 4))))};
}

}  // namespace

const std::vector<CompletionPath>& CompletionPaths() {
  static const std::vector<CompletionPath> paths{
      {"Group.SyncRead of items", "ReadItems", 3, 2},
      {"Group.SyncRead of groups", "ReadItems", 3, 2},
      {"Group.SyncReadAll of items", "ReadItems", 3, 2},
      {"Group.AsyncRead of items", "ReadItems", 3, 2},
      {"Group.AsyncRead of groups", "ReadItems", 3, 2},
      {"Group.AsyncReadAll of items", "ReadItems", 3, 2},
      {"refresh of items", "ReadItems", 3, 3},
      {"Item.SyncRead", "ReadItems", 1, 2},
      {"Group.SyncWrite of items", "WriteItems", 3, 2},
      {"Group.SyncWrite of groups", "WriteItems", 3, 2},
      {"Group.SyncWriteAll of items", "WriteItems", 3, 2},
      {"Group.AsyncWrite of items", "WriteItems", 3, 2},
      {"Group.AsyncWrite of groups", "WriteItems", 3, 2},
      {"Group.AsyncWriteAll of items", "WriteItems", 3, 2},
      {"Item.SyncWrite", "WriteItems", 1, 2},
      {"Group.SyncReadAll of groups", "ReadGroup", 3, 2},
      {"Group.AsyncReadAll of groups", "ReadGroup", 3, 2},
      {"refresh of groups", "ReadGroup", 3, 3},
      {"Group.SyncWriteAll of groups", "WriteGroup", 3, 2},
      {"Group.AsyncWriteAll of groups", "WriteGroup", 3, 2},
  };
  return paths;
}

std::vector<CompletionPath> CompletionPathsOf(const std::string& operation) {
  std::vector<CompletionPath> paths;
  for (const CompletionPath& path : CompletionPaths())
    if (path.operation == operation) paths.push_back(path);
  return paths;
}

TakenRequest RequestOf(const CompletionPath& path) {
  TakenRequest request{path.operation, path.serial, {}, {}, {}};
  request.addresses = path.items == 3 ? SafeArray<double>{1, 102, 203} : SafeArray<double>{1};
  return request;
}

Brought ProperlyBrought(const CompletionPath& path) {
  const SafeArray<Variant> values = FaultyDriver::ValuesOf(RequestOf(path));
  Brought brought;
  for (std::size_t k = 0; k < path.items; ++k) {
    const std::string kind = k == 0 ? "I2:" : k == 1 ? "I4:" : "R4:";
    const std::string number = std::to_string(10 * path.serial + static_cast<int>(k) + 1);
    brought.items.push_back({true, LogText(values.View()[k]), kind + number, 0});
  }
  return brought;
}

Expectation AfterItemRead(const CompletionPath& path, const Brought& brought) {
  const bool failed = brought.requestError != 0;
  const bool async = StartsLike(path, "Group.Async");
  const bool refresh = StartsLike(path, "refresh");
  const bool all = StartsLike(path, "Group.SyncReadAll");
  Expectation expected;
  if (refresh && failed) return {"ok", ""};
  std::vector<std::string> values;
  for (std::size_t k = 0; k < brought.items.size(); ++k) {
    const BroughtItem& item = brought.items[k];
    const bool there = item.reached && !failed;
    // SyncRead looks at the errors and leaves what came beside one as it is; the others take what came.
    const bool taken = async || refresh || (there && (all || item.error == 0));
    if (taken)
      Hold(expected.left, k, there ? item.client : "Empty", all || path.items == 1 ? Stamp::None : Stamp::Read);
    values.push_back(!there ? "Empty" : taken ? item.client : item.raw);
  }
  const std::string result = Joined(values) + " " + Joined(ErrorsOf(brought));
  expected.outcome = result;
  if (all) expected.outcome = Handles(path) + " " + result;
  if (async) expected.outcome = WithEvent("AsyncReadComplete", result);
  if (refresh) expected.outcome = "ok | DataChange [1,2,3] " + Joined(values);
  if (path.items == 1) {
    const std::string error = ErrorsOf(brought)[0];
    if (!expected.left.empty()) expected.left += ", G.a.stamped";
    expected.outcome = (error == "0" ? values[0] : "String:\"old\"") + " " + error;
  }
  return expected;
}

Expectation AfterItemWrite(const CompletionPath& path, const Brought& brought,
                           const std::vector<std::string>& written) {
  const std::vector<std::string> errors = ErrorsOf(brought);
  Expectation expected;
  for (std::size_t k = 0; k < errors.size() && k < written.size(); ++k)
    if (errors[k] == "0") Hold(expected.left, k, written[k], Stamp::Written);
  expected.outcome = path.items == 1 ? errors[0] : Joined(errors);
  if (StartsLike(path, "Group.Async")) expected.outcome = WithEvent("AsyncWriteComplete", Joined(errors));
  return expected;
}

Expectation AfterGroupRead(const CompletionPath& path, std::int32_t error, std::vector<std::uint8_t> buffer) {
  const bool async = StartsLike(path, "Group.Async");
  const bool refresh = StartsLike(path, "refresh");
  Expectation expected;
  if (!refresh) expected.left = "G.Defined=True";
  const std::string number = std::to_string(error);
  std::vector<std::string> values(3, "Empty");
  if (error == 0) {
    values = InBuffer(std::move(buffer));
    for (std::size_t k = 0; k < 3; ++k)
      Hold(expected.left, k, values[k], async || refresh ? Stamp::Read : Stamp::None);
  }
  const std::string result = Joined(values) + " " + Joined({number, number, number});
  if (async)
    expected.outcome = WithEvent("AsyncReadAllComplete", result);
  else if (refresh)
    expected.outcome = error != 0 ? "ok" : "ok | DataChange [1,2,3] " + Joined(values);
  else
    expected.outcome = (error != 0 ? "[0,0,0] " : "[1,2,3] ") + result;
  return expected;
}

Expectation AfterGroupWrite(const CompletionPath& path, std::int32_t error, std::vector<std::uint8_t> buffer) {
  Expectation expected{"", "G.Defined=True"};
  const std::string number = std::to_string(error);
  const std::vector<std::string> values = InBuffer(std::move(buffer));
  for (std::size_t k = 0; k < 3 && error == 0; ++k)
    Hold(expected.left, k, values[k], Stamp::Written);
  expected.outcome = Joined({number, number, number});
  if (StartsLike(path, "Group.Async")) expected.outcome = WithEvent("AsyncWriteAllComplete", expected.outcome);
  return expected;
}

std::string CompletionRow(const CompletionPath& path, const std::function<void(IEventNotify&)>& completion,
                          const Expectation& expected) {
  const PublicCall& call = PublicCallNamed(path.call);
  FaultScene scene(call.setup);
  const Picture before = scene.Look();
  FaultyDriver& driver = *scene.driver;
  bool first = true;
  driver.answer = [&](const TakenRequest& request) {
    if (!std::exchange(first, false)) {
      driver.AnswerLater(request);
      return;
    }
    scene.plant->platform.Post([&driver, &completion] { driver.Tell(completion); });
  };
  std::string wrong;
  const auto compare = [&wrong](const std::string& got, const std::string& wanted) {
    if (got != wanted) wrong += "\n  got      " + got + "\n  expected " + wanted;
  };
  compare(call.run(scene), expected.outcome);
  compare(Difference(before, scene.Look()), expected.left);
  if (first) wrong += "\n  no request was taken";
  compare(scene.Recover(), "");
  compare(scene.End(), "");
  return wrong;
}

}  // namespace orvo::testing
