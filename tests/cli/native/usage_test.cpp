// Every page and every kind of mistake, for all commands that the program lists.
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <set>

#include "cli/native/shell.h"
#include "cli/native/usages.h"

namespace orv::cli {
namespace {

// Words of the library that reads command lines, which no user should meet.
std::string LibraryWord(const std::string& text) {
  static const std::regex words(
      R"(REQUIRED|\bTEXT\b|\bU?INT\b|\bFLOAT\b|Excludes|excludes|subcommand|Could not convert|)"
      R"(not in range|following arg|At Most|Error=|json\.exception|not understood)");
  std::smatch found;
  return std::regex_search(text, found, words) ? found.str() : "";
}

std::string HelpLine(const Arguments& help) {
  return fmt::format("Help: orvctl {}\n", fmt::join(help, " "));
}

// The command with a value for everything that it needs.
Arguments Complete(const std::string& usage) {
  std::istringstream parts(usage.substr(usage.find(' ') + 1));
  Arguments words;
  for (std::string word; parts >> word;) {
    const bool is_value = !words.empty() && words.back().starts_with("--");
    if (word.starts_with("--") || (std::islower(static_cast<unsigned char>(word[0])) && !is_value))
      words.push_back(word);
    else if (!word.starts_with('['))
      words.push_back(is_value ? "1" : "0");
  }
  return words;
}

// The options of a page with whether each takes a value. Those of every command are not on it.
std::vector<std::pair<std::string, bool>> Options(const std::string& page) {
  static const std::regex line(R"(^  (-\w, )?(--[\w-]+)( \S+)?)");
  std::istringstream lines(page);
  std::vector<std::pair<std::string, bool>> options;
  std::smatch found;
  for (std::string text; std::getline(lines, text);)
    if (std::regex_search(text, found, line)) options.push_back({found[2], found[3].matched});
  return options;
}

TEST(HelpPages, FitTheScreenAndHaveNoWordsOfALibrary) {
  const ProgramOnMachine program;
  std::vector<Arguments> pages{{"help"}, {"help", "dsp"}, {"help", "eq"}};
  for (const std::string& usage : Usages(program)) pages.push_back(HelpWords(usage));
  const std::string manual = program.Run({"__reference", "manual"}).output;
  for (const Arguments& words : pages) {
    const Result page = program.Run(words);
    EXPECT_EQ(page.status, 0);
    EXPECT_EQ(LibraryWord(page.output), "") << page.output;
    std::istringstream lines(page.output);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(DisplayWidth(line), 80U) << line;
    if (words.size() < 2) continue;
    EXPECT_NE(page.output.find("Usage: orvctl"), std::string::npos) << page.output;
    EXPECT_NE(page.output.find("\nExample"), std::string::npos) << page.output;
  }
  for (const std::string& usage : Usages(program)) {
    const Arguments words = HelpWords(usage);
    const std::string path = fmt::format("{}", fmt::join(words.begin() + 1, words.end(), " "));
    EXPECT_NE(manual.find("\n.SS " + path + "\n"), std::string::npos) << path;
  }
}

class Mistakes : public testing::Test {
 protected:
  // The program refuses the words, names `given`, and points to the page.
  void Refuses(Arguments words, const Arguments& more, const Arguments& help,
               const std::string& given) const {
    words.insert(words.end(), more.begin(), more.end());
    const Result result = program_.Run(words);
    const std::string line = fmt::format("{}", fmt::join(words, " "));
    EXPECT_EQ(result.status, 2) << line << "\n" << result.errors;
    EXPECT_EQ(result.output, "") << line;
    EXPECT_EQ(LibraryWord(result.errors), "") << line << "\n" << result.errors;
    EXPECT_TRUE(result.Reports(given)) << line << "\n" << result.errors;
    EXPECT_TRUE(result.errors.ends_with(HelpLine(help))) << line << "\n" << result.errors;
  }

