#include "cli/commands/command_line.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <cctype>

#include "cli/show/failure.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

std::vector<std::string> NamesOf(const std::vector<const CLI::App*>& commands) {
  std::vector<std::string> names;
  for (const CLI::App* command : commands) names.push_back(command->get_name());
  return names;
}

void AddPaths(const CLI::App& command, std::vector<std::string>& paths) {
  for (const CLI::App* below : CommandsBelow(command)) {
    paths.push_back(PathOf(*below));
    AddPaths(*below, paths);
  }
}

std::string UnknownCommand(const CLI::App& command, const std::string& word) {
  const std::string path = PathOf(command);
  std::string nearest = Suggestion(NamesOf(CommandsBelow(command)), word);
  if (nearest.empty()) {  // perhaps one that is further down
    const CLI::App* const root = ChainOf(command).front();
    std::vector<std::string> paths;
    AddPaths(*root, paths);
    for (const std::string& known : paths)
      if (nearest.empty() && known.ends_with(" " + word))
        nearest = fmt::format(" Did you mean \"{}\"?", known);
  }
  if (path.empty()) return fmt::format("no command \"{}\".{}", word, nearest);
  return fmt::format("\"{}\" has no command \"{}\".{}", path, word, nearest);
}

std::vector<const CLI::Option*> OptionsOf(const CLI::App& command) {
  std::vector<const CLI::Option*> options;
  for (const CLI::App* app : ChainOf(command))
    for (const CLI::Option* option : app->get_options())
      if (!IsArgument(*option)) options.push_back(option);
  return options;
}

const CLI::Option* FindOption(const CLI::App& command, const std::string& name) {
  const std::vector<const CLI::Option*> options = OptionsOf(command);
  const auto found = std::ranges::find_if(
      options, [&](const CLI::Option* option) { return option->check_name(name); });
  return found != options.end() ? *found : nullptr;
}

std::string UnknownOption(const CLI::App& command, const std::string& name) {
  std::vector<std::string> names;
  for (const CLI::Option* option : OptionsOf(command))
    for (const std::string& known : option->get_lnames()) names.push_back("--" + known);
  const std::string path = PathOf(command);
  return fmt::format("{} option \"{}\".{}", path.empty() ? "no" : "\"" + path + "\" has no", name,
                     Suggestion(names, name));
}

// The description as the rest of a sentence.
std::string Expected(const CLI::Option& option) {
  std::string text = option.get_description();
  const bool is_acronym = text.size() > 1 && std::isupper(static_cast<unsigned char>(text[1])) != 0;
  if (!is_acronym) text[0] = static_cast<char>(std::tolower(text[0]));
  return text;
}

std::string NeedsValue(const CLI::Option& option) {
  return fmt::format("{} needs a value, {}: {}.", option.get_name(), ValueWord(option),
                     Expected(option));
}

std::vector<const CLI::Option*> ArgumentsOf(const CLI::App& command) {
  std::vector<const CLI::Option*> arguments;
  for (const CLI::App* app : ChainOf(command))
    for (const CLI::Option* option : app->get_options())
      if (IsArgument(*option)) arguments.push_back(option);
  return arguments;
}

std::string TooMany(const CLI::App& command, const std::string& word) {
  std::vector<std::string> taken;
  for (const CLI::Option* argument : ArgumentsOf(command)) taken.push_back(argument->get_name());
  return fmt::format(
      "\"{}\" is not expected: \"{}\" takes {}.", word, PathOf(command),
      taken.empty() ? "no argument" : fmt::format("{} only", fmt::join(taken, " and ")));
}

// A number with a sign is an argument, and so are "-" and steps like "-=3dB".
bool LooksLikeOption(const std::string& word) {
  if (word.size() < 2 || word[0] != '-') return false;
  return (word[1] == '-' && word.size() > 2) || std::isalpha(static_cast<unsigned char>(word[1]));
}

class WordReader {
 public:
  explicit WordReader(const CLI::App& root) { reading_.command = &root; }

