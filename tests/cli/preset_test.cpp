#include "cli/offline/preset.h"

#include <gtest/gtest.h>

#include <limits>

namespace orv::cli {
namespace {

constexpr auto kLowest = std::numeric_limits<std::int32_t>::min();

PresetError Refused(std::string_view text) {
  PresetError error{77, "untouched"};
  EXPECT_FALSE(ReadPreset(text, error)) << text;
  return error;
}

TEST(Preset, WhatIsWrittenIsReadBack) {
  Preset preset;
  preset.endpoint = "Lautsprecher \"außen\"";
  preset.current_mode = "ApoOpMode:Movie/Internal";
  preset.enabled = false;
  preset.modes = {{"ApoOpMode:Movie/Internal", {{"Level", kLowest}, {"Tech", "Low\nHigh"}}},
                  {"ApoOpMode:Music/Internal", {}}};
  PresetError error;
  EXPECT_EQ(ReadPreset(WritePreset(preset), error), preset);
  EXPECT_EQ(ReadPreset(WritePreset(Preset()), error), Preset());
}

TEST(Preset, BrokenJsonIsRefusedWithItsLine) {
  EXPECT_EQ(Refused("{\n  \"version\": 1,\n  \"modes\": [\n").line, 4U);
  EXPECT_EQ(Refused("").line, 1U);
  EXPECT_FALSE(Refused("{\"version\": 1} trailing").reason.empty());
  EXPECT_FALSE(Refused(std::string(100'000, '[')).reason.empty());
}

TEST(Preset, FaultsAreNamedOnTheirLine) {
  const struct {
    const char* text;
    std::size_t line;
    const char* reason;
  } cases[] = {
      {"{\"modes\": []}", 1, "no \"version\""},
      {"{\n\"version\": 2}", 2, "version 2"},
      {"{\"version\": 1,\n\"mode\": []}", 2, "\"mode\" is not known"},
      {"{\"version\": 1,\n\"enabled\": 1}", 2, "true or false"},
      {"{\"version\": 1, \"modes\": [\n{\"name\": \"\"}]}", 2, "without a name"},
      {"{\"version\": 1, \"modes\": [{\"name\": \"A\"},\n{\"name\": \"A\"}]}", 2, "twice"},
      {"{\"version\": 1, \"modes\": [{\"name\": \"A\", \"controls\": {\"x\": 1,\n\"x\": 2}}]}", 2,
       "\"x\" is there twice"},
      {"{\"version\": 1, \"modes\": [{\"name\": \"A\", \"controls\": {\n\"x\": 2147483648\n}}]}", 2,
       "32 bits"},
      {"{\"version\": 1, \"modes\": [{\"name\": \"A\", \"controls\": {\n\"x\": 1.5\n}}]}", 2,
       "whole number"},
      {"{\"version\": 1, \"modes\": [{\"name\": \"A\", \"controls\": {\n\"x\": null}}]}", 2,
       "whole number"},
      {"{\"version\": 1,\n\"version\": 1}", 2, "twice"},
      {"[1]", 1, "expected an object"},
  };
  for (const auto& one : cases) {
    const PresetError error = Refused(one.text);
    EXPECT_EQ(error.line, one.line) << one.text;
    EXPECT_NE(error.reason.find(one.reason), std::string::npos) << one.text << error.reason;
  }
}

}  // namespace
}  // namespace orv::cli
