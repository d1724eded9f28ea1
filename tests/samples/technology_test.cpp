#include <gmock/gmock.h>

#include <set>

#include "config/technology_library.h"
#include "sample_machine.h"

namespace orv {
namespace {

using ::testing::Contains;

class TechnologyLibrary : public ::testing::Test {
 protected:
  ORVQVTControlInfo Describe(const char* control) {
    ORVQVTControlInfo info;
    EXPECT_TRUE(technology_.FindControlInfo(ORVQVTValue(control, 0), info)) << control;
    return info;
  }

  SampleMachine machine_{"skylake-laptop"};
  ORVAPOProcessInfo technology_{*machine_, kTechnologyFolder};
};

TEST_F(TechnologyLibrary, DescribesEveryControlOnceWithARangeThatFitsItsScale) {
  std::set<std::wstring> names;
  for (const ORVQVTControlInfo& info : technology_.control_infos()) {
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
  }
  // Both equalisers of twelve shaped bands alone have 240 controls.
  EXPECT_GT(names.size(), 400U);
}

TEST_F(TechnologyLibrary, HandsOnTheFactorOfEveryUnit) {
  EXPECT_EQ(Describe("VQ3D-Headroom Gain").factor(), 10.0F);
  EXPECT_EQ(Describe("ZENSND-PEQ Left Band 11 Gain").factor(), 10.0F);
  EXPECT_EQ(Describe("VQ3D-PEQ Right Band 0 Q Factor").factor(), 100.0F);
  EXPECT_EQ(Describe("QUMEDIA-PEQ Right Band 3 Q Factor").factor(), 100.0F);
  EXPECT_EQ(Describe("QUMEDIA-PEQ Right Band 3 Gain").factor(), 1.0F);
  EXPECT_EQ(Describe("MFX:ZENSND-HPF Order").factor(), 1.0F);
}

TEST_F(TechnologyLibrary, HandsOnSwitchesAsTheNumbersOfTheirTexts) {
  std::size_t switches = 0;
  for (const ORVQVTControlInfo& info : technology_.control_infos()) {
    if (!info.names().Contains("Enabled")) continue;
    ++switches;
    for (std::size_t position = 0; position < info.names().Count(); ++position) {
      const ORVQVTValue text(info.name(), boost::any(info.names()[position]));
      EXPECT_EQ(text.ToLong(), static_cast<std::int32_t>(position)) << info.name();
    }
  }
  EXPECT_GT(switches, 100U);
}

}  // namespace
}  // namespace orv
