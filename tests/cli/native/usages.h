// The usage lines of all commands, as the program prints them.
#pragma once

#include <cctype>
#include <sstream>
#include <string>
#include <vector>

#include "cli/orvctl_program.h"

namespace orv::cli {

// Lines like "orvctl dsp intel ENDPOINT push [OPTIONS]".
inline std::vector<std::string> Usages(const Program& program) {
  std::istringstream lines(program.Run({"__reference", "usages"}).output);
  std::vector<std::string> usages;
  for (std::string line; std::getline(lines, line);) usages.push_back(line);
  EXPECT_GT(usages.size(), 35U);
  return usages;
}

// What prints the command's page: "help", then the words of the command itself.
inline Arguments HelpWords(const std::string& usage) {
  std::istringstream parts(usage);
  Arguments words;
  for (std::string word; parts >> word && !word.starts_with("--");)
    if (std::islower(static_cast<unsigned char>(word[0])) != 0) words.push_back(word);
  words.front() = "help";
  return words;
}

}  // namespace orv::cli