  void Read(const std::vector<std::string>& words) {
    for (std::size_t i = 0; i < words.size(); ++i) {
      const std::string& word = words[i];
      if (word.empty()) {
        Fault(i == 0 ? "the first argument is empty."
                     : fmt::format("the argument after \"{}\" is empty.", words[i - 1]));
        reading_.open = nullptr;
        continue;
      }
      if (reading_.open != nullptr) {
        const bool is_option = LooksLikeOption(word) && FindOption(*reading_.command, word);
        if (!is_option) {
          reading_.values[reading_.open].push_back(word);
          reading_.open = nullptr;
          continue;
        }
        Fault(NeedsValue(*reading_.open));
        reading_.open = nullptr;
      }
      if (reading_.only_arguments)
        ReadArgument(word);
      else if (word == "--")
        reading_.only_arguments = true;
      else if (LooksLikeOption(word))
        word[1] == '-' ? ReadLong(word) : ReadShort(word);
      else
        ReadArgument(word);
    }
  }

  CommandReading Take() { return std::move(reading_); }

 private:
  void Fault(const std::string& text) {
    if (reading_.fault.empty()) reading_.fault = text;
  }

  void ReadLong(const std::string& word) {
    const std::size_t equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const CLI::Option* const option = FindOption(*reading_.command, name);
    if (option == nullptr) return Fault(UnknownOption(*reading_.command, name));
    const bool repeated = reading_.Has(*option) && !IsFlag(*option) &&
                          option->get_multi_option_policy() == CLI::MultiOptionPolicy::Throw &&
                          option->get_items_expected_max() == 1;
    if (repeated) Fault(fmt::format("{} is given more than once.", name));
    std::vector<std::string>& values = reading_.values[option];
    if (equals == std::string::npos) {
      if (IsFlag(*option)) values.emplace_back();
      if (!IsFlag(*option)) reading_.open = option;
      return;
    }
    if (IsFlag(*option)) return Fault(fmt::format("{} takes no value.", name));
    if (equals + 1 == word.size()) Fault(fmt::format("the value of {} is empty.", name));
    values.push_back(word.substr(equals + 1));
  }

  // Letters of flags may be joined: "-vl".
  void ReadShort(const std::string& word) {
    for (const char letter : word.substr(1)) {
      const std::string name = {'-', letter};
      const CLI::Option* const option = FindOption(*reading_.command, name);
      if (option == nullptr || !IsFlag(*option))
        return Fault(UnknownOption(*reading_.command, word));
      reading_.values[option].emplace_back();
    }
  }

  void ReadArgument(const std::string& word) {
    const CLI::App& command = *reading_.command;
    if (!reading_.only_arguments) {
      for (const CLI::App* below : command.get_subcommands([](const CLI::App*) { return true; })) {
        if (below->get_name() != word) continue;
        reading_.command = below;
        return;
      }
    }
    const CLI::Option* const argument = reading_.NextArgument();
    if (argument != nullptr) {
      reading_.values[argument].push_back(word);
    } else if (CommandsBelow(command).empty()) {
      Fault(TooMany(command, word));
    } else {
      Fault(UnknownCommand(command, word));
    }
  }

  CommandReading reading_;
};

// Of a command that is only complete with one of those below it.
std::string MissingCommand(const CommandReading& reading) {
  const std::vector<std::string> names = NamesOf(CommandsBelow(*reading.command));
  const std::string path = PathOf(*reading.command);
  if (path.empty()) return "a command is missing.";
  // A misspelt command may have been taken for the argument before it.
  std::string nearest;
  for (const auto& [option, values] : reading.values)
    if (nearest.empty() && IsArgument(*option)) nearest = Suggestion(names, values.front());
  return fmt::format("\"{}\" needs a command: {}.{}", path, fmt::join(names, ", "), nearest);
}

}  // namespace

std::vector<const CLI::App*> CommandsBelow(const CLI::App& command) {
  return command.get_subcommands(
      [](const CLI::App* below) { return !below->get_name().starts_with("__"); });
}

std::vector<const CLI::App*> LeavesBelow(const CLI::App& command) {
  std::vector<const CLI::App*> leaves;
  for (const CLI::App* below : CommandsBelow(command)) {
    const std::vector<const CLI::App*> further = LeavesBelow(*below);
    if (further.empty()) leaves.push_back(below);
    leaves.insert(leaves.end(), further.begin(), further.end());
  }
  return leaves;
}

