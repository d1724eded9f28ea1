#include "cli/show/table.h"

#include <gtest/gtest.h>

#include "cli/show/output.h"

namespace orv::cli {
namespace {

TEST(Table, ColumnsAlignByWhatATerminalShows) {
  Table table({{"NAME"}, {"VALUE", Align::Right}, {"NOTE"}});
  table.Add({"Lautstärke", "5", "a"});
  table.Add({"音量", "1250", "b"});
  table.Add({"e\xCC\x81", "-3", "c"});
  EXPECT_EQ(table.Text(false),
            "NAME        VALUE  NOTE\n"
            "Lautstärke      5  a\n"
            "音量         1250  b\n"
            "e\xCC\x81              -3  c\n");
}

TEST(Table, ColoursDoNotChangeTheAlignmentAndAreLeftOutWithoutThem) {
  Table table({{""}, {""}});
  table.Add({Cell("ok", ansi::kGood), "x"});
  table.Add({Cell("long", ansi::kBad), "y"});
  EXPECT_EQ(table.Text(false, 2), "  ok    x\n  long  y\n");
  EXPECT_EQ(table.Text(true), "\x1b[32mok\x1b[0m    x\n\x1b[31mlong\x1b[0m  y\n");
}

TEST(Table, NamesCannotMoveTheTerminalsCursor) {
  EXPECT_EQ(Printable("a\x1b[2Jb\nc"), "a\uFFFD[2Jb\uFFFDc");
  EXPECT_EQ(Printable("\xC2\x9B"), "\uFFFD");
  EXPECT_EQ(DisplayWidth("\U0001F50A"), 2U);
  EXPECT_EQ(DisplayWidth(""), 0U);
}

}  // namespace
}  // namespace orv::cli
