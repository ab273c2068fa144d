#include "server/ConfigurationCheck.h"

#include "errors/modIDataErrors.h"
#include "server/IniFile.h"
#include "server/SavedConfiguration.h"

#include <algorithm>
#include <set>
#include <string>

namespace orvo {

namespace {

class Check {
 public:
  explicit Check(std::string_view text)
      : file_(IniFile::Parse(text, [this](std::size_t line, std::string_view passedOver) {
          Report(line,
                 "'" + std::string(passedOver) + "' is neither a section, nor key=value of one, nor a comment");
        })) {}

  std::vector<ConfigurationProblem> Run() {
    for (const IniFile::SectionPlace& section : file_.Sections()) {
      if (section.name == saved::CommunicationSection)
        CheckParameters();
      else if (section.name == saved::GroupsSection)
        CheckFields(section.name, saved::GroupFields);
      else if (IsOfGroup(section.name))
        CheckFields(section.name, saved::ItemFields);
      else
        Report(section.line,
               "section '" + section.name + "' is not read: " +
                   (section.name.starts_with(saved::GroupSectionPrefix) ? "section 'Groups' has no such group"
                                                                        : "no section has this name"));
    }
    std::stable_sort(problems_.begin(), problems_.end(),
                     [](const auto& left, const auto& right) { return left.line < right.line; });
    return std::move(problems_);
  }

 private:
  void Report(std::size_t line, const std::string& detail) {
    problems_.push_back(
        {line, errInvalidFileFormat, std::string(FindDataError(errInvalidFileFormat)->prefix) + detail});
  }

  bool IsOfGroup(std::string_view section) const {
    const std::string_view prefix = saved::GroupSectionPrefix;
    return section.starts_with(prefix) &&
           file_.Find(saved::GroupsSection, section.substr(prefix.size())) != nullptr;
  }

  void CheckParameters() {
    std::set<std::string> seen;
    for (const IniFile::Entry& entry : file_.Entries(saved::CommunicationSection)) {
      if (std::find(saved::ParameterKeys.begin(), saved::ParameterKeys.end(), entry.key) ==
          saved::ParameterKeys.end())
        Report(entry.line, "key '" + entry.key + "' is not read: no parameter has this name");
      else if (!seen.insert(entry.key).second)
        Report(entry.line, "key '" + entry.key + "' is not read: it comes again, the first one counts");
    }
  }

  void CheckFields(const std::string& section, std::size_t known) {
    for (const IniFile::Entry& entry : file_.Entries(section)) {
      // The last separator ends the last field.
      std::string_view value = entry.value;
      if (value.ends_with(saved::FieldEnd)) value.remove_suffix(1);
      const auto fields = static_cast<std::size_t>(std::count(value.begin(), value.end(), saved::FieldEnd)) + 1;
      if (known == saved::ItemFields && value.ends_with("#True#True"))
        Report(entry.line, "key '" + entry.key + "': Signed and BCD are both True; BCD counts");
      if (fields > known)
        Report(entry.line,
               "key '" + entry.key + "': field " + std::to_string(known + 1) + " and what follows is not read");
    }
  }

  std::vector<ConfigurationProblem> problems_;
  const IniFile file_;
};

}  // namespace

std::vector<ConfigurationProblem> UnreadParts(std::string_view text) {
  return Check(text).Run();
}

}  // namespace orvo
