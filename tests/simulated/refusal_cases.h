// Texts that are refused, from refusals/*.txt. A case there is a line "LINE: PART OF THE REASON",
// the text, and a line "---".
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace orv {

struct RefusalCase {
  int line;
  std::string reason;
  std::string text;
};

inline std::vector<RefusalCase> RefusalCases(const std::string& name) {
  std::ifstream file(std::string(ORV_REFUSALS) + "/" + name);
  std::vector<RefusalCase> cases;
  std::string line;
  while (std::getline(file, line)) {
    cases.push_back({std::stoi(line), line.substr(line.find(": ") + 2), ""});
    while (std::getline(file, line) && line != "---") cases.back().text += line + "\n";
  }
  EXPECT_GT(cases.size(), 10U) << name;
  return cases;
}

}  // namespace orv
