// The manual page, and the tables of docs/orvctl.md.
#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/replace.hpp>

#include "cli/commands/command_line.h"
#include "cli/commands/pages.h"
#include "cli/show/failure.h"

namespace orv::cli {
namespace {

// Text as troff shows it: a backslash, a dash that can be pasted, and no request at the start of a
// line.
std::string Troff(std::string text) {
  boost::replace_all(text, "\\", "\\e");
  boost::replace_all(text, "-", "\\-");
  boost::replace_all(text, "\n.", "\n\\&.");
  boost::replace_all(text, "\n'", "\n\\&'");
  return text.starts_with('.') || text.starts_with('\'') ? "\\&" + text : text;
}

std::string TroffRows(const std::vector<PageRow>& rows) {
  std::string text;
  for (const auto& [term, meaning] : rows)
    text += fmt::format(".TP\n.B {}\n{}.\n", Troff(term), Troff(meaning));
  return text;
}

std::string TroffLines(const std::vector<std::string>& lines) {
  return fmt::format(".PP\n.nf\n.RS\n{}\n.RE\n.fi\n",
                     Troff(fmt::format("{}", fmt::join(lines, "\n"))));
}

std::string CommandSection(const CLI::App& command) {
  const CommandPage page = PageOf(command);
  std::string text = fmt::format(".SS {}\n{}.\n.PP\n.B {}\n", Troff(page.path), Troff(page.summary),
                                 Troff(page.usage));
  text += TroffRows(page.arguments) + TroffRows(page.options);
  for (const std::string& paragraph : page.paragraphs)
    text += paragraph.find("\n  ") != std::string::npos ? TroffLines({paragraph})
                                                        : ".PP\n" + Troff(paragraph) + "\n";
  if (!page.json.empty()) text += ".PP\nWith \\-\\-json: " + Troff(page.json) + "\n";
  return text + TroffLines(page.examples);
}

// Inside a table's cell.
std::string InCell(const std::string& text) { return boost::replace_all_copy(text, "|", "\\|"); }
std::string Code(const std::string& text) { return "`" + InCell(text) + "`"; }

// Objects, from one brace to the other, as code.
std::string ObjectsAsCode(const std::string& text) {
  std::string marked;
  int depth = 0;
  for (const char c : text) {
    if (c == '{' && depth++ == 0) marked += '`';
    marked += c;
    if (c == '}' && --depth == 0) marked += '`';
  }
  return marked;
}

std::string CommandsTable(const CLI::App& root) {
  std::string text = "| command | does |\n|---|---|\n";
  for (const CLI::App* command : LeavesBelow(root)) {
    const CommandPage page = PageOf(*command);
    text += fmt::format("| {} | {} |\n", Code(page.usage.substr(page.usage.find(' ') + 1)),
                        InCell(page.summary));
  }
  return text;
}

std::string OptionsTable(const CLI::App& root) {
  std::string text = "| option | meaning |\n|---|---|\n";
  for (const PageRow& row : PageOf(root).options)
    text += fmt::format("| {} | {} |\n", Code(row.term), InCell(row.text));
  return text;
}

std::string StatusesTable() {
  std::string text = "| status | meaning |\n|---|---|\n";
  for (const ExitStatus status : kExitStatuses)
    text += fmt::format("| {} | {} |\n", static_cast<int>(status), MeaningOf(status));
  return text;
}

std::string JsonTable(const CLI::App& root) {
  std::string text = "| command | prints with `--json` |\n|---|---|\n";
  for (const CLI::App* command : LeavesBelow(root))
    if (const CommandPage page = PageOf(*command); !page.json.empty())
      text += fmt::format("| {} | {} |\n", Code(page.path), InCell(ObjectsAsCode(page.json)));
  return text;
}

}  // namespace

std::string ManualPage(const CLI::App& root, const std::string& version) {
  const CommandPage page = PageOf(root);
  std::string text = fmt::format(
      ".TH ORVCTL 1 \"\" \"orvctl {}\"\n.SH NAME\norvctl \\- {}\n.SH SYNOPSIS\n.B orvctl\n"
      "[OPTIONS] COMMAND ...\n.SH DESCRIPTION\n",
      version, "shows and changes the audio effects of a machine's endpoints");
  text += Troff(fmt::format("{}", fmt::join(page.paragraphs, "\n.PP\n"))) + "\n";
  boost::replace_all(text, "\n\\&.PP\n", "\n.PP\n");
  text += ".SH OPTIONS\nEvery command takes these, before or after its own words.\n" +
          TroffRows(page.options) + ".SH COMMANDS\n";
  for (const CLI::App* command : LeavesBelow(root)) text += CommandSection(*command);
  text += ".SH EXIT STATUS\n";
  for (const ExitStatus status : kExitStatuses)
    text += fmt::format(".TP\n.B {}\n{}.\n", static_cast<int>(status), Troff(MeaningOf(status)));
  text += ".SH ENVIRONMENT\n";
  return text +
         TroffRows({{"ORV_MACHINE", "The machine's folder, if --machine does not name one"},
                    {"NO_COLOR", "Output has no colours if it is set and not empty"}}) +
         ".SH EXAMPLES\n" + TroffLines(page.examples);
}

std::string ReferenceTable(const CLI::App& root, const std::string& name) {
  if (name == "commands") return CommandsTable(root);
  if (name == "options") return OptionsTable(root);
  if (name == "statuses") return StatusesTable();
  if (name == "json") return JsonTable(root);
  if (name == "usages") {
    std::string lines;
    for (const CLI::App* command : LeavesBelow(root)) lines += PageOf(*command).usage + "\n";
    return lines;
  }
  UsageFailure("no table \"{}\": expected commands, options, statuses or json.", name);
}

}  // namespace orv::cli
