#include "cli/show/spectrum_bands.h"

#include <algorithm>
#include <cmath>

#include "cli/show/scale.h"

namespace orv::cli {
namespace {

// Hz; less than the distance of two bins of any rate from 22 kHz up.
constexpr std::uint32_t kStep = 20;

constexpr std::uint32_t kNominalCentres[] = {
    50,   63,   80,   100,  125,  160,  200,  250,  315,  400,   500,   630,   800,  1000,
    1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000, 10000, 12500, 16000, 20000};
constexpr int kFirstStep = -13;  // 50 Hz, in tenths of a decade from 1 kHz

}  // namespace

std::vector<Band> ThirdOctaveBands() {
  std::vector<Band> bands;
  int step = kFirstStep;
  for (const std::uint32_t nominal : kNominalCentres) {
    const double lower = 1000 * std::pow(10, (step - 0.5) / 10);
    const double upper = 1000 * std::pow(10, (step + 0.5) / 10);
    Band band{nominal, {nominal}, {}};
    for (double point = std::ceil(lower); point < upper; point += kStep)
      band.points.push_back(static_cast<std::uint32_t>(point));
    bands.push_back(std::move(band));
    ++step;
  }
  return bands;
}

std::vector<Band> SingleFrequencies(const std::vector<std::uint32_t>& frequencies) {
  std::vector<Band> bands;
  bands.reserve(frequencies.size());
  for (const std::uint32_t frequency : frequencies) bands.push_back({frequency, {frequency}, {}});
  return bands;
}

bool IsInBand(std::uint32_t frequency, std::uint32_t sample_rate) noexcept {
  return frequency > 0 && frequency < sample_rate - sample_rate / 2;
}

std::string ShortFrequency(std::uint32_t frequency) {
  std::string text = HertzText(frequency);
  text.resize(text.find(' '));
  return frequency >= 1000 ? text + "k" : text;
}

}  // namespace orv::cli
