#include <algorithm>

#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

constexpr char kMovie[] = "ApoOpMode:Movie/Internal";
constexpr char kMusic[] = "ApoOpMode:Music/Internal";
constexpr char kLevel[] = "VQ3D-DPHD Level";

TEST(Orvctl, EndpointsAreToldWithTheirDocumentedKeys) {
  const ProgramOnMachine program;
  const Json endpoints = program.Answer({"endpoints"});
  ASSERT_EQ(endpoints.size(), 3U);
  EXPECT_EQ(Keys(endpoints[0]), (std::vector<std::string>{"id", "name", "config_file",
                                                          "registry_path", "mode", "headset"}));
  EXPECT_EQ(endpoints[0]["mode"], kMovie);
  EXPECT_EQ(endpoints[0]["headset"], "absent");
  EXPECT_EQ(endpoints[1]["headset"], "connected");
  EXPECT_EQ(endpoints[2]["headset"], "unknown");
}

TEST(Orvctl, AnEndpointIsItsNumberItsIdentifierOrPartOfItsName) {
  const ProgramOnMachine program;
  const Json by_number = program.Answer({"properties", "2"});
  EXPECT_EQ(program.Answer({"properties", "hdmi"}), by_number);
  EXPECT_EQ(program.Answer({"properties", program.Answer({"endpoints"})[2]["id"]}), by_number);
  EXPECT_NE(program.Answer({"properties", "0"}), by_number);
}

TEST(Orvctl, OneControlIsSetAndReadBack) {
  const ProgramOnMachine program;
  const Json set = program.Answer({"set", "0", kLevel, "12", "--mode", "Game/Internal"});
  EXPECT_EQ(Keys(set), (std::vector<std::string>{"name", "display", "value", "text", "min", "max",
                                                 "scale", "choices"}));
  EXPECT_EQ(set["value"], 12);
  EXPECT_EQ(program.Answer({"get", "0", kLevel, "--mode", "Game/Internal"}), set);
  EXPECT_NE(program.Answer({"get", "0", kLevel})["value"], 12);
}

TEST(Orvctl, ChoicesAreTakenByTextAndByPosition) {
  const ProgramOnMachine program;
  const Json by_text = program.Answer({"set", "0", "VQ3D-Main Tech", "vq3d-amhd"});
  EXPECT_EQ(by_text["text"], "VQ3D-AMHD");
  EXPECT_EQ(by_text["choices"][by_text["value"].get<std::size_t>()], "VQ3D-AMHD");
  EXPECT_EQ(program.Answer({"set", "0", "VQ3D-Main Tech", "2"}), by_text);
}

TEST(Orvctl, ValuesOutOfRangeAreRefusedUnlessForced) {
  const ProgramOnMachine program;
  const Json before = program.Answer({"get", "0", kLevel});
  for (const char* value : {"101", "-1", "2147483648", "12.5", ""})
    EXPECT_EQ(program.Run({"set", "0", kLevel, value}).status, 2) << value;
  EXPECT_EQ(program.Answer({"get", "0", kLevel}), before);
  EXPECT_EQ(program.Answer({"set", "0", kLevel, "101", "--force"})["value"], 101);
}

