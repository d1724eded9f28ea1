#include "cli/show/select.h"

#include <gtest/gtest.h>

#include <limits>

#include "cli/show/failure.h"

namespace orv::cli {
namespace {

using Indices = std::vector<std::size_t>;

const std::vector<std::string> kModes = {"ApoOpMode:Movie/Internal", "ApoOpMode:Movie/External",
                                         "ApoOpMode:Music/Internal", "ApoOpMode:music/internal",
                                         "ApoOpMode:Movie"};

TEST(Select, AnyPartThatFitsOneNameSelectsIt) {
  EXPECT_EQ(SelectByPart(kModes, "external").index, 1U);
  EXPECT_EQ(SelectByPart(kModes, "MOVIE/INT").index, 0U);
}

TEST(Select, ExactNameWinsOverPartsAndOtherLetterCase) {
  EXPECT_EQ(SelectByPart(kModes, "ApoOpMode:Movie").index, 4U);
  EXPECT_EQ(SelectByPart(kModes, "ApoOpMode:music/internal").index, 3U);
  EXPECT_EQ(SelectByPart(kModes, "apoopmode:movie").index, 4U);
}

TEST(Select, SeveralFittingNamesAreCandidatesAndNoneIsSelected) {
  const Selection selection = SelectByPart(kModes, "Internal");
  EXPECT_FALSE(selection.index);
  EXPECT_EQ(selection.candidates, (Indices{0, 2, 3}));
  EXPECT_FALSE(SelectByPart(kModes, "APOOPMODE:MUSIC/INTERNAL").index);
  EXPECT_TRUE(SelectByPart(kModes, "").candidates.empty());
}

TEST(Select, MisspeltNameIsAnsweredWithTheNearestOne) {
  const std::vector<std::string> commands = {"endpoints", "modes", "controls", "set"};
  EXPECT_EQ(NearestName(commands, "endpionts"), "endpoints");
  EXPECT_EQ(NearestName(commands, "MODE"), "modes");
  EXPECT_EQ(NearestName({"VQ3D-DPHD Boost Split"}, "boost"), "VQ3D-DPHD Boost Split");
  EXPECT_FALSE(NearestName(commands, "xylophone"));
  EXPECT_FALSE(NearestName({}, "modes"));
}

TEST(Select, NumbersAreWholeAndFit32Bits) {
  EXPECT_EQ(ParseNumber("-2147483648"), std::numeric_limits<int>::min());
  EXPECT_EQ(ParseNumber("+7"), 7);
  for (const char* text : {"", "-", "+", "+-7", "2147483648", "7 ", " 7", "0x7", "7.0", "7e2"})
    EXPECT_FALSE(ParseNumber(text)) << text;
}

}  // namespace
}  // namespace orv::cli