  const ProgramOnMachine program_;
};

TEST_F(Mistakes, AreReportedInTheProgramsWordsByEveryCommand) {
  for (const std::string& usage : Usages(program_)) {
    Arguments help = HelpWords(usage);
    const Arguments command(help.begin() + 1, help.end());
    const Arguments complete = Complete(usage);
    if (command.front() == "help") help = {"help"};
    const bool needs_more = complete != command;
    if (needs_more) Refuses(command, {}, help, " is missing: ");
    Refuses(complete, {"--nonsense"}, help, "--nonsense");
    Refuses(complete, {""}, help, "is empty");
    const bool takes_many = usage.find("...") != std::string::npos;
    if (!takes_many) Refuses(complete, {"0", "0", "0", "extra"}, help, "is not expected");
    for (const auto& [option, takes_value] : Options(program_.Run(HelpWords(usage)).output)) {
      if (!takes_value) {
        Refuses(complete, {option + "=1"}, help, option + " takes no value");
        continue;
      }
      Arguments words = complete;  // without this option
      const auto given = std::find(words.begin(), words.end(), option);
      if (given != words.end()) words.erase(given, given + 2);
      Refuses(words, {option}, help, option + " needs a value");
      if (option == "--exec") continue;  // any text is a command, which waits for changes
      words.push_back(option + "=/no/such?");
      const Result bad = program_.Run(words);
      EXPECT_EQ(LibraryWord(bad.errors), "") << bad.errors;
      EXPECT_NE(bad.status, 0) << usage << " " << option;
    }
  }
}

// The keys of the first object that the page's text about JSON names.
std::set<std::string> NamedKeys(const std::string& page) {
  std::set<std::string> keys;
  std::string key;
  int depth = 0;
  for (const char c : page.substr(std::min(page.find("With --json: "), page.size()))) {
    const bool in_key = depth == 1 && (std::isalnum(static_cast<unsigned char>(c)) || c == '_');
    if (in_key) key += c;
    if (!in_key && !key.empty()) keys.insert(std::exchange(key, {}));
    if (c == '{' || c == '[') ++depth;
    if ((c == '}' || c == ']') && --depth == 0) break;
  }
  return keys;
}

TEST(HelpPages, NameTheKeysOfTheJsonThatCommandsPrint) {
  const ProgramOnMachine program;
  program.Run({"set", "0", "VQ3D-DC Level", "12"});
  const std::pair<Arguments, Arguments> commands[] = {
      {{"endpoints"}, {}},
      {{"modes"}, {"0"}},
      {{"properties"}, {"0"}},
      {{"config"}, {"0"}},
      {{"doctor"}, {"0"}},
      {{"get"}, {"0", "VQ3D-DC Level"}},
      {{"mode"}, {"0"}},
      {{"enable"}, {"0"}},
      {{"undo"}, {"0", "--dry-run"}},
      {{"eq", "export"}, {"0"}},
      {{"dsp", "intel", "info"}, {"0"}},
      {{"dsp", "intel", "push"}, {"0"}},
      {{"dsp", "intel", "get"}, {"0", "VQ3D-Process Enable"}},
      {{"dsp", "intel", "set"}, {"0", "VQ3D-Process Enable", "1"}},
      {{"drift"}, {"0"}},
      {{"response"}, {"0"}},
      {{"machine", "drivers"}, {}},
      {{"register"}, {"--user"}},
      {{"filter", "bass"}, {"--audio", "185", "--analysis", "165"}},
      {{"completion", "fish"}, {}}};
  for (const auto& [command, more] : commands) {
    Arguments help = command;
    help.insert(help.begin(), "help");
    Arguments words = command;
    words.insert(words.begin(), "--json");
    words.insert(words.end(), more.begin(), more.end());
    const Json answer = program.Run(words).json();
    const std::vector<std::string> printed = Keys(answer.is_array() ? answer.at(0) : answer);
    EXPECT_EQ(std::set<std::string>(printed.begin(), printed.end()),
              NamedKeys(program.Run(help).output))
        << fmt::format("{}", fmt::join(command, " "));
  }
}

// What doctor and refusals name to be typed is a command of this program.
TEST(Remedies, CanBePasted) {
  const std::regex command(R"((?:^|\s)orvctl ([^\n]*))");
  int pasted = 0;
  for (const char* sample : {"broken", "skylake-laptop"}) {
    const ProgramOnMachine program(sample);
    program.Run({"enable", "1", "off"});
    program.Run({"set", "0", "VQ3D-DC Level", "500", "--force"});
    std::string texts = program.Run({"mode", "1"}).errors + program.Run({"modes", "x"}).errors +
                        program.Run({"get", "0", "none"}).errors +
                        program.Run({"image", "decode", "--endpoint", "0"}).errors +
                        program.Run({"dsp", "intel", "2", "info"}).errors;
    for (const Json& check : program.Run({"--json", "doctor"}).json())
      texts += check["remedy"].get<std::string>() + "\n";
    for (std::sregex_iterator at(texts.begin(), texts.end(), command), end; at != end; ++at) {
      const std::string line = Quoted(ORV_ORVCTL) + " " + (*at)[1].str() + " >" +
                               Quoted(program.File("pasted")) + " 2>&1 </dev/null";
      const int status = std::system(line.c_str());
      EXPECT_NE(WEXITSTATUS(status), 2) << at->str() << "\n" << FileText(program.File("pasted"));
      ++pasted;
    }
  }
  EXPECT_GT(pasted, 8);
}

}  // namespace
}  // namespace orv::cli
