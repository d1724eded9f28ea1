#include "cli/show/remedy.h"

#include <filesystem>

namespace orv::cli {
namespace {

// Set once, before a command runs.
std::string& GlobalOptions() {
  static std::string words;
  return words;
}

}  // namespace

std::string ShellWord(const std::string& text) {
  constexpr char kPlain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./:";
  if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) return text;
  // A shell that has backslashes in its paths takes them as they are, and knows no single quotes.
  constexpr bool kBackslashesInPaths = std::filesystem::path::preferred_separator == '\\';
  if (kBackslashesInPaths || text.find_first_of("\"$`!\\") == std::string::npos)
    return '"' + text + '"';
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

void UseGlobalOptions(const std::string& words) { GlobalOptions() = words; }

std::string CommandLine(const std::string& words) {
  const std::string& options = GlobalOptions();
  return "orvctl " + (options.empty() ? "" : options + " ") + words;
}

}  // namespace orv::cli
