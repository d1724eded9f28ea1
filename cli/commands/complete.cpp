#include "cli/commands/complete.h"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <iostream>

#include "cli/client/control_view.h"
#include "cli/client/host.h"
#include "cli/client/user_machines.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/machine_folder.h"
#include "cli/show/names.h"
#include "cli/show/select.h"
#include "platform/files.h"

namespace orv::cli {
namespace {

using CandidateList = std::vector<Completion::Candidate>;

// The candidates of one command line, on the machine that it names.
class Completer {
 public:
  Completer(const CLI::App& root, const TypedLine& line)
      : root_(root),
        reading_(ReadCommandLine(root, {line.words.begin() + 1, line.words.end() - 1})),
        typed_(line.words.back()),
        output_(std::cout, std::cerr),
        context_(output_) {
    if (const std::string machine = Given("DIR", "--machine"); !machine.empty())
      context_.session_options.machine = NamedMachineFolder(machine);
    context_.session_options.technology = Given("DIR", "--technology");
    if (const auto type = ParseNumber(Given("", "--config"))) context_.config_type = *type;
  }

  Completion Run() {
    const std::size_t equals = typed_.find('=');
    if (reading_.open != nullptr) {
      AddValues(*reading_.open, "");
    } else if (!reading_.only_arguments && typed_.starts_with("--") &&
               equals != std::string::npos) {
      const CommandReading with_option =
          ReadCommandLine(root_, WordsBefore(typed_.substr(0, equals)));
      const std::string before = typed_.substr(0, equals + 1);
      typed_.erase(0, equals + 1);
      if (with_option.open != nullptr) AddValues(*with_option.open, before);
    } else if (!reading_.only_arguments && typed_.starts_with('-')) {
      AddOptions();
    } else if (const CLI::Option* const argument = reading_.NextArgument()) {
      AddValues(*argument, "");
    } else {
      AddCommands(*reading_.command);
    }
    return std::move(completion_);
  }

 private:
  // The command's words, with one option after them.
  std::vector<std::string> WordsBefore(const std::string& option) const {
    std::vector<std::string> words;
    const std::vector<const CLI::App*> chain = ChainOf(*reading_.command);
    for (std::size_t i = 1; i < chain.size(); ++i) words.push_back(chain[i]->get_name());
    words.push_back(option);
    return words;
  }

  // The value given for this word ("ENDPOINT"), or for the option of this name; empty if none is.
  std::string Given(const std::string& word, const std::string& name = {}) const {
    for (const auto& [option, values] : reading_.values)
      if (!values.empty() &&
          (name.empty() ? ValueWord(*option) == word : option->get_name() == name))
        return values.front();
    return {};
  }

  // Keeps what begins with the typed text, or else what has it somewhere.
  void Offer(CandidateList all, const std::string& before) {
    CandidateList fitting;
    for (const auto& fits : {+[](const std::string&name, const std::string&typed) {
                               return boost::istarts_with(name, typed);
                             },
                             +[](const std::string&name, const std::string&typed) {
                               return boost::icontains(name, typed);
                             }}) {
      for (const Completion::Candidate& one : all)
        if (fits(one.text, typed_)) fitting.push_back(one);
      if (!fitting.empty()) break;
    }
    for (Completion::Candidate& one : fitting) {
      one.text.insert(0, before);
      completion_.candidates.push_back(std::move(one));
    }
  }

  void AddOptions() {
    CandidateList options;
    const std::vector<const CLI::App*> chain = ChainOf(*reading_.command);
    for (auto app = chain.rbegin(); app != chain.rend(); ++app)
      for (const CLI::Option* option : (*app)->get_options())
        if (!IsArgument(*option) && !reading_.Has(*option))
          options.push_back({"--" + option->get_lnames().front(), option->get_description()});
    Offer(std::move(options), "");
  }

  void AddCommands(const CLI::App& command) {
    CandidateList commands;
    for (const CLI::App* below : CommandsBelow(command))
      commands.push_back({below->get_name(), below->get_description()});
    Offer(std::move(commands), "");
  }

  void AddValues(const CLI::Option& option, const std::string& before) {
    const std::string word = ValueWord(option);
    if (word == "FILE" || word == "XML") completion_.files = Completion::Files::Any;
    if (word == "DIR" || word == "SAMPLE") completion_.files = Completion::Files::Folders;
    if (word == "COMMAND") {
      if (IsArgument(option)) return AddHelpCommands(option);
      completion_.files = Completion::Files::Any;  // a command of the shell
    }
    if (option.get_name() == "--machine") return Offer(MachinesByName(), before);
    const std::size_t equals = typed_.find('=');
    const bool is_set = reading_.command->get_name() == "set" && before.empty();
    if (is_set && (word == "CONTROL" || word == "VALUE") && equals != std::string::npos) {
      const std::string control = typed_.substr(0, equals);
      const std::string name = typed_.substr(0, equals + 1);
      typed_.erase(0, equals + 1);
      return Offer(ChoicesOf(control), name);
    }
    // After CONTROL=VALUE comes another one.
    const bool is_next = word == "VALUE" && Given("CONTROL").find('=') != std::string::npos;
    Offer(ValuesOf(is_next ? "CONTROL" : word), before);
  }

  static CandidateList MachinesByName() {
    CandidateList values;
    for (const KnownMachine& machine : KnownMachines())
      values.push_back({machine.name, machine.is_copy ? "yours" : "sample"});
    return values;
  }

