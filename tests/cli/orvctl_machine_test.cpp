#include "cli/client/catalog.h"
#include "cli/client/host.h"
#include "cli/commands/commands.h"
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

}  // namespace
}  // namespace orv::cli
