#include "SampleChecker.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <regex>
#include <string_view>

namespace orvo {
namespace {

// What each sample shows.
constexpr std::array<std::string_view, 15> Round{
    "_KELDataServer.SetDriverConfigurationFile",
    "_KELDataServer.DeviceType",
    "_KELDataServer.KELDataGroups",
    "_KELDataServer.OpenCommunication",
    "_KELDataServer.ServerStatus",
    "_KELDataServer.CloseCommunication",
    "_KELDataGroups.Add",
    "_KELDataItems.Add",
    "_KELDataGroup.SyncRead",
    "_KELDataGroup.SyncWrite",
    "_KELDataGroup.AsyncWrite",
    "_KELDataGroup.Subscribed",
    "_KELDataGroup.UpdateRate",
    "_KELDataGroup.Active",
    "event DataChange",
};

std::string Lower(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

void SampleChecker::Offence(std::size_t at, const std::string& text) {
  offences_.push_back(file_ + ':' + std::to_string(At(at).line) + ": " + text);
}

const SampleToken& SampleChecker::At(std::size_t at) const {
  return tokens_[std::min(at, tokens_.size() - 1)];
}

std::string SampleChecker::TypeOf(const std::string& variable) const {
  const bool exact = language_ == SampleLanguage::CSharp || language_ == SampleLanguage::Python;
  const auto found = types_.find(exact ? variable : Lower(variable));
  return found == types_.end() ? "" : found->second;
}

void SampleChecker::Remember(const std::string& variable, const std::string& type) {
  const bool exact = language_ == SampleLanguage::CSharp || language_ == SampleLanguage::Python;
  types_[exact ? variable : Lower(variable)] = type;
}

bool SampleChecker::StartsStatement(std::size_t at) const {
  if (at == 0) return true;
  const SampleToken& before = tokens_[at - 1];
  return before.IsEnd() || before.IsName("Then") || before.IsName("Else") || before.Is(":");
}

// "server As [New] ORVOBusiness.KELDataServer" and "KELDataServer server".
void SampleChecker::ReadDeclaration(std::size_t at) {
  if (At(at).kind != Kind::Name) return;
  if (language_ == SampleLanguage::CSharp) {
    const std::string type = model_.InterfaceOf(At(at).text);
    if (!type.empty() && At(at + 1).kind == Kind::Name) Remember(At(at + 1).text, type);
  } else if (language_ == SampleLanguage::Basic && At(at + 1).IsName("As")) {
    std::size_t type = at + 2;
    if (At(type).IsName("New")) ++type;
    if (!At(type).IsName(model_.Name())) return;
    if (const std::string face = model_.InterfaceOf(At(type + 2).text); !face.empty())
      Remember(At(at).text, face);
    else
      Offence(at, "there is no class " + At(type + 2).text);
  }
}

// "server = ... ORVOBusiness.KELDataServer ..." in any form, on one line.
void SampleChecker::ReadCreation(std::size_t at) {
  if (At(at).kind != Kind::Name || !At(at + 1).Is("=")) return;
  for (std::size_t k = at + 2; k < tokens_.size() && tokens_[k].line == At(at).line; ++k) {
    std::string name;
    if (tokens_[k].kind == Kind::Text && tokens_[k].text.rfind(model_.Name() + '.', 0) == 0)
      name = tokens_[k].text.substr(model_.Name().size() + 1);
    else if (tokens_[k].IsName(model_.Name()) && At(k + 1).Is("."))
      name = At(k + 2).text;
    if (name.empty()) continue;
    const std::string type = model_.InterfaceOf(name);
    if (type.empty())
      Offence(k, "there is no class " + name);
    else
      Remember(At(at).text, type);
  }
}

// The arguments between the bracket at `open` and its end, by the commas between them.
int SampleChecker::CountArguments(std::size_t open, std::size_t* end) const {
  int depth = 0;
  int count = 0;
  bool any = false;
  for (std::size_t k = open; k < tokens_.size(); ++k) {
    const SampleToken& token = tokens_[k];
    if (token.Is("(") || token.Is("[") || token.Is("{")) {
      any = any || depth > 0;
      ++depth;
    } else if (token.Is(")") || token.Is("]") || token.Is("}")) {
      if (--depth == 0) {
        *end = k + 1;
        return any ? count + 1 : 0;
      }
    } else if (!token.IsEnd()) {
      any = true;
      if (depth == 1 && token.Is(",")) ++count;
    }
  }
  *end = tokens_.size();
  return count;
}

// The arguments of a statement of Basic: to the end of the line, without brackets.
int SampleChecker::CountBareArguments(std::size_t at, std::size_t* end) const {
  int depth = 0;
  int count = 0;
  std::size_t k = at;
  for (; !At(k).IsEnd() && !At(k).IsName("Else"); ++k) {
    if (At(k).Is("(")) ++depth;
    if (At(k).Is(")")) --depth;
    if (depth == 0 && At(k).Is(",")) ++count;
  }
  *end = k;
  return k == at ? 0 : count + 1;
}

void SampleChecker::CheckCall(const LibraryMember& member, const std::string& name, std::size_t at,
                              int arguments) {
  if (arguments >= member.least && arguments <= member.most) return;
  Offence(at, name + " is called with " + std::to_string(arguments) + " arguments; it takes " +
                  std::to_string(member.least) +
                  (member.least == member.most ? "" : " to " + std::to_string(member.most)));
}

// One member behind a dot. `end` is moved behind it and its arguments; the result is the type of what it
// yields.
std::string SampleChecker::CheckMember(const std::string& type, std::size_t name, std::size_t* end,
                                       bool statement) {
  const std::string full = type.substr(1) + '.' + At(name).text;
  const LibraryMember* member = model_.Member(type, At(name).text);
  *end = name + 1;
  ++calls_;
  if (member == nullptr) {
    if (language_ == SampleLanguage::CSharp && (At(name + 1).Is("+=") || At(name + 1).Is("-=")))
      CheckSubscription(type, name);
    else
      Offence(name, "there is no member " + full);
    return {};
  }
  used_.insert(type + '.' + At(name).text);
  if (member->method) {
    int arguments = 0;
    if (At(name + 1).Is("(")) {
      arguments = CountArguments(name + 1, end);
    } else if (language_ != SampleLanguage::Basic) {
      Offence(name, full + " is a method: it is called with brackets");
      return member->result;
    } else if (statement) {
      arguments = CountBareArguments(name + 1, end);
    }
    CheckCall(*member, full, name, arguments);
    return member->result;
  }
  if (At(name + 1).Is("(")) Offence(name, full + " is a property: it takes no arguments");
  const bool put = At(name + 1).Is("=") && (statement || language_ != SampleLanguage::Basic);
  if (put && !member->put) Offence(name, full + " cannot be set");
  if (!put && !member->get) Offence(name, full + " cannot be read");
  return member->result;
}

// A variable of ours, and the members behind it.
SampleChecker::Step SampleChecker::FollowChain(std::size_t at) {
  Step step{TypeOf(At(at).text), at + 1};
  const bool statement = StartsStatement(at);
  while (!step.type.empty() && At(step.end).Is(".") && At(step.end + 1).kind == Kind::Name)
    step.type = CheckMember(step.type, step.end + 1, &step.end, statement);
  return step;
}

void SampleChecker::CheckEvent(const std::string& type, std::size_t at, const std::string& event,
                               int parameters) {
  ++calls_;
  const LibraryEvent* found = model_.Event(type, event);
  if (found == nullptr) {
    Offence(at, "there is no event " + event);
  } else if (found->arguments != parameters) {
    Offence(at, "the event " + event + " has " + std::to_string(found->arguments) + " arguments, not " +
                    std::to_string(parameters));
  } else {
    used_.insert("event " + event);
  }
}

// "group.DataChange += OnDataChange;" with "void OnDataChange(...)" somewhere in the file.
void SampleChecker::CheckSubscription(const std::string& type, std::size_t name) {
  for (std::size_t k = 0; k + 2 < tokens_.size(); ++k) {
    if (!tokens_[k].IsName("void") || !tokens_[k + 1].IsName(At(name + 2).text) || !tokens_[k + 2].Is("("))
      continue;
    std::size_t end = 0;
    CheckEvent(type, name, At(name).text, CountArguments(k + 2, &end));
    return;
  }
  Offence(name, "there is no method " + At(name + 2).text + " for the event");
}

// "Sub mGroup_DataChange(...)" and "def OnDataChange(self, ...)".
void SampleChecker::ReadHandler(std::size_t at) {
  const std::string& name = At(at + 1).text;
  std::size_t end = 0;
  if (language_ == SampleLanguage::Basic && At(at).IsName("Sub")) {
    const std::size_t line = name.find('_');
    if (line == std::string::npos || TypeOf(name.substr(0, line)).empty()) return;
    CheckEvent(TypeOf(name.substr(0, line)), at, name.substr(line + 1), CountArguments(at + 2, &end));
  } else if (language_ == SampleLanguage::Python && At(at).IsName("def") && name.size() > 2 &&
             name.rfind("On", 0) == 0) {
    CheckEvent("", at, name.substr(2), CountArguments(at + 2, &end) - 1);
  }
}

// A class in a text, with the identifiers of events written out: "[DispId(1)] void DataChange(object handles,
// ...)".
void SampleChecker::ReadSink(const SampleToken& text) {
  static const std::regex guid(R"(Guid\("([-0-9a-fA-F]+)\"\))");
  static const std::regex handler(R"(\[DispId\((\d+)\)\] void (\w+)\(([^)]*)\))");
  const std::size_t at = static_cast<std::size_t>(&text - tokens_.data());
  std::smatch part;
  if (!std::regex_search(text.text, part, guid)) return;
  const std::string expected = model_.Guid(model_.EventInterface("_KELDataGroup"));
  if (Lower('{' + part[1].str() + '}') != Lower(expected))
    Offence(at, "the group's events have the identifier " + expected);
  for (std::sregex_iterator found(text.text.begin(), text.text.end(), handler), end; found != end; ++found) {
    const std::string list = (*found)[3];
    const int parameters = list.empty() ? 0 : static_cast<int>(std::count(list.begin(), list.end(), ',')) + 1;
    CheckEvent("_KELDataGroup", at, (*found)[2], parameters);
    const LibraryEvent* event = model_.Event("_KELDataGroup", (*found)[2]);
    if (event != nullptr && std::to_string(event->id) != (*found)[1].str())
      Offence(at, "the event " + (*found)[2].str() + " has the identifier " + std::to_string(event->id));
  }
}

void SampleChecker::Check(const std::string& file, const std::string& program, SampleLanguage language) {
  file_ = file;
  language_ = language;
  tokens_ = SampleTokens(program, language);
  types_.clear();
  for (std::size_t at = 0; at < tokens_.size(); ++at) {
    ReadDeclaration(at);
    ReadCreation(at);
    ReadHandler(at);
    if (tokens_[at].kind == Kind::Text) ReadSink(tokens_[at]);
    const bool member = at > 0 && tokens_[at - 1].Is(".");
    if (tokens_[at].kind != Kind::Name || member || TypeOf(tokens_[at].text).empty()) continue;
    const Step step = FollowChain(at);
    if (at >= 2 && tokens_[at - 1].Is("=") && tokens_[at - 2].kind == Kind::Name && !step.type.empty() &&
        !(at >= 3 && tokens_[at - 3].Is(".")))
      Remember(tokens_[at - 2].text, step.type);
  }
}

void SampleChecker::CheckRound() {
  for (const std::string_view part : Round)
    if (!used_.contains(std::string(part)))
      offences_.push_back(file_ + ": the sample does not show " + std::string(part));
}

}  // namespace orvo
