#include "cli/show/typed_value.h"

#include <gtest/gtest.h>

#include "cli/show/failure.h"

namespace orv::cli {
namespace {

const ValueForm kGain{.name = "Gain", .unit = "dB", .steps_per_unit = 10, .current = -25};
const ValueForm kQuality{.name = "Q", .steps_per_unit = 100, .current = 120};
const ValueForm kLevel{.name = "Level", .unit = "%", .current = 40};
const ValueForm kCorner{.name = "Corner", .unit = "Hz", .current = 150};
const ValueForm kEnable{.name = "Enable", .choices = {"Disabled", "Enabled"}, .current = 1};
const ValueForm kMode{.name = "Mode", .choices = {"Wide", "Near", "Wide"}};

TEST(TypedValue, StandsForAStoredNumber) {
  const struct {
    const ValueForm& form;
    const char* text;
    std::int32_t stored;
  } cases[] = {
      {kGain, "-6dB", -60},        {kGain, "-3.5 dB", -35},   {kGain, " 3,5 DB ", 35},
      {kGain, "\u22120.1", -1},    {kGain, "+2.0", 20},       {kGain, "0", 0},
      {kGain, "+=3dB", 5},         {kGain, "-= 1.5 dB", -40}, {kGain, "-=-1dB", -15},
      {kQuality, "0.8", 80},       {kQuality, ".07", 7},      {kLevel, "25%", 25},
      {kLevel, "25", 25},          {kLevel, "+=5", 45},       {kCorner, "200Hz", 200},
      {kCorner, "1.25 kHz", 1250}, {kEnable, "on", 1},        {kEnable, "OFF", 0},
      {kEnable, "enabled", 1},     {kEnable, "toggle", 0},    {kEnable, "7", 7},
      {kMode, "near", 1},          {kMode, "Wide", 2},        {kMode, "wide", 0},
  };
  for (const auto& each : cases)
    EXPECT_EQ(ReadTypedValue(each.form, each.text), each.stored) << each.text;
  EXPECT_EQ(ReadRawValue(kGain, "-=3"), -28);
}

TEST(TypedValue, IsShownWithTheDecimalsAndTheUnitOfItsControl) {
  const struct {
    const char* name;
    ORV_QVT_SCALE scale;
    float factor;
    std::int32_t maximum;
    std::int32_t value;
    const char* text;
  } cases[] = {{"Q", ORV_QVT_SCALE_BY100, 100, 500, 1250, "12.50"},
               {"Q", ORV_QVT_SCALE_BY100, 100, 500, -5, "-0.05"},
               {"Gain", ORV_QVT_SCALE_DB, 10, 500, -60, "-6.0 dB"},
               {"Gain", ORV_QVT_SCALE_DB, 1, 500, -6, "-6 dB"},
               {"Gain", ORV_QVT_SCALE_DB, 0.3F, 500, 3, "3 dB"},
               {"HPF Frequency", ORV_QVT_SCALE_NONE, 1, 2000, 150, "150 Hz"},
               {"Speaker Audio Size", ORV_QVT_SCALE_CUSTOM, 1, 500, 200, "200 Hz"},
               {"DC Level", ORV_QVT_SCALE_NONE, 1, 100, 85, "85 %"},
               {"Anticlip Level", ORV_QVT_SCALE_NONE, 1, 200, 85, "85"},
               {"Order", ORV_QVT_SCALE_NONE, 10, 10, 4, "4"}};
  for (const auto& one : cases)
    EXPECT_EQ(ValueText(one.value, FormOf(one.name, one.scale, one.factor, one.maximum, {})),
              one.text);
  EXPECT_EQ(ValueText(1, kMode), "Near");
  EXPECT_EQ(ValueText(3, kMode), "3");
  EXPECT_EQ(ValueText(-1, kMode), "-1");
  EXPECT_EQ(ReadRawValue(kGain, "-6"), -6);
  EXPECT_THROW(ReadRawValue(kGain, "-6dB"), Failure);
}

TEST(TypedValue, WhatIsShownCanBeTyped) {
  for (const ValueForm& form : {kGain, kQuality, kLevel, kCorner})
    for (std::int32_t number = -1205; number <= 1205; ++number) {
      const std::string text = QuantityText(number, form);
      EXPECT_EQ(ReadTypedValue(form, text), number) << text;
    }
}

}  // namespace
}  // namespace orv::cli
