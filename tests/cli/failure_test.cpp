#include "cli/show/failure.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>

namespace orv::cli {
namespace {

// The tables name statuses by their number; StatusText has the words that the row begins with.
TEST(StatusText, HasTheWordsOfTheDocuments) {
  const std::regex row(R"(\| [^|]*(0x8[0-9A-F]{7}) \| (.*) \|)");
  std::ifstream file(ORV_DOCUMENTS "/objects.md");
  int compared = 0;
  std::smatch match;
  for (std::string line; std::getline(file, line);) {
    if (!std::regex_match(line, match, row)) continue;
    const std::string code = match[1];
    const std::string text = StatusText(static_cast<HRESULT>(std::stoul(code, nullptr, 16)));
    ASSERT_TRUE(text.starts_with(code + " (")) << text;
    if (text.ends_with("(failed)")) continue;
    ++compared;
    const std::string words = text.substr(12, text.size() - 13);
    EXPECT_TRUE(match[2].str().starts_with(words)) << line << "\n" << words;
  }
  EXPECT_GT(compared, 12);
  EXPECT_EQ(StatusText(orv_apo::StatusOfSystemError(1170)), "0x80070492 (system error 1170)");
}

}  // namespace
}  // namespace orv::cli
