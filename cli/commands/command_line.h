// A command line as the tree of commands reads it. This goes before the library that binds
// arguments to variables, so that every mistake is reported in words of this program and completion
// knows what may come next.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <vector>

namespace orv::cli {

// The commands below this one, without those that only scripts use.
std::vector<const CLI::App*> CommandsBelow(const CLI::App& command);
// Those below it that have none below them.
std::vector<const CLI::App*> LeavesBelow(const CLI::App& command);
// The command's words without the program's name: "dsp intel push"; empty for the program itself.
std::string PathOf(const CLI::App& command);
// The command and those above it, the program first.
std::vector<const CLI::App*> ChainOf(const CLI::App& command);
bool IsArgument(const CLI::Option& option);  // takes its value by position
bool IsFlag(const CLI::Option& option);      // takes no value
// The word for the value in usage lines, which decides its completion: "ENDPOINT", "on|off".
std::string ValueWord(const CLI::Option& option);

struct CommandReading {
  const CLI::App* command = nullptr;  // the deepest one that the words name
  // A flag has an empty one for each time.
  std::map<const CLI::Option*, std::vector<std::string>> values;
  const CLI::Option* open = nullptr;  // the last word is this option, which needs a value
  bool only_arguments = false;        // after "--"
  std::string fault;                  // the first mistake; empty if there is none

  bool Has(const CLI::Option& option) const { return values.contains(&option); }
  bool Has(const std::string& name) const;  // an option of the program
  // The argument that the next word without dashes is for; null if there is none.
  const CLI::Option* NextArgument() const;
};

// Reads the words after the program's name. What is still missing at the end is not a mistake yet.
CommandReading ReadCommandLine(const CLI::App& root, const std::vector<std::string>& words);
// What is missing at the end, or excludes one another; empty if nothing is.
std::string FindMissing(const CommandReading& reading);

// The words as the library takes them: each command's options and arguments come right after its
// name, wherever they were typed.
std::vector<std::string> OrderedWords(const CommandReading& reading);

// The command of these words. Throws a usage failure with the nearest name if there is none.
const CLI::App& FindCommand(const CLI::App& root, const std::vector<std::string>& words);

}  // namespace orv::cli
