#include "config/configuration_file.h"

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "config/control_lists.h"
#include "simulated/simulated_machine.h"
#include "support/diagnostic_log.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::string Mode(const std::string& mode, const std::string& speaker,
                 const std::string& attributes = "", const std::string& content = "") {
  return "<operating_mode " + attributes + "><control name='ZAPO3-Operating Mode'>" + mode +
         "</control><control name='ZAPO3-Speaker Type'>" + speaker + "</control>" + content +
         "</operating_mode>";
}

std::string Configuration(const std::string& modes, const std::string& properties = "") {
  return "<orv_configuration><properties><control name='Product Name'>Panel</control>" +
         properties + "</properties>" + modes + "</orv_configuration>";
}

class ConfigurationFile : public testing::Test {
 protected:
  void Write(const std::string& name, const std::string& content) {
    std::ofstream(drive_.path() / name, std::ios::binary) << content;
  }
  LoadStatus Load(const std::wstring& path, std::uint32_t type = 0) {
    return file_.Load(path, type, 0);
  }
  std::wstring Default() const { return file_.GetDefaultModeKey().GetModeName(); }

  TemporaryFolder drive_;
  std::unique_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory({}, drive_.path());
  ORVAPOConfigurationFile file_{*machine_};
};

TEST_F(ConfigurationFile, LoadFillsEverythingAndLoadingAgainReplacesIt) {
  Write("a.xml", Configuration(Mode("Movie", "Internal", "",
                                    "<control name='c'>1</control>"
                                    "<chain_v2 position='EFX'><process tech_id='eq'/></chain_v2>") +
                               Mode("Game", "Internal", "selector='dsp'")));
  const DiagnosticLog log;
  ASSERT_EQ(Load(L"C:\\a.xml"), LoadStatus::Loaded);
  EXPECT_EQ(file_.GetProductName(), L"Panel");
  EXPECT_EQ(file_.GetEndpointConfig(), 0U);
  EXPECT_EQ(Default(), L"ApoOpMode:Movie/Internal");
  ASSERT_EQ(file_.GetModes().size(), 1U);
  const auto movie = file_.GetModes()[0];
  EXPECT_THAT(movie->GetChainDefinition(), IsEmpty());
  ORVAPOConfigurationFile with_chains(*machine_);
  ASSERT_EQ(with_chains.Load(L"C:\\a.xml", 0, 3), LoadStatus::Loaded);
  EXPECT_EQ(with_chains.GetModes()[0]->GetChainDefinition().size(), 1U);

  ASSERT_EQ(Load(L"C:\\a.xml", 1), LoadStatus::Loaded);
  EXPECT_EQ(Default(), L"ApoOpMode:Game/Internal");

  EXPECT_EQ(Load(L"C:\\missing.xml", 2), LoadStatus::NoDocument);
  EXPECT_EQ(file_.GetEndpointConfig(), 2U);
  EXPECT_EQ(file_.GetProductName(), L"");
  EXPECT_EQ(file_.GetProperties().Count(), 0U);
  EXPECT_THAT(file_.GetModes(), IsEmpty());
  EXPECT_EQ(Default(), L"ApoOpMode:Game/Internal");
  EXPECT_THAT(Texts(movie->GetDefaultControls()), ElementsAre(Pair("c", "1")));
  EXPECT_EQ(log.Count(L"| ORVAPOConfigurationFile::Load | pXML->load 1\n"), 3U);
  EXPECT_EQ(log.Count(L"| ORVAPOConfigurationFile::Load | pXML->get_documentElement 0x"), 3U);
  EXPECT_EQ(log.Count(L"| ORVAPOConfigurationFile::Load | pXML->load 0\n"), 1U);
}

TEST_F(ConfigurationFile, ReadOnceForEachMachineAndPath) {
  EXPECT_EQ(Load(L"C:\\a.xml"), LoadStatus::NoDocument);
  Write("a.xml", Configuration(Mode("Movie", "Internal")));
  EXPECT_EQ(Load(L"C:\\a.xml"), LoadStatus::Loaded);
  std::filesystem::remove(drive_.path() / "a.xml");
  EXPECT_EQ(Load(L"C:\\a.xml"), LoadStatus::Loaded);
  EXPECT_EQ(Load(L"C:\\A.xml"), LoadStatus::NoDocument);

  const auto other = SimulatedMachine::InMemory({}, drive_.path());
  EXPECT_EQ(ORVAPOConfigurationFile(*other).Load(L"C:\\a.xml", 0, 0), LoadStatus::NoDocument);
}

TEST_F(ConfigurationFile, UnusableFilesGiveNoDocument) {
  std::filesystem::create_directory(drive_.path() / "folder.xml");
  std::string nested;
  for (int depth = 0; depth < 5000; ++depth) nested += "<a>";
  Write("nested.xml", nested);
  Write("empty.xml", "");
  Write("binary.xml", std::string("\0\xff<\0>", 5));
  Write("\u4e2d.xml", Configuration(""));  // a name that this locale cannot express
  for (const wchar_t* path : {L"C:\\folder.xml", L"C:\\nested.xml", L"C:\\empty.xml",
                              L"C:\\binary.xml", L"C:\\", L"", L"C:\\\u4e2d.xml"})
    EXPECT_EQ(Load(path), LoadStatus::NoDocument) << testing::PrintToString(path);
  machine_->faults().FailAlways("machine.host_path", 0);
  EXPECT_EQ(Load(L"C:\\a.xml"), LoadStatus::NoDocument);
}

