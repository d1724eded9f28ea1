// Command lines for the shell.
#pragma once

#include <string>

#include "cli/program_host.h"

namespace orv::cli {

inline std::string Quoted(const std::string& word) {
  std::string quoted = "'";
  for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

inline std::string OrvctlCommandLine(const Arguments& arguments) {
  std::string line = Quoted(ORV_ORVCTL);
  for (const std::string& argument : arguments) line += " " + Quoted(argument);
  return line;
}

}  // namespace orv::cli
