// Lookup without regard to letter case, where the file system itself has regard to it.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "platform/files.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

class PathLookup : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(path() / "Program Files" / "Tools");
    for (const char* name : {"Table.xml", "TABLE.XML"})
      std::ofstream(path() / "Program Files" / "Tools" / name) << "";
  }
  // What FindBelow found, relative to the folder; "-" before what does not exist.
  std::string Found(std::string_view relative) {
    const auto found = FindBelow(path(), relative);
    if (!found) return "outside";
    const auto below = found->path.lexically_relative(path()).generic_string();
    return found->exists ? below : "-" + below;
  }
  const std::filesystem::path& path() const { return folder_.path(); }

 private:
  TemporaryFolder folder_;
};

TEST_F(PathLookup, TakesTheExactSpellingFirst) {
  EXPECT_EQ(Found("Program Files/Tools/Table.xml"), "Program Files/Tools/Table.xml");
  EXPECT_EQ(Found("program files/TOOLS/Table.xml"), "Program Files/Tools/Table.xml");
  EXPECT_EQ(Found("program files/tools/table.XML"), "Program Files/Tools/TABLE.XML");
  std::filesystem::create_directory(path() / "program files");
  EXPECT_EQ(Found("program files"), "program files");
}

TEST_F(PathLookup, KeepsTheGivenSpellingBeyondWhatExists) {
  EXPECT_EQ(Found("PROGRAM FILES/New/Table.xml"), "-Program Files/New/Table.xml");
  EXPECT_EQ(Found("program files/tools/table.xml/More"), "-Program Files/Tools/TABLE.XML/More");
}

TEST_F(PathLookup, NeverLeavesTheFolder) {
  EXPECT_EQ(Found("../x"), "outside");
  EXPECT_EQ(Found("Program Files/../../x"), "outside");
  EXPECT_EQ(Found("/program files//./other/../tools/"), "Program Files/Tools");
  EXPECT_EQ(Found(""), ".");
}

}  // namespace
}  // namespace orv
