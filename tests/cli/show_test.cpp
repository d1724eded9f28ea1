#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "cli/show/natural_order.h"
#include "cli/show/output.h"
#include "cli/show/scale.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

using Indices = std::vector<std::size_t>;

constexpr auto kSmallest = std::numeric_limits<std::int32_t>::min();

TEST(Scale, FrequenciesShowAtMostTwoDecimals) {
  EXPECT_EQ(HertzText(31.504), "31.5 Hz");
  EXPECT_EQ(HertzText(1250), "1.25 kHz");
  EXPECT_EQ(HertzText(24000), "24 kHz");
}

void ExpectSelected(const std::vector<std::string>& names,
                    const std::vector<std::pair<const char*, Indices>>& cases) {
  for (const auto& [text, positions] : cases)
    EXPECT_EQ(SelectByPart(names, text), positions) << text;
}

TEST(Select, PrefersTheExactNameThenOtherLetterCaseThenParts) {
  ExpectSelected({"ApoOpMode:Movie/Internal", "ApoOpMode:Movie/External",
                  "ApoOpMode:Music/Internal", "ApoOpMode:music/internal", "ApoOpMode:Movie"},
                 {{"external", {1}},
                  {"MOVIE/INT", {0}},
                  {"ApoOpMode:Movie", {4}},
                  {"ApoOpMode:music/internal", {3}},
                  {"apoopmode:movie", {4}},
                  {"APOOPMODE:MUSIC/INTERNAL", {2, 3}},
                  {"Internal", {0, 2, 3}},
                  {"", {}}});
}

TEST(Select, PatternFitsFromAWordsBeginningToTheEnd) {
  ExpectSelected({"VQ3D-PEQ Left Band 1 Gain", "VQ3D-PEQ Left Band 10 Gain",
                  "VQ3D-PEQ Left Band 1 Gain Limit", "VQ3D-GEQ 1kHz Gain", "Odd*Name"},
                 {{"peq left*gain", {0, 1}},
                  {"*gain", {0, 1, 3}},
                  {"band ? gain", {0}},
                  {"EQ*Gain", {}},
                  {"peq*1*ga?n*", {0, 1, 2}},
                  {"*", {0, 1, 2, 3, 4}},
                  {"odd*name", {4}},
                  {"?", {}}});
}

TEST(NaturalOrder, NumbersInNamesCountAsNumbers) {
  const std::vector<std::string> names = {
      "A 2",     "a 10",   "B 1.5kHz", "Band 2 Gain", "band 2 Q",  "Band 10", "G 100Hz",
      "G 300Hz", "G 1kHz", "G 1.5kHz", "G 10kHz",     "G 10kHz x", "G x"};
  const NaturalOrder before;
  for (std::size_t i = 0; i < names.size(); ++i)
    for (std::size_t j = 0; j < names.size(); ++j)
      EXPECT_EQ(before(names[i], names[j]), i < j) << names[i] << ", " << names[j];
  EXPECT_TRUE(before("A 1", "a 1"));  // names that are otherwise equal
  EXPECT_FALSE(before("a 1", "A 1"));
}

TEST(Select, SuggestsTheNearestName) {
  const std::vector<std::string> commands = {"endpoints", "modes", "controls", "set"};
  EXPECT_EQ(Suggestion(commands, "endpionts"), " Did you mean \"endpoints\"?");
  EXPECT_EQ(Suggestion(commands, "MODE"), " Did you mean \"modes\"?");
  EXPECT_EQ(Suggestion({"VQ3D-DPHD Boost Split"}, "boost"),
            " Did you mean \"VQ3D-DPHD Boost Split\"?");
  EXPECT_EQ(Suggestion(commands, "xylophone"), "");
  EXPECT_EQ(Suggestion({}, "modes"), "");
  EXPECT_EQ(KnownNames({}), "");
}

TEST(Select, NumbersAreWholeAndFit32Bits) {
  EXPECT_EQ(ParseNumber("-2147483648"), kSmallest);
  EXPECT_EQ(ParseNumber("+7"), 7);
  for (const char* text : {"", "-", "+", "+-7", "2147483648", "7 ", " 7", "0x7", "7.0", "7e2"})
    EXPECT_FALSE(ParseNumber(text)) << text;
  EXPECT_EQ(ParseReal("-1.5e1"), -15);
  for (const char* text : {"", "nan", "inf", "1e39", "1,5", "2 "})
    EXPECT_FALSE(ParseReal(text)) << text;
}

