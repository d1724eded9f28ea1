// Made from the tree of commands: help pages, the manual page, and the tables of
// docs/orvctl.md.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace orv::cli {

inline constexpr std::size_t kPageColumns = 80;

// A term and what it means.
struct PageRow {
  std::string term;
  std::string text;
};

struct CommandPage {
  std::string path;
  std::string usage;
  std::string summary;
  std::vector<PageRow> arguments;
  std::vector<PageRow> options;
  std::vector<std::string> paragraphs;  // one with indented lines keeps them
  std::string json;                     // what --json prints; empty if the command does not name it
  std::vector<std::string> examples;
};
CommandPage PageOf(const CLI::App& command);

struct CommandGroup {
  std::string title;
  std::vector<PageRow> commands;
};
// In the order of the help page.
std::vector<CommandGroup> GroupsOf(const CLI::App& root);

// The page of one command; of the program itself with its commands in groups.
std::string HelpPage(const CLI::App& command);
// What the program prints for a command line without any word.
std::string Overview(const CLI::App& root, const std::string& version);
// orvctl(1) as troff source.
std::string ManualPage(const CLI::App& root, const std::string& version);

// A table of docs/orvctl.md in Markdown: "commands", "options", "statuses" or "json"; "usages" are
// the usage lines of all commands. Throws a usage failure for other names.
std::string ReferenceTable(const CLI::App& root, const std::string& name);

}  // namespace orv::cli
