#include <gmock/gmock.h>

#include <set>

#include "config/technology_library.h"
#include "sample_machine.h"

namespace orv {
namespace {

TEST(TechnologyLibrary, DescribesEveryControlOnceWithARangeThatFitsItsScale) {
  SampleMachine machine("skylake-laptop");
  const ORVAPOProcessInfo technology(*machine, kTechnologyFolder);
  std::set<std::wstring> names;
  std::size_t switches = 0;
  for (const ORVQVTControlInfo& info : technology.control_infos()) {
    SCOPED_TRACE(info.name());
    EXPECT_TRUE(names.insert(ToUpperAscii(Widen(info.name()))).second);
    EXPECT_LT(info.scale(), std::uint32_t{ORV_QVT_SCALE_COUNT});
    const bool has_choices = info.scale() == ORV_QVT_SCALE_ENUM;
    EXPECT_EQ(info.names().Count() > 1, has_choices);
    if (has_choices) {
      EXPECT_EQ(info.minimum(), 0);
      EXPECT_EQ(info.maximum() + 1, static_cast<std::int32_t>(info.names().Count()));
      EXPECT_EQ(std::set<std::string>(info.names().begin(), info.names().end()).size(),
                info.names().Count());
    } else if (info.scale() != ORV_QVT_SCALE_STRING) {
      EXPECT_LT(info.minimum(), info.maximum());
    }
    if (!info.names().Contains("Enabled")) continue;
    ++switches;
    for (std::int32_t number = 0; number <= info.maximum(); ++number) {
      const ORVQVTValue text(info.name(), boost::any(*ChoiceText(info.names(), number)));
      EXPECT_EQ(text.ToLong(), number) << "a switch's text is its number";
    }
  }
  // Both equalisers of twelve shaped bands alone have 240 controls.
  EXPECT_GT(names.size(), 400U);
  EXPECT_GT(switches, 100U);
}

}  // namespace
}  // namespace orv
