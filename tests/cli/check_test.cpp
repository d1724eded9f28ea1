#include "cli/check.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace orv::cli {
namespace {

const char* const kFile = R"(<orv_configuration>
  <properties>
    <control name="Product Name">Test</control>
  </properties>
  <operating_mode>
    <control name="ZAPO3-Operating Mode">Movie</control>
    <control name="ZAPO3-Speaker Type">Internal</control>
    <control name="A" public="true">1</control>
    <control>2</control>
    <chain><process tech_id="core"/></chain>
    <chain_v2 position="SFX"><process tech_id="core"/></chain_v2>
    <chain_v2 position="sfx"><process tech_id="core"/></chain_v2>
  </operating_mode>
  <operating_mode selector="dsp">
    <control name="ZAPO3-Operating Mode">Movie</control>
    <control name="ZAPO3-Speaker Type">Internal</control>
  </operating_mode>
  <operating_mode selector="DSP">
    <control name="ZAPO3-Operating Mode">Movie</control>
    <control name="ZAPO3-Speaker Type">Internal</control>
  </operating_mode>
</orv_configuration>)";

std::vector<std::string> Places(const CheckReport& report, const std::string& code) {
  std::vector<std::string> places;
  for (const Finding& finding : report.findings)
    if (finding.code == code)
      places.push_back(std::to_string(finding.line) + " " + SeverityWord(finding.severity));
  return places;
}

using Words = std::vector<std::string>;

TEST(Check, OnePassSeesBothTypesAndAllLocationsAndTellsEachFindingOnce) {
  const CheckReport report = CheckConfiguration(kFile, nullptr);
  EXPECT_EQ(report.status, 0U);
  EXPECT_FALSE(report.clean());
  ASSERT_EQ(report.modes.size(), 3U);
  EXPECT_EQ(report.modes[0].name, "ApoOpMode:Movie/Internal");
  EXPECT_EQ(report.modes[0].line, 5);
  EXPECT_EQ(report.modes[0].public_controls, 1U);
  EXPECT_EQ(report.modes[0].chains, (std::array<std::size_t, 4>{1, 1, 0, 0}));
  EXPECT_EQ(report.modes[1].config, 1);
  EXPECT_EQ(Places(report, "control-without-name"), (Words{"9 warning"}));
  EXPECT_EQ(Places(report, "unknown-position"), (Words{"12 warning"}));
  // The same mode for the other type is no duplicate; twice for one type is.
  EXPECT_EQ(Places(report, "duplicate-mode"), (Words{"18 warning"}));
  EXPECT_TRUE(std::is_sorted(report.findings.begin(), report.findings.end(),
                             [](const Finding& a, const Finding& b) { return a.line < b.line; }));
}

TEST(Check, ModesForAnotherTypeOrLocationAloneKeepAFileClean) {
  const CheckReport report = CheckConfiguration(R"(<orv_configuration>
  <properties><control name="P">1</control></properties>
  <operating_mode selector="dsp">
    <control name="ZAPO3-Operating Mode">Movie</control>
    <control name="ZAPO3-Speaker Type">Internal</control>
    <chain_v2 position="EFX"><process tech_id="core"/></chain_v2>
  </operating_mode>
  <operating_mode>
    <control name="ZAPO3-Operating Mode">Movie</control>
    <control name="ZAPO3-Speaker Type">Internal</control>
  </operating_mode>
</orv_configuration>)",
                                                nullptr);
  EXPECT_TRUE(report.clean());
  EXPECT_TRUE(report.findings.empty());
  ASSERT_EQ(report.modes.size(), 2U);
  EXPECT_EQ(report.modes[0].config, 1);
  EXPECT_EQ(report.modes[0].chains, (std::array<std::size_t, 4>{0, 0, 0, 1}));
}

TEST(Check, ModeWithoutKeyIsAnErrorWhicheverTypeReadsIt) {
  const CheckReport report = CheckConfiguration(R"(<orv_configuration>
  <properties><control name="P">1</control></properties>
  <operating_mode selector="dsp"><control name="A">1</control></operating_mode>
</orv_configuration>)",
                                                nullptr);
  EXPECT_EQ(Places(report, "mode-without-key"), (Words{"3 error"}));
}

TEST(Check, NamesThatCannotBeStoredAreRemarkedOn) {
  const CheckReport report = CheckConfiguration(R"(<orv_configuration>
  <properties><control name="P">1</control></properties>
  <operating_mode>
    <control name="ZAPO3-Operating Mode">Movie
    </control>
    <control name="ZAPO3-Speaker Type">Internal</control>
    <control name="two&#10;lines">1</control>
    <control name=")" + std::string(1024, 'x') +
                                                    R"(">1</control>
    <control name=")" + std::string(1025, 'x') +
                                                    R"(">1</control>
  </operating_mode>
</orv_configuration>)",
                                                nullptr);
  EXPECT_EQ(Places(report, "line-end-in-name"), (Words{"4 warning", "7 warning"}));
  EXPECT_EQ(Places(report, "name-too-long"), (Words{"9 warning"}));
}

TEST(Check, UnusableDocumentsAreExplained) {
  EXPECT_EQ(CheckConfiguration("<orv_configuration>\n<a>\n</b>", nullptr).status, 6U);
  EXPECT_EQ(
      Places(CheckConfiguration("<orv_configuration>\n<a>\n</b>", nullptr), "parse-error").size(),
      1U);
  EXPECT_EQ(CheckConfiguration("", nullptr).status, 6U);
  EXPECT_FALSE(CheckConfiguration("<other/>", nullptr).findings.empty());
}

}  // namespace
}  // namespace orv::cli