  void AddHelpCommands(const CLI::Option& option) {
    const auto given = reading_.values.find(&option);
    AddCommands(FindCommand(
        root_, given != reading_.values.end() ? given->second : std::vector<std::string>()));
  }

  CandidateList ValuesOf(const std::string& word) {
    CandidateList values;
    if (word.find('|') != std::string::npos) {
      std::vector<std::string> choices;
      boost::split(choices, word, [](char c) { return c == '|'; });
      for (const std::string& choice : choices) values.push_back({choice, {}});
    } else if (word == "SAMPLE") {
      for (const std::string& name : MachineNames(SampleMachinesFolder()))
        values.push_back({name, {}});
    } else if (word == "ENDPOINT") {
      AddEndpoints(values);
    } else if (word == "MODE" || word == "KEY" || word == "CONTROL" || word == "PROPERTY" ||
               word == "VALUE") {
      AddOfEndpoint(word, context_.SelectEndpoint(Given("ENDPOINT")), values);
    }
    return values;
  }

  // Their numbers, and their names as soon as something is typed.
  void AddEndpoints(CandidateList& values) {
    for (const Endpoint& endpoint : context_.Endpoints()) {
      values.push_back({endpoint.number(), endpoint.name()});
      if (!typed_.empty()) values.push_back({endpoint.name(), endpoint.number()});
    }
  }

  void AddOfEndpoint(const std::string& word, const Endpoint& endpoint, CandidateList& values) {
    if (word == "MODE") {
      const std::optional<Mode> current = endpoint.CurrentMode();
      for (const Mode& mode : endpoint.Modes())
        values.push_back({boost::istarts_with(typed_, "Apo") ? mode.name() : ModeLabel(mode.name()),
                          current && current->name() == mode.name() ? "current mode" : ""});
    } else if (word == "KEY") {
      for (const auto& [key, value] : endpoint.Properties()) values.push_back({key, value});
    } else if (word == "VALUE") {
      values = ChoicesOf(Given("CONTROL").empty() ? Given("PROPERTY") : Given("CONTROL"));
    } else {
      const Mode mode = context_.SelectMode(endpoint, Given("MODE"));
      for (const ORVAPOControlType list : {kORVAPO_Cont_Public, kORVAPO_Cont_Private})
        for (const ControlView& view : ViewControls(context_.catalog(), endpoint, mode, list))
          values.push_back({view.name, view.text});
    }
  }

  // Of the control that the text names or is a part of.
  CandidateList ChoicesOf(const std::string& text) {
    const Endpoint endpoint = context_.SelectEndpoint(Given("ENDPOINT"));
    const Mode mode = context_.SelectMode(endpoint, Given("MODE"));
    const std::vector<std::string> choices =
        ControlFinder(context_.catalog(), endpoint, mode).Find(text).front().facts.choices;
    CandidateList values;
    for (const std::string& choice : choices) values.push_back({choice, {}});
    if (choices.size() == 2)
      for (const char* word : {"on", "off", "toggle"}) values.push_back({word, {}});
    return values;
  }

  const CLI::App& root_;
  const CommandReading reading_;
  std::string typed_;
  Output output_;
  Context context_;
  Completion completion_;
};

// A word for bash as it stands outside of quotes.
std::string Escaped(const std::string& text) {
  constexpr std::string_view kSpecial = " \t\"'\\$`&|;<>()*?[]{}!#~^";
  std::string escaped;
  for (const char c : text) {
    if (kSpecial.find(c) != std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace

TypedLine SplitTypedLine(std::string_view line) {
  TypedLine typed;
  bool in_word = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    const bool is_blank = typed.quote == 0 && (c == ' ' || c == '\t' || c == '\n');
    if (is_blank) {
      in_word = false;
      continue;
    }
    if (!in_word) {
      typed.words.emplace_back();
      typed.broken = 0;
      in_word = true;
    }
    std::string& word = typed.words.back();
    const bool escapes = c == '\\' && typed.quote != '\'' && i + 1 < line.size();
    if (escapes && (typed.quote == 0 ||
                    std::string_view("\"\\$`").find(line[i + 1]) != std::string_view::npos)) {
      word += line[++i];
    } else if (c == typed.quote) {
      typed.quote = 0;
    } else if (typed.quote == 0 && (c == '"' || c == '\'')) {
      typed.quote = c;
    } else {
      word += c;
      if (typed.quote == 0 && (c == '=' || c == ':')) typed.broken = word.size();
    }
  }
  if (!in_word) {
    typed.words.emplace_back();
    typed.broken = 0;
  }
  return typed;
}

Completion Complete(const CLI::App& root, const TypedLine& line) {
  if (line.words.size() < 2) return {};
  try {
    return Completer(root, line).Run();
  } catch (const std::exception&) {
    return {};  // a completion has no place for messages
  }
}

std::string CompletionLines(const Completion& completion, const TypedLine& line, bool for_bash) {
  static constexpr const char* kKinds[] = {"words\n", "files\n", "folders\n"};
  std::string lines = kKinds[static_cast<int>(completion.files)];
  for (const auto& [text, meaning] : completion.candidates) {
    if (!for_bash)
      lines += Printable(text) + "\t" + Printable(meaning) + "\n";
    else if (line.quote != 0)
      lines += Printable(text) + "\n";
    else
      lines += Escaped(Printable(text.substr(std::min(line.broken, text.size())))) + "\n";
  }
  return lines;
}

}  // namespace orv::cli
