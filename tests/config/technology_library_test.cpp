#include "config/technology_library.h"

#include <gmock/gmock.h>

#include "platform/text.h"
#include "simulated/simulated_machine.h"

namespace orv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The fake libraries are in subfolders of the test program's folder.
std::wstring FolderOf(const std::wstring& library) {
  return RemoveLastPathElement(HostProgramPath()) + L"\\fake_technology\\" + library + L"\\";
}

class TechnologyLibrary : public testing::Test {
 protected:
  ~TechnologyLibrary() override { ORVAPOProcessLibrary::SetDirectory(L""); }

  ORVAPOProcessInfo Describe(const std::wstring& library) {
    return ORVAPOProcessInfo(*machine_, FolderOf(library).c_str());
  }

  std::unique_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory();
};

std::vector<std::string> Names(const ORVAPOProcessInfo& info) {
  std::vector<std::string> names;
  for (const ORVQVTControlInfo& one : info.control_infos()) names.push_back(one.name());
  return names;
}

TEST_F(TechnologyLibrary, EveryProcessThatCanBeCreatedIsDescribedInNameOrder) {
  const ORVAPOProcessInfo info = Describe(L"full");
  EXPECT_THAT(info.process_names(), ElementsAre("Surround", "Refused", "Definition", "Confused"));
  EXPECT_THAT(Names(info), ElementsAre("VQ3D-Process Enable", "vq3d-process enable",
                                       "VQ3D-Surround Level", "ZENSND-Definition Level"));
  ORVQVTControlInfo level;
  ASSERT_TRUE(info.FindControlInfo(ORVQVTValue("VQ3D-Surround Level", 1), level));
  EXPECT_EQ(level.factor(), 100.0F) << "derived";
  EXPECT_EQ(level.minimum(), -5);
  EXPECT_EQ(level.maximum(), 500);
  ASSERT_TRUE(info.FindControlInfo(ORVQVTValue("ZENSND-Definition Level", 1), level));
  EXPECT_EQ(level.factor(), 2.5F) << "from the older record";
}

TEST_F(TechnologyLibrary, BaseNameFindsAControlInAnyLetterCase) {
  const ORVAPOProcessInfo info = Describe(L"full");
  ORVQVTControlInfo found;
  ASSERT_TRUE(info.FindControlInfo(ORVQVTValue("Left:vq3d-PROCESS Enable", 1), found));
  EXPECT_THAT(std::vector<std::string>(found.names().begin(), found.names().end()),
              ElementsAre("Disabled", "Enabled"));
  for (const char* absent : {"", "VQ3D-Process", "VQ3D-Process Enable:", "zzz"}) {
    found.SetName("untouched");
    EXPECT_FALSE(info.FindControlInfo(ORVQVTValue(absent, 1), found)) << absent;
    EXPECT_EQ(found.name(), "untouched");
  }
}

TEST_F(TechnologyLibrary, MissingLibraryOrExportGivesFewerDescriptions) {
  EXPECT_THAT(Names(Describe(L"no-such-folder")), IsEmpty());
  EXPECT_THAT(Names(Describe(L"without_destruction")), IsEmpty());
  machine_->faults().FailAlways("machine.host_path", 0);
  EXPECT_THAT(Describe(L"full").process_names(), IsEmpty());
}

TEST_F(TechnologyLibrary, PathFollowsTheDirectoryAndTheWidthOfTheProcess) {
  EXPECT_EQ(ORVAPOProcessLibrary::LibraryPath(*machine_),
            RemoveLastPathElement(HostProgramPath()) + L"\\kxtech64.dll");
  ORVAPOProcessLibrary::SetDirectory(L"C:\\Tools\\");
  EXPECT_EQ(ORVAPOProcessLibrary::LibraryPath(*machine_), L"C:\\Tools\\kxtech64.dll");
  ORVAPOProcessLibrary::SetDirectory(L"C:\\Tools");
  machine_->description().is_32bit_process = true;
  EXPECT_EQ(ORVAPOProcessLibrary::LibraryPath(*machine_), L"C:\\kxtech32.dll");

  for (const wchar_t* none : {L"", static_cast<const wchar_t*>(nullptr)}) {
    const ORVAPOProcessInfo keeps_directory(*machine_, none);
    EXPECT_EQ(ORVAPOProcessLibrary::LibraryPath(*machine_), L"C:\\kxtech32.dll");
  }
}

}  // namespace
}  // namespace orv