TEST(Orvctl, PrivateControlsShowTheFilesValueAndCannotBeChanged) {
  const ProgramOnMachine program;
  const Json controls = program.Answer({"controls", "0", "--list", "private"});
  const auto focus = std::find_if(controls.begin(), controls.end(), [](const Json& control) {
    return control["name"] == "VQ3D-WIDHD Focus Level";
  });
  ASSERT_NE(focus, controls.end());
  EXPECT_EQ((*focus)["value"], 30);
  const Result refused = program.Run({"set", "0", "VQ3D-WIDHD Focus Level", "5"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(refused.Says("0x80004005")) << refused.errors;
}

TEST(Orvctl, WithoutATechnologyLibraryControlsHaveNumbersButNoDescription) {
  const ProgramOnMachine program;
  const Json level = program.Answer({"get", "0", kLevel, "--technology", "C:\\Nowhere"});
  EXPECT_EQ(level["value"], program.Answer({"get", "0", kLevel})["value"]);
  EXPECT_EQ(level["display"], "");
  EXPECT_EQ(level["scale"], "unknown");
  EXPECT_TRUE(level["choices"].is_null());
}

TEST(Orvctl, TheCurrentModeIsSwitchedAndReset) {
  const ProgramOnMachine program;
  EXPECT_EQ(program.Answer({"mode", "0", "voice"})["name"], "ApoOpMode:Voice/Internal");
  const Json modes = program.Answer({"modes", "0"});
  EXPECT_EQ(modes[2], Json({{"name", "ApoOpMode:Voice/Internal"}, {"current", true}}));
  EXPECT_EQ(std::count_if(modes.begin(), modes.end(),
                          [](const Json& mode) { return mode["current"].get<bool>(); }),
            1);
  EXPECT_EQ(program.Answer({"mode", "0", "--default"})["name"], kMusic);
}

TEST(Orvctl, DefaultModeThatCouldNotBeStoredIsTold) {
  const ProgramOnMachine program;
  Json machine = Json::parse(FileText(program.machine() / "machine.json"), nullptr, true, true);
  machine["faults"] = {{{"operation", "registry.set_value"}, {"nth", "always"}, {"status", 5}}};
  WriteText(program.machine() / "machine.json", machine.dump());
  const Result result = program.Run({"--json", "mode", "0", "--default"});
  EXPECT_EQ(result.status, 3) << result.errors;
  EXPECT_EQ(result.json()["name"], kMovie);
  EXPECT_TRUE(result.Says(kMusic)) << result.errors;
}

TEST(Orvctl, OnlyTheEndpointAskedForHasToLoadWithTheConfigurationType) {
  const ProgramOnMachine program;
  const auto file =
      program.machine() / "drive_c" / "ProgramData" / "ORV Labs" / "APO" / "hdmi_config.xml";
  std::string text = FileText(file);
  text.insert(text.rfind("</"), "<operating_mode selector=\"dsp\"/>\n");
  WriteText(file, text);
  EXPECT_EQ(program.Answer({"modes", "0", "--config", "1"}).size(), 2U);
  EXPECT_EQ(program.Run({"modes", "2", "--config", "1"}).status, 1);
}

TEST(Orvctl, TechnologyLibraryIsFoundWhereTheEndpointKeepsItsValues) {
  const ProgramOnMachine program;
  const auto registry = program.machine() / "registry.reg";
  std::string text = FileText(registry);
  const std::string path = program.Answer({"endpoints"})[0]["registry_path"];
  const std::string guid = path.substr(path.rfind('\\') + 1);
  const auto append = [&](const std::string& key, const std::string& name,
                          const std::string& value) {
    text += "\r\n[HKEY_LOCAL_MACHINE\\" + key + "]\r\n\"" + name + "\"=\"" + value + "\"\r\n";
  };
  append("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\MMDevices\\Audio\\Render\\" + guid +
             "\\Properties",
         "{1028ECF3-0EB3-440C-9B9B-C2A7B8303FCA},0", "Software\\\\Elsewhere");
  append("Software\\Elsewhere", "OrvApoTechDllPath", "C:\\\\Nowhere\\\\kxtech64.dll");
  WriteText(registry, text);
  EXPECT_EQ(program.Answer({"get", "1", kLevel})["scale"], "unknown");
}

TEST(Orvctl, UnknownStoredModeIsToldWithItsStatusAndARemedy) {
  const ProgramOnMachine program("broken");
  EXPECT_TRUE(program.Answer({"endpoints"})[1]["mode"].is_null());
  const Result result = program.Run({"mode", "Cut Images"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.Says("0x80070490")) << result.errors;
  EXPECT_TRUE(result.Says("--default"));
  EXPECT_EQ(program.Answer({"mode", "Cut Images", "--default"})["name"], kMusic);
}

TEST(Orvctl, ProcessingIsSwitchedForTheWholeEndpoint) {
  const ProgramOnMachine program;
  EXPECT_EQ(program.Answer({"enable", "0"})["enabled"], true);
  EXPECT_EQ(program.Answer({"enable", "0", "off"})["enabled"], false);
  program.Answer({"mode", "0", "Game/Internal"});
  EXPECT_EQ(program.Answer({"enable", "0"})["enabled"], false);
  EXPECT_EQ(program.Answer({"enable", "1"})["enabled"], true);
}

TEST(Orvctl, RestoreBringsAModesDefaultsBack) {
  const ProgramOnMachine program;
  program.Answer({"set", "0", kLevel, "3"});
  const Json restored = program.Answer({"restore", "0"});
  const Json defaults = program.Answer({"controls", "0", "--list", "default"});
  for (const Json& control : restored)
    EXPECT_NE(std::find(defaults.begin(), defaults.end(), control), defaults.end()) << control;
}

TEST(Orvctl, ConfigurationTypeIsShownAndReloaded) {
  const ProgramOnMachine program;
  EXPECT_EQ(program.Answer({"config", "0"})["config"], 0);
  EXPECT_EQ(program.Answer({"config", "0", "1"})["config"], 1);
  EXPECT_EQ(program.Answer({"modes", "0", "--config", "1"}).size(), 2U);
}

TEST(Orvctl, PropertiesAreListedAndFoundWhateverTheirLetterCase) {
  const ProgramOnMachine program;
  const Json one = program.Answer({"properties", "0", "product name"});
  EXPECT_EQ(one, Json({{{"key", "Product Name"}, {"value", "ORV Sound for Laptops"}}}));
  EXPECT_EQ(program.Run({"properties", "0", "Product Nam"}).status, 2);
}

TEST(Orvctl, RegistrationLeavesNothingBehind) {
  const ProgramOnMachine program;
  for (const Arguments& scope : {Arguments{}, Arguments{"--user"}}) {
    Arguments add = {"register"};
    Arguments remove = {"unregister"};
    add.insert(add.end(), scope.begin(), scope.end());
    remove.insert(remove.end(), scope.begin(), scope.end());
    const Json added = program.Answer(add)["keys"];
    EXPECT_GE(added.size(), 12U);
    const std::string root = scope.empty() ? "HKEY_CLASSES_ROOT\\" : "HKEY_CURRENT_USER\\";
    EXPECT_EQ(added[0].get<std::string>().find(root), 0U);
    EXPECT_EQ(program.Answer(remove)["keys"], added);
    EXPECT_TRUE(program.Answer(remove)["keys"].empty());
  }
}

TEST(Orvctl, DoctorFindsAHealthyMachineHealthyAndTellsWhatIsWrongWithABrokenOne) {
  const ProgramOnMachine healthy;
  for (const Json& check : healthy.Answer({"doctor"})) EXPECT_EQ(check["ok"], true) << check;
  healthy.Answer({"enable", "0", "off"});
  EXPECT_EQ(healthy.Run({"doctor", "0"}).status, 3);
  EXPECT_EQ(healthy.Run({"doctor", "1"}).status, 0);

  const ProgramOnMachine broken("broken");
  const Result result = broken.Run({"--json", "doctor", "Messy"});
  EXPECT_EQ(result.status, 3);
  const Json checks = result.json();
  const auto file = std::find_if(checks.begin(), checks.end(), [](const Json& check) {
    return check["check"] == "configuration file";
  });
  ASSERT_NE(file, checks.end());
  EXPECT_EQ((*file)["ok"], false);
  EXPECT_NE((*file)["remedy"].get<std::string>().find("orvctl check"), std::string::npos);
}

}  // namespace
}  // namespace orv::cli
