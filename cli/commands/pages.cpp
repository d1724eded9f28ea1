#include "cli/commands/pages.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

std::string OptionTerm(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  std::string term = fmt::format("{}", fmt::join(names, ", "));
  if (!IsFlag(option)) term += " " + ValueWord(option);
  return term;
}

std::string ArgumentTerm(const CLI::Option& option) {
  std::string term = option.get_name();
  if (option.get_items_expected_max() > 1) term += "...";
  return option.get_required() ? term : "[" + term + "]";
}

std::string Meaning(const CLI::Option& option) {
  std::string text = option.get_description();
  if (!option.get_default_str().empty())
    text += fmt::format(" (default: {})", option.get_default_str());
  if (option.get_required() && !IsArgument(option)) text += " (required)";
  return text;
}

// "orvctl dsp intel ENDPOINT push [OPTIONS]"
std::string UsageOf(const CLI::App& command) {
  std::string usage;
  bool has_options = false;
  for (const CLI::App* app : ChainOf(command)) {
    usage += (usage.empty() ? "" : " ") + app->get_name();
    for (const CLI::Option* option : app->get_options()) {
      if (IsArgument(*option))
        usage += " " + ArgumentTerm(*option);
      else if (app == &command && option->get_required())
        usage += " " + OptionTerm(*option);
      else if (app == &command)
        has_options = true;
    }
  }
  if (!CommandsBelow(command).empty()) usage += " COMMAND ...";
  return usage + (has_options ? " [OPTIONS]" : "");
}

std::string Indented(const std::string& text, std::size_t indent) {
  std::string lines;
  for (const std::string& line : Wrapped(text, kPageColumns - indent))
    lines += std::string(indent, ' ') + line + "\n";
  return lines;
}

// Where the meanings begin, beside all terms that are not very long.
std::size_t ColumnBeside(const std::vector<PageRow>& rows) {
  constexpr std::size_t kWidestTerm = 22;
  std::size_t widest = 0;
  for (const PageRow& row : rows)
    if (row.term.size() <= kWidestTerm) widest = std::max(widest, row.term.size());
  return widest + 4;
}

// Terms in a column of their own, except those that are too long for it.
std::string RowsText(const std::vector<PageRow>& rows, std::size_t column) {
  std::string text;
  for (const auto& [term, meaning] : rows) {
    std::string lines = Indented(meaning, column);
    if (term.size() + 4 > column)
      text += "  " + term + "\n";
    else
      lines.replace(2, term.size(), term);
    text += lines;
  }
  return text;
}

std::string Section(const std::string& title, const std::vector<PageRow>& rows,
                    std::size_t column) {
  return rows.empty() ? "" : fmt::format("\n{}:\n{}", title, RowsText(rows, column));
}

std::string Section(const std::string& title, const std::vector<PageRow>& rows) {
  return Section(title, rows, ColumnBeside(rows));
}

std::string ParagraphText(const std::string& paragraph) {
  const bool keeps_lines = paragraph.find("\n  ") != std::string::npos;
  if (keeps_lines) return "\n" + paragraph + "\n";
  return "\n" + Indented(boost::replace_all_copy(paragraph, "\n", " "), 0);
}

std::string GlobalOptionLine(const CLI::App& root) {
  std::vector<std::string> terms;
  for (const CLI::Option* option : root.get_options()) {
    std::string term = option->get_snames().empty() ? "--" + option->get_lnames().front()
                                                    : "-" + option->get_snames().front();
    if (!IsFlag(*option)) term += " " + ValueWord(*option);
    terms.push_back(term);
  }
  return fmt::format("Every command also takes {}; \"orvctl help\" explains them.",
                     fmt::join(terms, ", "));
}

std::string RootPage(const CLI::App& root, const CommandPage& page) {
  std::string text = fmt::format("{}\n\nUsage: orvctl [OPTIONS] COMMAND ...\n", page.summary);
  std::vector<PageRow> all;
  for (const auto& [title, rows] : GroupsOf(root)) all.insert(all.end(), rows.begin(), rows.end());
  for (const auto& [title, rows] : GroupsOf(root)) text += Section(title, rows, ColumnBeside(all));
  return text + Section("Options of every command", page.options);
}

}  // namespace

