// Drivers of other programs are COM classes on Windows; the client knows those that are built into it.

#include "DriverSources.h"

namespace orvo::client {

struct DriverSources::Libraries {};

DriverSources::DriverSources() : libraries_(std::make_unique<Libraries>()) {}
DriverSources::~DriverSources() = default;

void DriverSources::PlugInto(DriverRegistry& /*registry*/) const {}

std::vector<FoundDriver> DriverSources::List() const {
  return {};
}

std::string DriverSources::Note() const {
  return "On Windows the client has its built-in drivers only.";
}

}  // namespace orvo::client
