#include "cli/offline/response_plot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <sstream>

#include "cli/show/braille_plot.h"

namespace orv::cli {
namespace {

// The lines of a panel, each as the numbers x, y, x, y, ...
std::vector<std::vector<double>> Lines(const std::string& svg, const std::string& panel) {
  std::vector<std::vector<double>> lines;
  const std::regex polyline("points='([^']*)' [^>]*#" + panel + "\\)'");
  for (std::sregex_iterator match(svg.begin(), svg.end(), polyline), end; match != end; ++match) {
    std::istringstream numbers(std::regex_replace((*match)[1].str(), std::regex(","), " "));
    lines.emplace_back(std::istream_iterator<double>(numbers), std::istream_iterator<double>());
  }
  return lines;
}

Cascade Gain(double decibels) {
  return Cascade(std::vector<Cascade::Section>(), std::pow(10, decibels / 20));
}

// Four zeros at 0 Hz: silent below 241 Hz, or below 203 Hz with a gain of 2.
Cascade Rising(double gain) { return Cascade({{1, -2, 1, 0, 0}, {1, -2, 1, 0, 0}}, gain); }

TEST(ResponsePlot, SilenceHasNoErrorPhaseOrDelay) {
  ResponsePlot plot;
  plot.curves.push_back({"", Rising(1), Rising(2), std::nullopt});
  const std::string svg = DrawResponse(plot);
  const auto errors = Lines(svg, "error");
  ASSERT_EQ(errors.size(), 1U);
  // Both are 6.02 dB apart wherever one can be measured: one line, straight and not from 10 Hz on.
  ASSERT_EQ(errors[0].size(), 4U);
  EXPECT_DOUBLE_EQ(errors[0][1], errors[0][3]);
  EXPECT_GT(errors[0][0], 100);
  for (const char* panel : {"phase", "delay"})
    for (const auto& line : Lines(svg, panel)) EXPECT_GT(line[0], 100) << panel;
  // The delay of a polynomial with mirrored coefficients is that of its middle.
  const auto delays = Lines(svg, "delay");
  ASSERT_EQ(delays.size(), 2U);
  EXPECT_EQ(delays[0].size(), 4U);
  EXPECT_NEAR(Rising(1).GroupDelay(1000, 48000), 2, 1e-9);
}

TEST(ResponsePlot, WarningsNameSilentAndUnstableFilters) {
  ResponsePlot plot;
  plot.curves = {{"left", Gain(0), Gain(-130), std::nullopt},
                 {"right", Gain(0), Cascade({{1, 0, 0, 1.2, -1}}), Gain(-6)}};
  plot.warnings = CurveWarnings(plot.curves, plot.rate);
  ASSERT_EQ(plot.warnings.size(), 2U);
  EXPECT_EQ(plot.warnings[0], "left: the quantised filter is silent: nothing passes.");
  plot.marks = {{1000, "1"}};
  plot.gains = {{100, -15}};
  const std::string svg = DrawResponse(plot);
  for (const char* text : {"class='warning'>right: the quantised filter is UNSTABLE",
                           "Group delay in ms", ">in the DSP<", "class='mark'", "class='gain'/>"})
    EXPECT_NE(svg.find(text), std::string::npos) << text;
  for (const char* text : {"nan", "inf"}) EXPECT_EQ(svg.find(text), std::string::npos) << text;
}

TEST(ResponsePlot, TapsAndSectionsActTogether) {
  Cascade filter = Gain(6);
  Cascade taps = Gain(0);
  taps.AppendTaps({0.5, 0, 0.5});
  filter.Append(taps);
  EXPECT_NEAR(filter.Decibels(0, 48000), 6, 1e-9);
  EXPECT_LT(filter.Decibels(12000, 48000), -200);
  EXPECT_NEAR(filter.GroupDelay(1000, 48000), 1, 1e-9);
}

// A straight line of 20 dB a decade from the lower left to the upper right corner.
TEST(BraillePlot, CurvesReachTheCornersInDotsAndInCharacters) {
  std::ostringstream unused;
  const Output output(unused, unused);
  TextPlot plot{10, 1000, {}};
  plot.panels.push_back(
      {"dB",
       {0, 40, 20},
       3,
       false,
       {{[](double frequency) { return 20 * std::log10(frequency / 10); }, nullptr, '*'}}});
  const std::vector<std::string> characters = {"        dB",
                                               "    +40+                ******",
                                               "    +20+      **********",
                                               "      0+******................",
                                               "       ++--+---+---+--+---+--+",
                                               "        10    50  100       Hz"};
  EXPECT_EQ(DrawPlot(plot, 30, false, output), characters);
  const std::vector<std::string> dots = {"        dB",
                                         "    +40┤               ⣀⣀⠤⠤⠒⠒⠉",
                                         "    +20┤       ⣀⣀⠤⠤⠒⠒⠉⠉",
                                         "      0┤⣀⠤⠤⠒⠒⠉⠉┈┈┈┈┈┈┈┈┈┈┈┈┈┈┈",
                                         "       └┴──┴───┴───┴──┴───┴──┴",
                                         "        10    50  100       Hz"};
  EXPECT_EQ(DrawPlot(plot, 30, true, output), dots);
  EXPECT_TRUE(DrawPlot(plot, 29, true, output).empty());
}

}  // namespace
}  // namespace orv::cli
