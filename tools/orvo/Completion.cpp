#include "Completion.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string_view>
#include <vector>

namespace orvo::client {

namespace {

// What an option or argument takes.
struct Word {
  std::vector<std::string> names;  // of an option; empty for an argument
  std::string description;
  std::vector<std::string> values;  // when there is a list of them
  bool takesValue = false;
  bool takesFile = false;
};

// One command; its path is "" for the program, " config check" for a command in a command.
struct Node {
  std::string path;
  std::string description;
  std::vector<std::string> commands;
  std::vector<Word> options;
  std::vector<Word> arguments;
};

// "FORMAT:{table,csv,json}" has a list.
std::vector<std::string> ListedValues(const std::string& type) {
  const std::size_t begin = type.find('{');
  const std::size_t end = type.find('}');
  std::vector<std::string> values;
  if (begin == std::string::npos || end == std::string::npos) return values;
  std::istringstream list(type.substr(begin + 1, end - begin - 1));
  for (std::string value; std::getline(list, value, ',');)
    values.push_back(value);
  return values;
}

Word WordOf(const CLI::Option& option) {
  Word word;
  for (const std::string& name : option.get_snames())
    word.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames())
    word.names.push_back("--" + name);
  word.description = option.get_description();
  const std::string type = option.get_type_name();
  word.values = ListedValues(type);
  word.takesValue = option.get_items_expected_max() > 0;
  word.takesFile = type.rfind("FILE", 0) == 0;
  return word;
}

void AddNodes(const CLI::App& app, const std::string& path, std::vector<Node>& nodes) {
  Node node{path, app.get_description(), {}, {}, {}};
  const auto commands = app.get_subcommands([](const CLI::App* /*command*/) { return true; });
  for (const CLI::App* command : commands)
    node.commands.push_back(command->get_name());
  for (const CLI::Option* option : app.get_options())
    (option->get_positional() ? node.arguments : node.options).push_back(WordOf(*option));
  nodes.push_back(std::move(node));
  for (const CLI::App* command : commands)
    AddNodes(*command, path + " " + command->get_name(), nodes);
}

std::string Joined(const std::vector<std::string>& texts, std::string_view separator = " ") {
  std::string joined;
  for (const std::string& text : texts)
    joined.append(joined.empty() ? "" : separator).append(text);
  return joined;
}

// In single quotation marks for the shells.
std::string Quoted(std::string_view text, std::string_view mark) {
  std::string quoted = "'";
  for (const char character : text)
    character == '\'' ? quoted.append(mark) : quoted.append(1, character);
  return quoted + "'";
}

std::vector<std::string> Candidates(const Node& node) {
  std::vector<std::string> words = node.commands;
  for (const Word& argument : node.arguments)
    words.insert(words.end(), argument.values.begin(), argument.values.end());
  for (const Word& option : node.options)
    words.insert(words.end(), option.names.begin(), option.names.end());
  return words;
}

bool TakesFile(const Node& node) {
  return std::any_of(node.arguments.begin(), node.arguments.end(),
                     [](const Word& argument) { return argument.takesFile; });
}

// The part that bash and zsh have in common: which command the line is in, and what its option wants.
void PrintCases(const std::vector<Node>& nodes, std::ostream& out) {
  out << "  for word in \"${words_before[@]}\"; do\n    case \"$at $word\" in\n      ";
  std::vector<std::string> paths;
  for (const Node& node : nodes)
    if (!node.path.empty()) paths.push_back('"' + node.path + '"');
  out << Joined(paths, " | ") << ") at=\"$at $word\" ;;\n    esac\n  done\n  case \"$at $previous\" in\n";
  for (const Node& node : nodes) {
    for (const Word& option : node.options) {
      if (!option.takesValue) continue;
      std::vector<std::string> patterns;
      for (const std::string& name : option.names)
        patterns.push_back('"' + node.path + " " + name + '"');
      out << "    " << Joined(patterns, " | ") << ") candidates=\"" << Joined(option.values)
          << "\"; files=" << (option.takesFile ? 1 : 0) << "; return ;;\n";
    }
  }
  out << "  esac\n  case \"$at\" in\n";
  for (const Node& node : nodes)
    out << "    \"" << node.path << "\") candidates=\"" << Joined(Candidates(node))
        << "\"; files=" << (TakesFile(node) ? 1 : 0) << " ;;\n";
  out << "  esac\n";
}

std::string Bash(const std::vector<Node>& nodes) {
  std::ostringstream out;
  out << "# bash completion of orvo\n"
         "_orvo_candidates() {\n"
         "  local word at=\"\"\n";
  PrintCases(nodes, out);
  out << "}\n"
         "_orvo() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
         "  local candidates=\"\" files=0\n"
         "  local -a words_before=(\"${COMP_WORDS[@]:1:COMP_CWORD-1}\")\n"
         "  _orvo_candidates\n"
         "  mapfile -t COMPREPLY < <(compgen -W \"$candidates\" -- \"$current\")\n"
         "  if [ \"$files\" = 1 ] && [[ $current != -* ]]; then\n"
         "    compopt -o filenames\n"
         "    mapfile -t -O \"${#COMPREPLY[@]}\" COMPREPLY < <(compgen -f -- \"$current\")\n"
         "  fi\n"
         "}\n"
         "complete -F _orvo orvo\n";
  return out.str();
}

std::string Zsh(const std::vector<Node>& nodes) {
  std::ostringstream out;
  out << "#compdef orvo\n"
         "_orvo_candidates() {\n"
         "  local word at=\"\"\n";
  PrintCases(nodes, out);
  out << "}\n"
         "_orvo() {\n"
         "  local previous=${words[CURRENT-1]} candidates=\"\" files=0\n"
         "  local -a words_before=(\"${(@)words[2,CURRENT-1]}\")\n"
         "  _orvo_candidates\n"
         "  [[ -z $candidates ]] || compadd -- ${=candidates}\n"
         "  [[ $files = 0 ]] || _files\n"
         "}\n"
         "if [ \"$funcstack[1]\" = _orvo ]; then\n"
         "  _orvo \"$@\"\n"
         "else\n"
         "  compdef _orvo orvo\n"
         "fi\n";
  return out.str();
}

std::string QuotedForFish(std::string_view text) {
  return Quoted(text, "\\'");
}

// The rest of a line that offers the word: an option with its value, or what an argument takes.
std::string FishWord(const Word& word) {
  std::string text;
  for (const std::string& name : word.names)
    text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  const bool isOption = !word.names.empty();
  if (word.takesFile)
    text += isOption ? " -r -F" : " -F";
  else if (isOption && word.takesValue)
    text += " -x";
  if (!word.values.empty()) text += " -a " + QuotedForFish(Joined(word.values));
  if (isOption) text += " -d " + QuotedForFish(word.description);
  return text;
}

void PrintFishNode(const Node& node, std::ostream& out) {
  const std::string at = "complete -c orvo -n " + QuotedForFish("__orvo_at \"" + node.path + "\"");
  for (const Word& option : node.options)
    out << at << FishWord(option) << '\n';
  for (const Word& argument : node.arguments)
    if (argument.takesFile || !argument.values.empty()) out << at << FishWord(argument) << '\n';
  if (node.path.empty()) return;
  // The command itself is offered where its parent stands.
  const std::size_t blank = node.path.rfind(' ');
  out << "complete -c orvo -n " << QuotedForFish("__orvo_at \"" + node.path.substr(0, blank) + "\"") << " -a "
      << node.path.substr(blank + 1) << " -d " << QuotedForFish(node.description) << '\n';
}

std::string Fish(const std::vector<Node>& nodes) {
  std::vector<std::string> paths;
  for (const Node& node : nodes)
    if (!node.path.empty()) paths.push_back(QuotedForFish(node.path));
  std::ostringstream out;
  out << "# fish completion of orvo\n"
         "function __orvo_at\n"
         "  set -l at ''\n"
         "  for word in (commandline -opc)[2..-1]\n"
         "    if contains -- \"$at $word\" "
      << Joined(paths)
      << "\n"
         "      set at \"$at $word\"\n"
         "    end\n"
         "  end\n"
         "  test \"$at\" = \"$argv[1]\"\n"
         "end\n"
         "complete -c orvo -f\n";
  for (const Node& node : nodes)
    PrintFishNode(node, out);
  return out.str();
}

}  // namespace

std::string CompletionScript(const CLI::App& app, const std::string& shell) {
  std::vector<Node> nodes;
  AddNodes(app, "", nodes);
  if (shell == "zsh") return Zsh(nodes);
  return shell == "fish" ? Fish(nodes) : Bash(nodes);
}

}  // namespace orvo::client