CommandPage PageOf(const CLI::App& command) {
  CommandPage page{
      PathOf(command), UsageOf(command), command.get_description(), {}, {}, {}, {}, {}};
  for (const CLI::App* app : ChainOf(command))
    for (const CLI::Option* option : app->get_options())
      if (IsArgument(*option)) page.arguments.push_back({ArgumentTerm(*option), Meaning(*option)});
  for (const CLI::Option* option : command.get_options())
    if (!IsArgument(*option)) page.options.push_back({OptionTerm(*option), Meaning(*option)});

  const std::string footer = command.get_footer();
  const std::size_t examples = footer.rfind(kExampleTitle);
  std::string text = footer.substr(0, examples);
  if (const std::size_t json = text.find(kJsonTitle); json != std::string::npos) {
    page.json = boost::trim_copy(text.substr(json + sizeof kJsonTitle - 1));
    text.erase(json);
  }
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find("\n\n", begin), text.size());
    if (const std::string paragraph = boost::trim_right_copy(text.substr(begin, end - begin));
        !paragraph.empty())
      page.paragraphs.push_back(paragraph);
    begin = end + 2;
  }
  if (examples != std::string::npos) {
    boost::split(page.examples, footer.substr(examples + sizeof kExampleTitle - 1),
                 [](char c) { return c == '\n'; });
    for (std::string& line : page.examples) boost::trim(line);
    std::erase(page.examples, "");
  }
  return page;
}

std::vector<CommandGroup> GroupsOf(const CLI::App& root) {
  std::vector<CommandGroup> groups;
  for (const CLI::App* command : CommandsBelow(root)) {
    if (groups.empty() || groups.back().title != command->get_group())
      groups.push_back({command->get_group(), {}});
    groups.back().commands.push_back({command->get_name(), command->get_description()});
  }
  return groups;
}

std::string HelpPage(const CLI::App& command) {
  const CommandPage page = PageOf(command);
  const bool is_root = command.get_parent() == nullptr;
  std::string text;
  if (is_root) {
    text = RootPage(command, page);
  } else {
    text = Indented(fmt::format("orvctl {}: {}", page.path, page.summary), 0) + "\n" +
           Indented("Usage: " + page.usage, 0);
    std::vector<PageRow> commands;
    for (const CLI::App* leaf : LeavesBelow(command))
      commands.push_back({PathOf(*leaf), leaf->get_description()});
    text += Section("Commands", commands) + Section("Arguments", page.arguments) +
            Section("Options", page.options);
  }
  for (const std::string& paragraph : page.paragraphs) text += ParagraphText(paragraph);
  if (!page.json.empty()) text += "\n" + Indented("With --json: " + page.json, 0);
  text += fmt::format("\n{}  {}\n", page.examples.size() == 1 ? "Example:\n" : "Examples:\n",
                      fmt::join(page.examples, "\n  "));
  if (is_root)
    return text + "\n" +
           Indented(
               "\"orvctl help COMMAND\" explains one command, \"orvctl tour\" shows one "
               "request step by step.",
               0);
  return text + "\n" + Indented(GlobalOptionLine(*ChainOf(command).front()), 0);
}

std::string Overview(const CLI::App& root, const std::string& version) {
  const std::vector<PageRow> steps = {
      {"orvctl endpoints", "the endpoints, each with its number"},
      {"orvctl controls 0", "the controls of endpoint 0, with their values"},
      {"orvctl set 0 \"VQ3D-DC Level\" 40", "changes one of them"},
      {"orvctl undo 0", "takes the change back"},
      {"orvctl doctor", "is processing active, and what to do if it is not"},
      {"orvctl tour", "one request, step by step, on a copy of a machine"},
      {"orvctl help", "all commands"},
      {"orvctl help set", "all about one command"}};
  std::string text = fmt::format("orvctl {}. {}\n\n", version, root.get_description());
  for (const auto& [term, meaning] : steps) text += fmt::format("  {:<32}  {}\n", term, meaning);
  return text;
}

}  // namespace orv::cli
