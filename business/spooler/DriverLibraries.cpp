#include "spooler/DriverLibraries.h"

#include "errors/AutomationError.h"
#include "spooler/DriverLibrary.h"
#include "values/Text.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iterator>
#include <map>
#include <utility>

namespace orvo {

namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& reason) {
  RaiseRuntimeError(RuntimeError::CannotCreateObject, "the library '" + path + "' " + reason);
}

// A list has no use for the sentence that every error 429 begins with.
std::string ReasonOf(const AutomationError& error) {
  const std::string usual = std::string(RuntimeErrorText(RuntimeError::CannotCreateObject)) + ": ";
  const std::string& text = error.Description();
  return text.starts_with(usual) ? text.substr(usual.size()) : text;
}

std::string TextOf(const char* text) {
  return text == nullptr ? "" : text;
}

const DriverLibraryFacts* FactsOf(const std::string& path, DriverLibraryEntry entry) {
  try {
    return entry();
  } catch (const std::exception& error) {
    Refuse(path, std::string("gives no facts: ") + DriverLibraryFunction + " failed: " + error.what());
  } catch (...) {
    Refuse(path,
           std::string("gives no facts: ") + DriverLibraryFunction + " threw something that is no exception");
  }
}

}  // namespace

std::vector<std::string> DriverLibraries::SearchPath(const char* variable,
                                                     const std::vector<std::string>& installed) {
  std::vector<std::string> folders;
  std::string_view rest = variable == nullptr ? "" : variable;
  while (!rest.empty()) {
    const std::size_t end = rest.find(':');
    // An empty entry is a slip, not the current folder: whoever may write there would decide what runs here.
    if (end != 0) folders.emplace_back(rest.substr(0, end));
    rest = end == std::string_view::npos ? "" : rest.substr(end + 1);
  }
  std::copy_if(installed.begin(), installed.end(), std::back_inserter(folders),
               [](const std::string& folder) { return !folder.empty(); });
  return folders;
}

DriverLibraries::DriverLibraries(LibraryLoader& loader, std::vector<std::string> folders)
    : loader_(loader), folders_(std::move(folders)) {}

std::vector<DriverLibraries::Place> DriverLibraries::PlacesIn(const std::string& folder) const {
  std::vector<Place> places;
  for (const std::string& file : loader_.LibrariesIn(folder)) {
    const std::string name = file.substr(0, file.size() - loader_.Ending().size());
    std::string path = folder.ends_with('/') ? folder : folder + '/';
    places.push_back({name, path.append(file)});
  }
  return places;
}

const DriverLibraryFacts& DriverLibraries::Open(const Place& place) const {
  const auto function = loader_.Load(place.path).Find(DriverLibraryFunction);
  if (function == nullptr)
    Refuse(place.path, std::string("is no driver: it exports no ") + DriverLibraryFunction);
  const DriverLibraryFacts* const facts = FactsOf(place.path, reinterpret_cast<DriverLibraryEntry>(function));
  if (facts == nullptr)
    Refuse(place.path, std::string("gives no facts: ") + DriverLibraryFunction + " is null");
  if (facts->magic != DriverLibraryFacts::Magic)
    Refuse(place.path,
           std::string("is no driver: what ") + DriverLibraryFunction + " gives does not begin as it must");
  if (facts->contractVersion != DriverContractVersion)
    Refuse(place.path, "was made for version " + std::to_string(facts->contractVersion) +
                           " of the driver contract, this program for version " +
                           std::to_string(DriverContractVersion) + ": build it against this version");
  if (const std::string build = TextOf(facts->build); build != DriverBuildText)
    Refuse(place.path,
           "was built with " + build + ", this program with " + DriverBuildText + ": build both alike");
  if (facts->size != sizeof(DriverLibraryFacts))
    Refuse(place.path, "gives facts of " + std::to_string(facts->size) + " bytes instead of " +
                           std::to_string(sizeof(DriverLibraryFacts)));
  if (const std::string inside = TextOf(facts->progId); FoldCase(inside) != FoldCase(place.name))
    Refuse(place.path, "holds the driver '" + inside + "': name it '" + inside + loader_.Ending() + "'");
  if (facts->make == nullptr) Refuse(place.path, "has no factory");
  return *facts;
}

std::vector<DriverLibraries::Found> DriverLibraries::List() const {
  std::vector<Found> found;
  std::map<std::string, std::string> taken;  // path by folded name
  for (const std::string& folder : folders_) {
    for (const Place& place : PlacesIn(folder)) {
      Found& library = found.emplace_back(Found{place.name, "", place.path, "", ""});
      const auto [first, isFirst] = taken.emplace(FoldCase(place.name), place.path);
      if (!isFirst) {
        library.shadowed = first->second;
        continue;
      }
      try {
        const DriverLibraryFacts& facts = Open(place);
        library.progId = facts.progId;
        library.description = TextOf(facts.description);
      } catch (const AutomationError& error) {
        library.refusal = ReasonOf(error);
      }
    }
  }
  return found;
}

std::shared_ptr<CommunicationDriver> DriverLibraries::Create(const std::string& ProgId, DriverHost host) const {
  const std::string wanted = FoldCase(ProgId);
  for (const std::string& folder : folders_) {
    for (const Place& place : PlacesIn(folder)) {
      if (FoldCase(place.name) != wanted) continue;
      const DriverLibraryFacts& facts = Open(place);
      std::shared_ptr<CommunicationDriver> driver;
      try {
        driver = facts.make(host);
      } catch (const AutomationError&) {
        throw;
      } catch (const std::exception& error) {
        RaiseRuntimeError(RuntimeError::AutomationFailure,
                          "the factory of the library '" + place.path + "' failed: " + error.what());
      } catch (...) {
        RaiseRuntimeError(RuntimeError::AutomationFailure, "the factory of the library '" + place.path +
                                                               "' threw something that is no exception");
      }
      if (!driver) Refuse(place.path, "made no driver");
      return driver;
    }
  }
  return nullptr;
}

void DriverLibraries::PlugInto(DriverRegistry& registry) const {
  registry.SetFallback([this](const std::string& ProgId, DriverHost host) {
    std::shared_ptr<CommunicationDriver> driver = Create(ProgId, host);
    if (driver || folders_.empty()) return driver;
    std::string text = "no driver is registered as '" + ProgId + "', and no library '" + ProgId +
                       loader_.Ending() + "' is in ";
    for (std::size_t k = 0; k < folders_.size(); ++k)
      text += (k == 0 ? "'" : k + 1 == folders_.size() ? " or '" : ", '") + folders_[k] + "'";
    RaiseRuntimeError(RuntimeError::CannotCreateObject, text);
  });
}

}  // namespace orvo
