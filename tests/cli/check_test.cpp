#include "cli/offline/check.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace orv::cli {
namespace {

const std::string kKey = R"(<control name="ZAPO3-Operating Mode">Movie</control>
<control name="ZAPO3-Speaker Type">Internal</control>
)";

// Its modes begin on line 3.
CheckReport CheckModes(const std::string& modes) {
  const std::string properties = R"(<properties><control name="P">1</control></properties>)";
  return CheckConfiguration(
      "<orv_configuration>\n" + properties + "\n" + modes + "</orv_configuration>", nullptr);
}

std::vector<std::string> Places(const CheckReport& report, const std::string& code) {
  std::vector<std::string> places;
  for (const ConfigurationFinding& finding : report.findings)
    if (finding.code == code)
      places.push_back(std::to_string(finding.line) + " " + SeverityWord(finding.severity));
  return places;
}

using Words = std::vector<std::string>;

TEST(Check, CoversBothTypesAndAllLocationsAndReportsEachFindingOnce) {
  const std::string dsp = "<operating_mode selector=\"dsp\">\n" + kKey + "</operating_mode>\n";
  const CheckReport report = CheckModes("<operating_mode>\n" + kKey + R"(
    <control name="A" public="true">1</control>
    <control>2</control>
    <chain><process tech_id="core"/></chain>
    <chain_v2 position="SFX"><process tech_id="core"/></chain_v2>
    <chain_v2 position="sfx"><process tech_id="core"/></chain_v2>
  </operating_mode>
)" + dsp + dsp);
  EXPECT_EQ(report.status, LoadStatus::Loaded);
  EXPECT_FALSE(report.clean());
  ASSERT_EQ(report.modes.size(), 3U);
  EXPECT_EQ(report.modes[0].name, "ApoOpMode:Movie/Internal");
  EXPECT_EQ(report.modes[0].line, 3);
  EXPECT_EQ(report.modes[0].public_controls, 1U);
  EXPECT_EQ(report.modes[0].chains, (std::array<std::size_t, 4>{1, 1, 0, 0}));
  EXPECT_EQ(report.modes[1].config, 1);
  EXPECT_EQ(Places(report, "control-without-name"), (Words{"8 warning"}));
  EXPECT_EQ(Places(report, "unknown-position"), (Words{"11 warning"}));
  // A mode twice for one type is a duplicate, the same mode for the other type is not.
  EXPECT_EQ(Places(report, "duplicate-mode"), (Words{"17 warning"}));
  EXPECT_TRUE(std::ranges::is_sorted(report.findings, {}, &ConfigurationFinding::line));
}

TEST(Check, ModesOnOneLineKeepTheirOwnChains) {
  const auto mode = [](const std::string& position) {
    return "<operating_mode>" + std::string(kKey).replace(kKey.find("Movie"), 5, position) +
           "<chain_v2 position=\"" + position + "\"><process tech_id=\"core\"/></chain_v2>" +
           "</operating_mode>";
  };
  std::string xml = mode("SFX") + mode("EFX");
  std::replace(xml.begin(), xml.end(), '\n', ' ');
  const CheckReport report = CheckModes(xml);
  ASSERT_EQ(report.modes.size(), 2U);
  EXPECT_EQ(report.modes[0].chains, (std::array<std::size_t, 4>{0, 1, 0, 0}));
  EXPECT_EQ(report.modes[1].chains, (std::array<std::size_t, 4>{0, 0, 0, 1}));
}

TEST(Check, ModesForAnotherTypeOrLocationAloneKeepAFileClean) {
  const CheckReport report = CheckModes(
      "<operating_mode selector=\"dsp\">" + kKey +
      R"(<chain_v2 position="EFX"><process tech_id="core"/></chain_v2></operating_mode>)" +
      "<operating_mode>" + kKey + "</operating_mode>");
  EXPECT_TRUE(report.clean());
  EXPECT_TRUE(report.findings.empty());
  ASSERT_EQ(report.modes.size(), 2U);
  EXPECT_EQ(report.modes[0].chains, (std::array<std::size_t, 4>{0, 0, 0, 1}));
}

TEST(Check, KeysAndNamesThatCannotBeUsedAreFindings) {
  EXPECT_EQ(Places(CheckModes("<operating_mode selector=\"dsp\"/>"), "mode-without-key"),
            (Words{"3 error"}));
  const auto control = [](const std::string& name) {
    return "<control name=\"" + name + "\">1\n</control>\n";
  };
  std::string shouting = kKey;
  shouting.replace(shouting.find("Movie"), 5, "MOVIE");
  const CheckReport report = CheckModes(
      "<operating_mode>" + kKey + control("two&#10;lines") + control(std::string(1024, 'x')) +
      control(std::string(1025, 'x')) + control("ZAPO3-Operating Mode") + control("Level") +
      control("LEVEL") + control("Café") + "</operating_mode><operating_mode>" + kKey +
      "</operating_mode><operating_mode>" + shouting + "</operating_mode>");
  EXPECT_EQ(Places(report, "line-end-in-name"), (Words{"5 warning", "11 warning"}));
  EXPECT_EQ(Places(report, "name-too-long"), (Words{"9 warning"}));
  EXPECT_EQ(Places(report, "same-stored-name"), (Words{"15 warning", "21 warning"}));
  EXPECT_EQ(Places(report, "name-not-ascii"), (Words{"17 warning"}));
}

TEST(Check, UnusableDocumentsAreExplained) {
  const CheckReport broken = CheckConfiguration("<orv_configuration>\n<a>\n</b>", nullptr);
  EXPECT_EQ(broken.status, LoadStatus::NoDocument);
  EXPECT_EQ(Places(broken, "parse-error").size(), 1U);
  EXPECT_EQ(CheckConfiguration("", nullptr).status, LoadStatus::NoDocument);
  EXPECT_FALSE(CheckConfiguration("<other/>", nullptr).findings.empty());
}

}  // namespace
}  // namespace orv::cli
