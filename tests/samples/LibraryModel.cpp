#include "LibraryModel.h"

#include <istream>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace orvo {
namespace {

struct Arguments {
  int least = 0;
  int most = 0;
  std::string result;
};

// Of "[in] BSTR* ItemId, [in, optional] VARIANT ItemName, [out, retval] _KELDataItem** Result".
Arguments ReadArguments(const std::string& text) {
  static const std::regex argument(R"(\[([a-z, ]+)\] (unsigned char|[A-Za-z_]+(?:\([a-zA-Z ]+\))?))");
  Arguments result;
  for (std::sregex_iterator found(text.begin(), text.end(), argument), end; found != end; ++found) {
    const std::string flags = (*found)[1];
    if (flags.find("retval") != std::string::npos) {
      result.result = (*found)[2];
    } else {
      ++result.most;
      if (flags.find("optional") == std::string::npos) ++result.least;
    }
  }
  return result;
}

}  // namespace

LibraryModel LibraryModel::Read(std::istream& text) {
  static const std::regex member(
      R"(  (?:\d+ )?(method|propget|propput|propputref) (\w+) id (-?\d+) \((.*)\)[^)]*)");
  LibraryModel model;
  std::string kind;
  std::string type;
  std::string line;
  std::smatch part;
  while (std::getline(text, line)) {
    // A helpstring may hold anything.
    const std::string bare = line.substr(0, line.find('"'));
    std::istringstream words(bare);
    std::string first;
    std::string second;
    words >> first >> second;
    if (bare.rfind("library ", 0) == 0) {
      model.name_ = second;
    } else if (!bare.empty() && bare[0] != ' ') {
      kind = first;
      type = second;
      if (kind == "coclass") model.classes_.push_back({type, "", ""});
    } else if (first == "guid") {
      model.guids_[type] = second;
    } else if (first == "implements") {
      std::string flags;
      std::getline(words, flags);
      if (flags.find("source") != std::string::npos)
        model.classes_.back().events = second;
      else if (flags.find("default") != std::string::npos)
        model.classes_.back().face = second;
    } else if (std::regex_match(bare, part, member)) {
      const Arguments arguments = ReadArguments(part[4]);
      if (kind == "dispinterface") {
        model.events_[type][part[2]] = {std::stoi(part[3]), arguments.most};
        continue;
      }
      LibraryMember& entry = model.members_[type][part[2]];
      if (part[1] == "method")
        entry.method = true;
      else if (part[1] == "propget")
        entry.get = true;
      else
        entry.put = true;
      if (part[1] == "method") {
        entry.least = arguments.least;
        entry.most = arguments.most;
      }
      if (!arguments.result.empty()) entry.result = arguments.result;
    }
  }
  if (model.classes_.empty()) throw std::runtime_error("the text of the type library names no class");
  // Results that are no objects: what is not an interface of this library.
  for (auto& [owner, entries] : model.members_)
    for (auto& [name, entry] : entries)
      if (!model.members_.contains(entry.result)) entry.result.clear();
  return model;
}

std::string LibraryModel::InterfaceOf(const std::string& className) const {
  for (const Class& entry : classes_)
    if (entry.name == className) return entry.face;
  return {};
}

std::string LibraryModel::EventInterface(const std::string& interfaceName) const {
  for (const Class& entry : classes_)
    if (entry.face == interfaceName) return entry.events;
  return {};
}

const LibraryMember* LibraryModel::Member(const std::string& interfaceName, const std::string& name) const {
  const auto type = members_.find(interfaceName);
  if (type == members_.end()) return nullptr;
  const auto found = type->second.find(name);
  return found == type->second.end() ? nullptr : &found->second;
}

const LibraryEvent* LibraryModel::Event(const std::string& interfaceName, const std::string& name) const {
  const std::string wanted = interfaceName.empty() ? "" : EventInterface(interfaceName);
  for (const auto& [type, entries] : events_) {
    if (!interfaceName.empty() && type != wanted) continue;
    if (const auto found = entries.find(name); found != entries.end()) return &found->second;
  }
  return nullptr;
}

}  // namespace orvo
