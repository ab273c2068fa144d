// Checks the files of one sample against the type library:  sample_check LIBRARY_TEXT FILE...
// Exit code 0: nothing wrong, 1: offences (one per line), 2: nothing could be checked.

#include "SampleChecker.h"

#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>

namespace {

std::optional<orvo::SampleLanguage> LanguageOf(const std::string& file) {
  using orvo::SampleLanguage;
  const std::string extension = file.substr(std::min(file.rfind('.'), file.size()));
  if (extension == ".bas" || extension == ".cls") return SampleLanguage::Basic;
  if (extension == ".cs") return SampleLanguage::CSharp;
  if (extension == ".ps1") return SampleLanguage::PowerShell;
  if (extension == ".py") return SampleLanguage::Python;
  return std::nullopt;
}

int Run(int count, char** arguments) {
  if (count < 3) {
    std::cerr << "usage: sample_check LIBRARY_TEXT FILE...\n";
    return 2;
  }
  std::ifstream library(arguments[1]);
  const orvo::LibraryModel model = orvo::LibraryModel::Read(library);
  orvo::SampleChecker checker(model);
  for (int k = 2; k < count; ++k) {
    const std::string file = arguments[k];
    const auto language = LanguageOf(file);
    std::ifstream stream(file);
    const std::string program((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (!language || program.empty()) {
      std::cerr << "error: " << file << " is empty, or in no language that is known here\n";
      return 2;
    }
    checker.Check(file, program, *language);
  }
  checker.CheckRound();
  for (const std::string& offence : checker.Offences())
    std::cout << offence << '\n';
  if (!checker.Offences().empty()) return 1;
  std::cout << "well: " << checker.Calls() << " calls\n";
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  try {
    return Run(count, arguments);
  } catch (const std::exception& failure) {
    std::cerr << "error: " << failure.what() << '\n';
    return 2;
  }
}
