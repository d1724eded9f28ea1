#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <sstream>

#include "cli/client/catalog.h"
#include "cli/client/host.h"
#include "cli/commands/commands.h"
#include "cli/native/shell.h"
#include "cli/orvctl_program.h"
#include "config/mode_selector.h"
#include "endpoints/endpoint_registry.h"
#include "platform/text.h"
#include "properties/property_image.h"

namespace orv::cli {
namespace {

TEST(ChangeAndVerify, TriesThreeTimes) {
  int tries = 0;
  EXPECT_TRUE(ChangeAndVerify([&] { return ++tries == 3; }));
  EXPECT_FALSE(ChangeAndVerify([&] { return ++tries == 7; }));
}

// Compares with what a client that never set a locale reads and writes; this process is one.
void TestNamesBeyondAscii(bool latin1) {
  const auto in_file = [&](const std::string& utf8) {
    return latin1 ? Narrow(WideFromUtf8(utf8)) : utf8;
  };
  const ProgramOnMachine program;
  const std::string mode = "ApoOpMode:Kino für Zwei/Internal", control = "VQ3D-Café";
  const auto file =
      program.machine() / "drive_c" / "Program Files" / "ORV Labs" / "APO" / "orv_apo_config.xml";
  std::string text = FileText(file);
  text.insert(text.rfind("</"), in_file(R"(<operating_mode>
<control name="ZAPO3-Operating Mode">Kino für Zwei</control>
<control name="ZAPO3-Speaker Type">Internal</control>
<control name="VQ3D-Café" public="true">30</control>
</operating_mode>)"));
  WriteText(file, text);
  const std::string path = program.Answer({"endpoints"})[0]["registry_path"];
  EXPECT_EQ(program.Answer({"set", "0", control, "44", "--mode", "für zwei"})["name"], control);
  EXPECT_EQ(program.Answer({"get", "0", control, "--mode", mode})["value"], 44);

  std::filesystem::path folder = program.machine();
  const std::unique_ptr<Machine> machine = OpenMachine(folder);
  ORVAPOConfigurationFile configuration(*machine);
  ASSERT_EQ(configuration.Load(L"C:\\Program Files\\ORV Labs\\APO\\orv_apo_config.xml", 0, 0),
            LoadStatus::Loaded);
  const ORVAPOOperatingMode& added = *configuration.GetModes().back();
  std::unique_ptr<RegistryKey> key;
  ASSERT_EQ(
      machine->registry().OpenKey(RegRoot::LocalMachine, WideFromUtf8(path), kQueryAccess, key),
      kRegOk);
  std::uint32_t type = 0;
  ImageBytes image;
  EXPECT_EQ(ReadValue(*key, added.GetModeKey().GetModeName(), type, image), kRegOk);
  ORVPropertyList stored;
  EXPECT_EQ(DecodeImage(image, ImageReading::Replace, stored).fault, ImageFault::None);
  std::optional<std::wstring> value;
  for (const ORVPropertyEntry& entry : stored)
    if (entry.name == Widen(in_file(control))) value = WideTextOf(entry.value);
  EXPECT_EQ(value, L"44");

  ORVAPOModeSelector selector(*machine);
  EXPECT_TRUE(selector.Init(WideFromUtf8(path), added.GetModeKey()));
  EXPECT_TRUE(selector.SetCurrentMode(added.GetModeKey()));
  EXPECT_EQ(program.Answer({"mode", "0"})["name"], mode);
  const Result shown = program.Run({"image", "decode", "--endpoint", "0"});
  EXPECT_NE(shown.output.find(control), std::string::npos) << shown.output;

  WriteText(program.File("世.xml"), text);
  const Result refused = program.Run({"dsp", "intel", "0", "file", program.File("世.xml")});
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(refused.Reports("U+00FF")) << refused.errors;
}

TEST(OrvctlMachine, NamesBeyondAsciiAreStoredAsAnyOtherClientStoresThem) {
  TestNamesBeyondAscii(false);
  TestNamesBeyondAscii(true);
}

// Without --machine, with a data folder of the test's own.
class ProgramWithoutMachine : public Program {
 public:
  Result RunAt(const std::string& settings, const std::string& line) const {
    const std::string command = "unset ORV_MACHINE XDG_DATA_HOME; HOME=; " + settings + " " +
                                Quoted(ORV_ORVCTL) + " " + line + " >" + Quoted(File("out")) +
                                " 2>" + Quoted(File("errors")) + " </dev/null";
    const int status = std::system(command.c_str());
    return {WEXITSTATUS(status), FileText(Path("out")), FileText(Path("errors"))};
  }
};

TEST(OrvctlMachine, CommandsChangeTheUsersCopyAndResetMakesItAsNew) {
  const ProgramWithoutMachine program;
  const std::string data = "XDG_DATA_HOME=" + Quoted(program.File("data"));
  const auto copy = program.Path("data") / "orvctl" / "machines" / "skylake-laptop";
  // What only reads makes no copy.
  EXPECT_EQ(program.RunAt(data, "machine drivers").status, 0);
  EXPECT_FALSE(std::filesystem::exists(copy));
  const Result first = program.RunAt(data, "set 0 'VQ3D-DC Level' 12");
  EXPECT_EQ(first.status, 0) << first.errors;
  EXPECT_TRUE(first.Reports(copy.string())) << first.errors;
  const Result second = program.RunAt(data, "get 0 'VQ3D-DC Level'");
  EXPECT_NE(second.output.find("12 %"), std::string::npos) << second.output;
  EXPECT_EQ(second.errors, "");

  const Json machines = program.RunAt(data, "--json machine list").json();
  ASSERT_EQ(machines.size(), 4U);
  EXPECT_EQ(machines[3]["path"], copy.string());
  EXPECT_EQ(machines[3]["used"], true);
  EXPECT_EQ(machines[3]["sample"], false);
  const std::filesystem::path fresh = program.Path("fresh");
  EXPECT_EQ(program.RunAt(data, "machine new " + Quoted(fresh.string())).status, 0);
  EXPECT_NE(FileText(fresh / "registry.reg"), FileText(copy / "registry.reg"));

  EXPECT_EQ(program.RunAt(data, "machine reset").status, 0);
  EXPECT_EQ(FileText(fresh / "registry.reg"), FileText(copy / "registry.reg"));
  const Result other = program.RunAt("ORV_MACHINE=" + Quoted(fresh.string()), "machine list");
  EXPECT_NE(other.output.find("*  fresh                other   " + fresh.string()),
            std::string::npos)
      << other.output;

  EXPECT_TRUE(program.RunAt(data, "--machine broken endpoints").Reports("machines/broken"));
  EXPECT_EQ(program.RunAt(data, "machine reset skylake").status, 2);
  for (const auto& entry : std::filesystem::directory_iterator(copy.parent_path()))
    EXPECT_EQ(entry.path().filename().string().find("orvctl-"), std::string::npos);
}

TEST(OrvctlMachine, HomeHoldsTheCopyAndWithoutOneAMachineHasToBeNamed) {
  const ProgramWithoutMachine program;
  EXPECT_EQ(program.RunAt("HOME=" + Quoted(program.File("home")), "modes 0").status, 0);
  EXPECT_TRUE(std::filesystem::exists(program.Path("home") /
                                      ".local/share/orvctl/machines/skylake-laptop/machine.json"));
  const Result homeless = program.RunAt("", "modes 0");
  EXPECT_EQ(homeless.status, 1);
  EXPECT_TRUE(homeless.Reports("--machine")) << homeless.errors;
  EXPECT_EQ(program.RunAt("", "tour").status, 0);
}

TEST(OrvctlTour, LeavesNoFilesWhenItsReaderHasGone) {
  const ProgramWithoutMachine program;
  std::filesystem::create_directory(program.Path("temporary"));
  const std::string settings = "TMPDIR=" + Quoted(program.File("temporary"));
  const std::string line = settings + " bash -c \"" + ORV_ORVCTL +
                           " tour | true; exit \\${PIPESTATUS[0]}\" 2>" +
                           Quoted(program.File("errors"));
  EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), 128 + SIGPIPE);
  EXPECT_EQ(FileText(program.Path("errors")), "");
  EXPECT_TRUE(std::filesystem::is_empty(program.Path("temporary")));
}

TEST(OrvctlDiagnostics, LinesHaveTimeAndThreadAndThoseOfOpeningAreLeftOut) {
  const ProgramOnMachine program;
  const auto lines = [&](const char* option) {
    std::istringstream text(program.Run({option, "set", "0", "VQ3D-DC Level", "12"}).errors);
    std::vector<std::string> all;
    for (std::string line; std::getline(text, line);) all.push_back(line);
    return all;
  };
  const std::vector<std::string> few = lines("-v");
  const std::vector<std::string> every = lines("-vv");
  EXPECT_LT(few.size(), 10U);
  EXPECT_GT(every.size(), few.size() + 5);
  for (const std::string& line : every)
    EXPECT_THAT(line,
                testing::ContainsRegex(
                    "^[0-9:]*\\.[0-9]* \\[[0-9]+\\] (orvctl|[a-z_]+\\.cpp\\([0-9]+\\)) \\| "));
  EXPECT_THAT(few,
              testing::Contains(testing::HasSubstr(
                  "orvctl | wrote VQ3D-DC Level = 12 | HKEY_LOCAL_MACHINE\\Software\\ORV Labs")));
  // Failures to open show everything.
  EXPECT_TRUE(program.Run({"-v", "set", "9", "x", "1"}).Reports("found 3 endpoints"));
}

}  // namespace
}  // namespace orv::cli
