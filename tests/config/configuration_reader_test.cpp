#include "config/configuration_reader.h"

#include <gmock/gmock.h>
#include <tinyxml2.h>

#include "config/control_lists.h"

namespace orv {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::Pair;
using testing::StrEq;

constexpr char kMovieKey[] =
    "<control name='ZAPO3-Operating Mode'>Movie</control>"
    "<control name='ZAPO3-Speaker Type'>Internal</control>";

struct Reading {
  LoadStatus status = LoadStatus::Loaded;
  ConfigurationContent content;
  std::vector<ConfigurationFinding> findings;

  const ORVAPOOperatingMode& mode(std::size_t index) const { return *content.modes.at(index); }
  std::vector<std::string> codes() const {
    std::vector<std::string> codes;
    for (const ConfigurationFinding& one : findings) codes.emplace_back(one.code);
    return codes;
  }
};

// Names of the modes' keys, each with the number of its chains.
std::vector<std::pair<std::wstring, std::size_t>> Keys(const ConfigurationContent& content) {
  std::vector<std::pair<std::wstring, std::size_t>> keys;
  for (const auto& mode : content.modes)
    keys.emplace_back(mode->GetModeKey().GetModeName(), mode->GetChainDefinition().size());
  return keys;
}

Reading Read(const std::string& xml, std::uint32_t type = 0, std::uint32_t location = 0) {
  const auto document = std::make_shared<tinyxml2::XMLDocument>();
  document->Parse(xml.c_str());
  Reading reading;
  reading.status =
      ReadConfiguration(*document, type, location, reading.content,
                        [&](ConfigurationFinding one) { reading.findings.push_back(one); });
  // Deferred reading gives the same.
  ConfigurationContent deferred;
  const auto shared = std::make_shared<SharedDocument>();
  shared->document = document;
  EXPECT_EQ(ReadConfigurationDeferred(shared, type, location, deferred), reading.status) << xml;
  EXPECT_EQ(Keys(deferred), Keys(reading.content)) << xml;
  return reading;
}

std::string InRoot(const std::string& content) {
  return "<orv_configuration>\n" + content + "</orv_configuration>";
}

// A mode with the key Movie/Internal in a document that loads.
std::string WithMode(const std::string& content, const std::string& attributes = "") {
  return InRoot("<properties><control name='a'>1</control></properties>\n<operating_mode " +
                attributes + ">" + kMovieKey + content + "</operating_mode>");
}

TEST(ConfigurationReader, StatusFollowsTheElementsInDocumentOrder) {
  const std::string good = std::string("<operating_mode>") + kMovieKey + "</operating_mode>";
  const std::string bad = "<operating_mode/>";
  const std::string public_key =
      "<operating_mode><control name='ZAPO3-Operating Mode' public='true'>Movie</control>"
      "<control name='ZAPO3-Speaker Type'>Internal</control></operating_mode>";
  const std::string properties = "<properties><control name='a'>1</control></properties>";
  const std::tuple<std::string, std::uint32_t, std::size_t> cases[] = {
      {"", 6, 0},
      {"<orv_configuration>", 6, 0},
      {"<orv_configuration/>", 6, 0},
      {"<configuration>" + properties + "</configuration>", 6, 0},
      {"<ORV_Configuration>" + properties + "</ORV_Configuration>", 0, 0},
      {InRoot(good), 6, 1},
      {InRoot("<properties>\n</properties>" + good), 2, 1},
      {InRoot("<properties><!-- none --></properties>"), 0, 0},
      {InRoot(properties + bad), 3, 0},
      {InRoot(bad + properties), 0, 0},
      {InRoot(properties + public_key), 3, 0},
      {InRoot(properties + bad + good), 3, 1},
      {InRoot(properties + good + "<properties/>"), 2, 1},
  };
  for (const auto& [xml, status, modes] : cases) {
    const Reading reading = Read(xml);
    EXPECT_EQ(NumberOf(reading.status), status) << xml;
    EXPECT_EQ(reading.content.modes.size(), modes) << xml;
  }
}

TEST(ConfigurationReader, LastPropertiesReplaceEarlierOnesButNotTheProductName) {
  const Reading reading =
      Read(InRoot("<properties><control name='Product Name'>Speaker &amp; Co</control></properties>"
                  "<PROPERTIES><Control name='b'>1</Control><control name='b'>2</control>"
                  "<control name='B'>3</control></PROPERTIES>"));
  EXPECT_EQ(reading.content.product_name, L"Speaker & Co");
  EXPECT_THAT(Texts(reading.content.properties), ElementsAre(Pair("B", "3"), Pair("b", "2")));
}

TEST(ConfigurationReader, ControlTextIsTheLastChildWhateverItIs) {
  const Reading reading =
      Read(InRoot("<properties><control name='text'><!-- first --> two words </control>"
                  "<control name='data'><![CDATA[<x>]]></control>"
                  "<control name='comment'>text<!--last--></control>"
                  "<control name='element'>text<inner/></control>"
                  "<control name='entity'>&unknown;&#65;</control>"
                  "<control name='blank'>  </control><control name='empty'></control>"
                  "<control name=''>x</control><control Name='case'>x</control></properties>"));
  EXPECT_THAT(Texts(reading.content.properties),
              ElementsAre(Pair("comment", "last"), Pair("data", "<x>"), Pair("element", "inner"),
                          Pair("entity", "&unknown;A"), Pair("text", " two words ")));
}

TEST(ConfigurationReader, SeparatesPublicControlsPrivateControlsAndTheKey) {
  const Reading reading = Read(
      WithMode("<control name='p' public='TRUE'>1</control><control name='q' public='1'>2</control>"
               "<control name='r'>3</control><control name='p'>4</control>",
               "auto_mic='True'"));
  ASSERT_EQ(reading.content.modes.size(), 1U);
  EXPECT_THAT(Texts(reading.mode(0).GetPublicControls()), ElementsAre(Pair("p", "1")));
  EXPECT_THAT(Texts(reading.mode(0).GetPrivateControls()),
              ElementsAre(Pair("p", "4"), Pair("q", "2"), Pair("r", "3")));
  EXPECT_THAT(Texts(reading.mode(0).GetDefaultControls()),
              ElementsAre(Pair("p", "4"), Pair("q", "2"), Pair("r", "3")));
  EXPECT_TRUE(reading.mode(0).IsAutoMic());
  EXPECT_THAT(reading.content.mode_lines, ElementsAre(3));

  const Reading public_key =
      Read(WithMode("<control name='ZAPO3-Operating Mode' public='true'>Music</control>"
                    "<control name='ZAPO3-Speaker Type'>External</control>"));
  EXPECT_EQ(public_key.mode(0).GetModeKey().GetModeName(), L"ApoOpMode:Movie/External");
}

TEST(ConfigurationReader, SelectorChoosesTheModesOfAType) {
  // With the one configuration type that has the mode.
  const std::pair<const char*, std::uint32_t> cases[] = {
      {"", 0}, {"selector=''", 0}, {"selector='DSP'", 1}, {"selector='cpu'", 9}};
  for (const auto& [attributes, owner] : cases) {
    for (std::uint32_t type = 0; type < 3; ++type) {
      const Reading reading = Read(WithMode("", attributes), type);
      EXPECT_EQ(reading.status, LoadStatus::Loaded);
      EXPECT_EQ(reading.content.modes.size(), type == owner ? 1U : 0U) << attributes << type;
    }
  }
}

std::vector<std::string> Technologies(const Reading& reading) {
  std::vector<std::string> technologies;
  for (const ORVAPOChain& chain : reading.mode(0).GetChainDefinition())
    technologies.push_back(chain.processes.at(0).technology);
  return technologies;
}

TEST(ConfigurationReader, LocationChoosesTheChains) {
  const std::string xml = WithMode(
      "<chain><process tech_id='plain'/></chain>"
      "<chain_v2 position='SFX'><process tech_id='stream'/></chain_v2>"
      "<chain_v2 position='EFX'><process tech_id='endpoint'/></chain_v2>"
      "<chain_v2 position='efx'><process tech_id='never'/></chain_v2>"
      "<chain_v2 position='PreBlue'><process tech_id='never'/></chain_v2>"
      "<chain_v2><process tech_id='never'/></chain_v2>");
  const std::vector<std::string> expected[] = {{"plain"}, {"stream"}, {}, {"endpoint"}, {}};
  for (std::uint32_t location = 0; location < std::size(expected); ++location)
    EXPECT_EQ(Technologies(Read(xml, 0, location)), expected[location]) << location;
}

TEST(ConfigurationReader, ChainKeepsProcessesControlsAndLayouts) {
  const Reading reading =
      Read(WithMode("<chain type='CAPTURE' input='Stereo;5.1 Surround' output='none'>"
                    "<process/><process tech_id=''/>"
                    "<process tech_id='eq' instance_id='2' hook='pre'/><process tech_id='limit'/>"
                    "<control name='c' public='true'>7</control></chain>"
                    "<chain type='x' input=''><control name='c'>7</control></chain>"));
  ASSERT_EQ(reading.mode(0).GetChainDefinition().size(), 1U);
  const ORVAPOChain& chain = reading.mode(0).GetChainDefinition()[0];
  EXPECT_FALSE(chain.render);
  EXPECT_EQ(chain.input_layouts, kLayoutStereo | kLayout51);
  EXPECT_EQ(chain.output_layouts, 0U);
  ASSERT_EQ(chain.processes.size(), 2U);
  EXPECT_EQ(chain.processes[0].instance, "2");
  EXPECT_EQ(chain.processes[0].hook, "pre");
  EXPECT_EQ(chain.processes[1].technology, "limit");
  EXPECT_THAT(Texts(chain.controls), ElementsAre(Pair("c", "7")));
  const std::pair<std::string, std::uint32_t> layouts[] = {
      {"Stereo,;, 7.1 Surround!", kLayoutStereo | kLayout71},
      {"Mono or Stereo", kLayoutMono},
      {"Mono;Any", kAnyLayout},
      {"stereo;;", 0U}};
  for (const auto& [list, mask] : layouts) {
    const std::string one = "<chain input='" + list + "'><process tech_id='eq'/></chain>";
    EXPECT_EQ(Read(WithMode(one)).mode(0).GetChainDefinition()[0].input_layouts, mask) << list;
  }
}

TEST(ConfigurationReader, FindingsHaveLinesAndErrorsAreThoseOfTheStatus) {
  const Reading reading = Read(
      InRoot("<properties/>\n<operating_mode selector='dsp'/>\n<operating_mode/>\n<a/> text\n"));
  const auto finding = [](const char* code, int line, ConfigurationFinding::Severity severity) {
    return AllOf(Field(&ConfigurationFinding::code, StrEq(code)),
                 Field(&ConfigurationFinding::line, line),
                 Field(&ConfigurationFinding::severity, severity));
  };
  using enum ConfigurationFinding::Severity;
  EXPECT_THAT(
      reading.findings,
      ElementsAre(finding("empty-properties", 2, Error), finding("mode-selector", 3, Note),
                  finding("mode-without-key", 3, Warning), finding("mode-without-key", 4, Error),
                  finding("unknown-element", 5, Warning), finding("stray-text", 5, Note),
                  finding("no-modes", 0, Warning)));
  EXPECT_THAT(Read("<x>").codes(), ElementsAre("parse-error"));
  EXPECT_THAT(Read(InRoot("<a/>")).codes(), Contains("no-properties"));
}

TEST(ModeKey, IsValidWhenBothTextsDifferFromTheirDefaults) {
  ORVAPOModeKey key = Key("Movie", "Internal");
  for (const auto& other : {ORVAPOModeKey(), Key("Movie", kDisabledSpeakerType),
                            Key(kUndefinedOperatingMode, "Internal")})
    EXPECT_FALSE(other.IsValid() || key.Equals(other));
  EXPECT_TRUE(key.IsValid());
  EXPECT_TRUE(key.Equals(Key("Movie", "Internal")));
  EXPECT_FALSE(key.Equals(Key("movie", "Internal")));
  EXPECT_FALSE(key.ReadFrom(ListOf({{kOperatingModeControl, "Music"}})));
  EXPECT_EQ(key.GetModeName(), L"ApoOpMode:Music/ZAPO3-Disabled");
}

TEST(OperatingMode, DeferredContentIsReadOnceForAllCopies) {
  int readings = 0;
  const ORVAPOOperatingMode mode(Key("Movie", "Internal"), true, [&](ORVAPOModeContent& content) {
    if (++readings == 1) throw std::bad_alloc();
    content.public_controls = ListOf({{"A", "1"}});
  });
  const ORVAPOOperatingMode copy = mode;
  EXPECT_THROW(mode.GetPublicControls(), std::bad_alloc);
  EXPECT_EQ(mode.GetDefaultControls().Count(), 1U);
  EXPECT_EQ(copy.GetPublicControls().Count(), 1U);
  EXPECT_EQ(readings, 2);
}

TEST(ChainDefinition, FindsTheFirstChainThatSharesBothLayoutsAndTheDirection) {
  ORVAPOChainDefinition chains;
  const auto add = [&](std::uint32_t input, std::uint32_t output, bool render, const char* name) {
    ORVAPOChain& chain = chains.emplace_back();
    chain.input_layouts = input;
    chain.output_layouts = output;
    chain.render = render;
    chain.processes.push_back({name, "", ""});
  };
  add(kLayoutStereo, kLayoutStereo, false, "capture");
  add(kLayoutMono, kAnyLayout, true, "mono");
  add(kLayoutStereo, kLayoutStereo | kLayout51, true, "first");
  add(kAnyLayout, kAnyLayout, true, "second");
  ORVAPOChain found;
  const std::tuple<std::uint32_t, bool, const char*> searches[] = {
      {kLayoutStereo, true, "first"},
      {kLayoutStereo, false, "capture"},
      {kLayout71, true, "second"}};
  for (const auto& [layout, render, technology] : searches) {
    ASSERT_TRUE(chains.FindChain(layout, layout, found, render));
    EXPECT_EQ(found.processes.at(0).technology, technology);
  }
  for (const std::uint32_t unusable : {0U, kAnyLayout}) {
    EXPECT_FALSE(chains.FindChain(unusable, kLayoutStereo, found, true));
    EXPECT_FALSE(chains.FindChain(kLayoutStereo, unusable, found, true));
  }
  EXPECT_FALSE(chains.FindChain(kLayout71, kLayoutStereo, found, false));
}

}  // namespace
}  // namespace orv