std::vector<const CLI::App*> ChainOf(const CLI::App& command) {
  std::vector<const CLI::App*> chain;
  for (const CLI::App* app = &command; app != nullptr; app = app->get_parent())
    chain.insert(chain.begin(), app);
  return chain;
}

std::string PathOf(const CLI::App& command) {
  std::vector<std::string> names = NamesOf(ChainOf(command));
  names.erase(names.begin());
  return fmt::format("{}", fmt::join(names, " "));
}

bool IsArgument(const CLI::Option& option) { return !option.nonpositional(); }
bool IsFlag(const CLI::Option& option) { return option.get_items_expected_max() == 0; }

std::string ValueWord(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  // The word of a check comes after the type's name.
  if (const std::size_t colon = type.rfind(':'); colon != std::string::npos)
    return type.substr(colon + 1);
  constexpr const char* kOfVariables[] = {"", "TEXT", "INT", "UINT", "FLOAT", "BOOLEAN"};
  if (std::ranges::find(kOfVariables, type) == std::end(kOfVariables)) return type;
  std::string name = option.get_name();
  name.erase(0, name.find_first_not_of('-'));
  return boost::to_upper_copy(name);
}

bool CommandReading::Has(const std::string& name) const {
  const CLI::Option* const option = FindOption(*ChainOf(*command).front(), name);
  return option != nullptr && Has(*option);
}

const CLI::Option* CommandReading::NextArgument() const {
  for (const CLI::App* app : ChainOf(*command)) {
    for (const CLI::Option* option : app->get_options()) {
      const auto given = values.find(option);
      const std::size_t count = given != values.end() ? given->second.size() : 0;
      if (IsArgument(*option) && count < static_cast<std::size_t>(option->get_items_expected_max()))
        return option;
    }
  }
  return nullptr;
}

CommandReading ReadCommandLine(const CLI::App& root, const std::vector<std::string>& words) {
  WordReader reader(root);
  reader.Read(words);
  return reader.Take();
}

std::string FindMissing(const CommandReading& reading) {
  if (reading.open != nullptr) return NeedsValue(*reading.open);
  for (const CLI::App* app : ChainOf(*reading.command)) {
    for (const CLI::Option* option : app->get_options()) {
      if (option->get_required() && !reading.Has(*option))
        return fmt::format("{} is missing: {}.", option->get_name(), Expected(*option));
      if (!reading.Has(*option)) continue;
      for (const CLI::Option* other : option->get_excludes())
        if (reading.Has(*other))
          return fmt::format("expected either {} or {}, not both.", option->get_name(),
                             other->get_name());
      for (const CLI::Option* other : option->get_needs())
        if (!reading.Has(*other))
          return fmt::format("{} is only for use with {}.", option->get_name(), other->get_name());
    }
  }
  return CommandsBelow(*reading.command).empty() ? "" : MissingCommand(reading);
}

std::vector<std::string> OrderedWords(const CommandReading& reading) {
  std::vector<std::string> words;
  for (const CLI::App* app : ChainOf(*reading.command)) {
    if (app->get_parent() != nullptr) words.push_back(app->get_name());
    std::vector<std::string> arguments;
    for (const CLI::Option* option : app->get_options()) {
      const auto given = reading.values.find(option);
      if (given == reading.values.end()) continue;
      for (const std::string& value : given->second) {
        if (IsArgument(*option))
          arguments.push_back(value);
        else
          words.push_back(IsFlag(*option) ? option->get_name() : option->get_name() + "=" + value);
      }
    }
    if (app == reading.command && !arguments.empty()) words.push_back("--");
    words.insert(words.end(), arguments.begin(), arguments.end());
  }
  return words;
}

const CLI::App& FindCommand(const CLI::App& root, const std::vector<std::string>& words) {
  const CLI::App* command = &root;
  for (const std::string& word : words) {
    const std::vector<const CLI::App*> below = CommandsBelow(*command);
    const auto found =
        std::ranges::find_if(below, [&](const CLI::App* app) { return app->get_name() == word; });
    if (found == below.end()) UsageFailure(UnknownCommand(*command, word));
    command = *found;
  }
  return *command;
}

}  // namespace orv::cli
