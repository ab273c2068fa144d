// What a type library offers, read from its text (tests/typelib): which members an object has and with how many
// arguments each can be called.
#pragma once

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace orvo {

struct LibraryMember {
  bool method = false;
  bool get = false;
  bool put = false;
  int least = 0;       // arguments of the method, without the optional ones
  int most = 0;        // with them
  std::string result;  // interface of what comes back; "" when it is no object
};

struct LibraryEvent {
  int id = 0;
  int arguments = 0;
};

class LibraryModel {
 public:
  // Throws std::runtime_error when the text names no class.
  static LibraryModel Read(std::istream& text);

  // The interface of a class; "" when there is no such class.
  std::string InterfaceOf(const std::string& className) const;
  const LibraryMember* Member(const std::string& interfaceName, const std::string& name) const;
  // An event of the class that has this interface; of any class when `interfaceName` is "".
  const LibraryEvent* Event(const std::string& interfaceName, const std::string& name) const;
  const std::string& Guid(const std::string& typeName) const { return guids_.at(typeName); }
  std::string EventInterface(const std::string& interfaceName) const;
  const std::string& Name() const { return name_; }

 private:
  struct Class {
    std::string name;
    std::string face;
    std::string events;
  };

  std::string name_;
  std::vector<Class> classes_;
  std::map<std::string, std::map<std::string, LibraryMember>> members_;
  std::map<std::string, std::map<std::string, LibraryEvent>> events_;
  std::map<std::string, std::string> guids_;
};

}  // namespace orvo
