#include "cli/client/level_reader.h"

#include <algorithm>
#include <cmath>

#include "cli/show/failure.h"

namespace orv::cli {
namespace {

// Silence has no level: null.
Json LevelJson(float level, int parts_of_db) {
  if (!std::isfinite(level)) return {};
  if (parts_of_db == 0) return level;
  return std::round(static_cast<double>(level) * parts_of_db) / parts_of_db;
}

}  // namespace

LevelReading::LevelReading(std::size_t bands)
    : peaks(kPeaks, LevelMeter::kSilence),
      spectrum(kSpectrumChannels, std::vector<float>(bands, LevelMeter::kSilence)) {}

bool LevelReading::IsSilent() const {
  return std::ranges::none_of(peaks, [](float peak) { return std::isfinite(peak); });
}

Json ToJson(const LevelReading& reading, const std::vector<Band>& bands, int parts_of_db) {
  Json peaks = Json::array();
  for (const float peak : reading.peaks) peaks.push_back(LevelJson(peak, parts_of_db));
  Json spectrum = Json::array();
  for (std::size_t channel = 0; channel < reading.spectrum.size(); ++channel) {
    for (std::size_t band = 0; band < bands.size(); ++band) {
      Json entry = {{"channel", channel},
                    {"frequency", bands[band].frequency},
                    {"db", LevelJson(reading.spectrum[channel][band], parts_of_db)}};
      if (bands[band].same_bins_as) entry["same_bins_as"] = *bands[band].same_bins_as;
      spectrum.push_back(std::move(entry));
    }
  }
  return {{"peaks", std::move(peaks)}, {"spectrum", std::move(spectrum)}};
}

LevelReader::LevelReader(const Endpoint& endpoint, std::vector<Band> bands)
    : bands_(std::move(bands)), reading_(bands_.size()) {
  Require(endpoint.object()->get_AnalysisData(analysis_.Put()), "listening to " + endpoint.name(),
          "Its sound cannot be captured; another program may hold the device, or it has just been "
          "unplugged.");
  for (const Band& band : bands_)
    points_.insert(points_.end(), band.points.begin(), band.points.end());
  levels_.resize(points_.size());
}

void LevelReader::Poll() {
  for (std::size_t channel = 0; channel < kSpectrumChannels; ++channel) {
    Require(analysis_->GetSpectralData(static_cast<USHORT>(channel),
                                       static_cast<USHORT>(points_.size()), points_.data(),
                                       levels_.data()),
            "reading the spectrum", "");
    auto level = levels_.begin();
    for (std::size_t band = 0; band < bands_.size(); ++band) {
      float& highest = reading_.spectrum[channel][band];
      for (std::size_t i = 0; i < bands_[band].points.size(); ++i)
        highest = std::max(highest, *level++);
    }
  }
  float peaks[LevelReading::kPeaks];
  Require(analysis_->GetPeaks(peaks), "reading the peaks", "");
  for (std::size_t c = 0; c < LevelReading::kPeaks; ++c)
    reading_.peaks[c] = std::max(reading_.peaks[c], peaks[c]);
}

}  // namespace orv::cli