TEST(Table, ColumnsAlignByWhatATerminalShows) {
  Table table({{"NAME"}, {"VALUE", Align::Right}, {"NOTE"}});
  table.Add({"Lautstärke", "5", "a"});
  table.Add({"音量", "1250", "b"});
  table.Add({"e\xCC\x81", "-3", "c"});
  EXPECT_EQ(table.Text(false),
            "NAME        VALUE  NOTE\n"
            "Lautstärke      5  a\n"
            "音量         1250  b\n"
            "e\xCC\x81              -3  c\n");
}

TEST(Table, ColoursDoNotChangeTheAlignmentAndAreLeftOutWithoutThem) {
  Table table({{""}, {""}});
  table.Add({Cell("ok", ansi::kGood), "x"});
  table.Add({Cell("long", ansi::kBad), "y"});
  EXPECT_EQ(table.Text(false, 2), "  ok    x\n  long  y\n");
  EXPECT_EQ(table.Text(true), "\x1b[32mok\x1b[0m    x\n\x1b[31mlong\x1b[0m  y\n");
}

TEST(Table, FitsTheTerminalByWrappingTheLastColumnAndCuttingTheWidest) {
  Table table({{"NAME"}, {"MEANING"}});
  table.Add({"Identifier of one", "words that wrap at blanks"}, "a note that is folded too");
  EXPECT_EQ(table.Text(false, 0, 43),
            "NAME               MEANING\n"
            "Identifier of one  words that wrap at\n"
            "                   blanks\n"
            "                   a note that is folded\n"
            "                   too\n");
  EXPECT_EQ(table.Text(false, 2, 40).substr(0, 59),
            "  NAME          MEANING\n"
            "  Identifie...  words that wrap at\n");
  EXPECT_EQ(table.Text(false, 0, 44), table.Text(false));
  EXPECT_EQ(Wrapped("  kept  and-broken", 9),
            (std::vector<std::string>{"  kept", "and-broke", "n"}));
  EXPECT_EQ(Wrapped("", 5), (std::vector<std::string>{""}));
}

TEST(Output, LinesAreFoldedAroundPathsAndCommands) {
  const struct {
    const char* text;
    const char* folded;  // to 30 columns
  } cases[] = {
      {"fits in one line, just about..", "fits in one line, just about.."},
      {"  words that are wider than the terminal", "  words that are wider than\n  the terminal"},
      {"a\x1b[1mb\x1b[0m c d e f g h i j k l m n o", "a\x1b[1mb\x1b[0m c d e f g h i j k l m n o"},
      {"in C:\\Program Files\\ORV Labs\\x.xml is a fault",
       "in\nC:\\Program Files\\ORV Labs\\x.xml\nis a fault"},
      {"VQ3D-AEQ Gain: -12.0 dB -> \x1b[1m-6.0 dB\x1b[0m",
       "VQ3D-AEQ Gain: -12.0 dB ->\n\x1b[1m-6.0 dB\x1b[0m"},
      {"one\nWhat examines it: orvctl doctor 0", "one\nWhat examines it:\norvctl doctor 0"},
      {"orvctl set 0 \"VQ3D-DC Level\" 12 --mode Game",
       "orvctl set 0 \"VQ3D-DC Level\" 12 --mode Game"},
      {"not for ever as orvctl does not stay", "not for ever as orvctl does\nnot stay"}};
  for (const auto& one : cases) {
    std::ostringstream results, notices;
    Output output(results, notices);
    output.UseColumns(30, 30);
    output.Line(one.text);
    output.Notice(one.text);
    EXPECT_EQ(results.str(), std::string(one.folded) + "\n");
    EXPECT_EQ(notices.str(), results.str());
  }
}

TEST(Table, NamesCannotMoveTheTerminalsCursor) {
  EXPECT_EQ(Printable("a\x1b[2Jb\nc"), "a\uFFFD[2Jb\uFFFDc");
  EXPECT_EQ(Printable("\xC2\x9B"), "\uFFFD");
  EXPECT_EQ(DisplayWidth("\U0001F50A"), 2U);
  EXPECT_EQ(DisplayWidth("\xFF"), 1U);
  EXPECT_EQ(DisplayWidth(""), 0U);
}

}  // namespace
}  // namespace orv::cli