TEST_F(ConfigurationFile, PropertiesNameTheDefaultModeWhetherOrNotItExists) {
  Write("a.xml", Configuration(Mode("Movie", "Internal"),
                               "<control name='ZAPO3-Operating Mode'>Game</control>"
                               "<control name='ZAPO3-Speaker Type'>External</control>"));
  Write("b.xml", Configuration("", "<control name='ZAPO3-Operating Mode'>Game</control>"));
  ASSERT_EQ(Load(L"C:\\a.xml"), LoadStatus::Loaded);
  EXPECT_EQ(Default(), L"ApoOpMode:Game/External");
  const DiagnosticLog log;
  EXPECT_EQ(Load(L"C:\\b.xml"), LoadStatus::Loaded);
  EXPECT_EQ(Default(), L"ApoOpMode:Game/ZAPO3-Disabled");
  EXPECT_FALSE(file_.SetDefaultMode());
  EXPECT_EQ(log.Count(L"| ORVAPOConfigurationFile::SetDefaultMode | SetDefaultMode returning "
                      L"false...no modes available.\n"),
            2U);
}

class ModeSearch : public ConfigurationFile {
 protected:
  // The only control of each mode identifies it.
  static std::string Marked(const std::string& mark, const std::string& mode,
                            const std::string& speaker, const std::string& attributes = "") {
    return Mode(mode, speaker, attributes, "<control name='mark'>" + mark + "</control>");
  }
  void LoadModes(const std::string& modes) {
    Write("modes.xml", Configuration(modes));
    ASSERT_EQ(Load(L"C:\\modes.xml"), LoadStatus::Loaded);
  }
  static std::string MarkOf(const ORVAPOOperatingMode& mode) {
    const ORVQVTValue* mark = mode.GetDefaultControls().Find("mark");
    return mark != nullptr ? mark->ToString() : "untouched";
  }
};

TEST_F(ModeSearch, LastModeWithTheKeyIsFoundOrTheAutomaticMicrophoneModeOfItsSpeaker) {
  LoadModes(Marked("exact", "A", "S") + Marked("auto", "B", "S", "auto_mic='true'") +
            Marked("other", "B", "T", "auto_mic='true'") + Marked("plain", "C", "T") +
            Marked("1", "D", "U", "auto_mic='true'") + Marked("2", "E", "U", "auto_mic='true'") +
            Marked("3", "Twice", "In") + Marked("4", "Twice", "In"));
  // What FindMode gives, then what FindModeForKey gives; true if there is only one.
  const std::tuple<const char*, const char*, bool, const char*, bool, const char*> searches[] = {
      {"A", "S", true, "exact", true, "auto"},
      {"B", "S", true, "auto", true, "auto"},
      {"none", "T", false, "untouched", true, "other"},
      {"A", "V", false, "untouched", false, "untouched"},
      {"A", "U", false, "untouched", false, "2"},
      {"Twice", "In", false, "4", true, "4"}};
  for (const auto& [mode, speaker, is_one, mark, is_one_for_key, mark_for_key] : searches) {
    ORVAPOOperatingMode found[2];
    EXPECT_EQ(file_.FindMode(Key(mode, speaker), found[0]), is_one) << mode << speaker;
    EXPECT_EQ(MarkOf(found[0]), mark) << mode << speaker;
    EXPECT_EQ(file_.FindModeForKey(Key(mode, speaker), found[1]), is_one_for_key)
        << mode << speaker;
    EXPECT_EQ(MarkOf(found[1]), mark_for_key) << mode << speaker;
  }
}

TEST_F(ConfigurationFile, ThreadsWalkOneDocumentAndReadItsModesTogether) {
  const std::string controls = "<control name='a'>&lt;1&gt;</control><control name='b'>2</control>";
  std::string modes;
  for (int mode = 0; mode < 50; ++mode)
    modes += Mode("Mode" + std::to_string(mode), "Internal", "",
                  controls + "<chain input='Stereo'><process tech_id='eq'/></chain>");
  Write("shared.xml", Configuration(modes));
  std::atomic<int> right{0};
  const auto count_right = [&](const ORVAPOModeList& list) {
    for (const auto& mode : list)
      right += Texts(mode->GetDefaultControls()) == ControlTexts{{"a", "<1>"}, {"b", "2"}} &&
               mode->GetChainDefinition().size() == 1;
  };
  ORVAPOConfigurationFile shared(*machine_);
  shared.Load(L"C:\\SHARED.xml", 0, 0);  // a document of its own: the threads meet at the other one
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      ORVAPOConfigurationFile own(*machine_);
      own.Load(L"C:\\shared.xml", 0, 0);
      count_right(own.GetModes());
      count_right(shared.GetModes());
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 4 * 2 * 50);
}

}  // namespace
}  // namespace orv
