// Completion scripts for shells, made from the tree of commands itself.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace orvo::client {

// `shell`: "bash", "zsh" or "fish". Commands, options, the values of options that have a list of them, and file
// names where a FILE is wanted.
std::string CompletionScript(const CLI::App& app, const std::string& shell);

}  // namespace orvo::client
