#include "panel/server/levels.h"

#include <algorithm>
#include <cmath>

#include "cli/show/failure.h"

namespace orv::panel {
namespace {

using cli::Band;
using cli::Json;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kPeakChannels = 8;
constexpr std::chrono::milliseconds kReportInterval{33};
constexpr std::chrono::seconds kSilenceTime{1};

// In tenths of a decibel, which is more than a picture shows; silence has no level.
Json LevelJson(float level) {
  return std::isfinite(level) ? Json(std::round(level * 10.0) / 10.0) : Json();
}

}  // namespace

class Levels::Listener {
 public:
  Listener(cli::Context& context, const std::string& name) {
    const cli::Endpoint endpoint = context.SelectEndpoint(name);
    bands_ = cli::ThirdOctaveBands();
    cli::FitToStream(bands_, context.session().StreamOf(endpoint).sample_rate);
    cli::Require(endpoint.object()->get_AnalysisData(analysis_.Put()),
                 "listening to " + endpoint.name(), "Its sound cannot be captured.");
    for (const Band& band : bands_)
      points_.insert(points_.end(), band.points.begin(), band.points.end());
    read_.resize(points_.size());
    Forget();
  }

  // The data of an event if one is due.
  std::optional<Json> Poll() {
    Read();
    const Clock::time_point now = Clock::now();
    if (now < next_) return std::nullopt;
    next_ = std::max(next_ + kReportInterval, now);
    const bool sounds = std::ranges::any_of(peaks_, [](float peak) { return std::isfinite(peak); });
    if (sounds) last_sound_ = now;
    const bool silent = now - last_sound_ >= kSilenceTime;
    Json data = silent ? Json{{"silent", true}} : Reading();
    Forget();
    if (data == last_) return std::nullopt;
    last_ = data;
    return data;
  }

 private:
  void Read() {
    for (std::size_t channel = 0; channel < cli::kSpectrumChannels; ++channel) {
      cli::Require(analysis_->GetSpectralData(static_cast<USHORT>(channel),
                                              static_cast<USHORT>(points_.size()), points_.data(),
                                              read_.data()),
                   "reading the spectrum", "");
      auto level = read_.begin();
      for (std::size_t band = 0; band < bands_.size(); ++band)
        for (std::size_t i = 0; i < bands_[band].points.size(); ++i)
          spectrum_[channel][band] = std::max(spectrum_[channel][band], *level++);
    }
    float peaks[kPeakChannels];
    cli::Require(analysis_->GetPeaks(peaks), "reading the peaks", "");
    for (std::size_t c = 0; c < kPeakChannels; ++c) peaks_[c] = std::max(peaks_[c], peaks[c]);
  }

  void Forget() {
    peaks_.assign(kPeakChannels, cli::LevelMeter::kSilence);
    spectrum_.assign(cli::kSpectrumChannels,
                     std::vector<float>(bands_.size(), cli::LevelMeter::kSilence));
  }

  // As "analyse --once --json".
  Json Reading() const {
    Json peaks = Json::array();
    for (const float peak : peaks_) peaks.push_back(LevelJson(peak));
    Json spectrum = Json::array();
    for (std::size_t channel = 0; channel < spectrum_.size(); ++channel) {
      for (std::size_t band = 0; band < bands_.size(); ++band) {
        Json entry = {{"channel", channel},
                      {"frequency", bands_[band].frequency},
                      {"db", LevelJson(spectrum_[channel][band])}};
        if (bands_[band].same_bins_as) entry["same_bins_as"] = *bands_[band].same_bins_as;
        spectrum.push_back(std::move(entry));
      }
    }
    return {{"peaks", std::move(peaks)}, {"spectrum", std::move(spectrum)}};
  }

  ComPtr<IAnalysisData> analysis_;
  std::vector<Band> bands_;
  std::vector<ULONG> points_;
  std::vector<float> read_;
  std::vector<float> peaks_;
  std::vector<std::vector<float>> spectrum_;  // by channel and band
  Clock::time_point next_ = Clock::now() + kReportInterval;
  Clock::time_point last_sound_ = Clock::now();
  Json last_;
};

Levels::Levels(cli::Context& context, Report report)
    : context_(context), report_(std::move(report)) {}
Levels::~Levels() = default;

void Levels::LookAt(const std::set<std::string>& endpoints) {
  looked_at_ = endpoints;
  std::erase_if(listeners_, [&](const auto& one) { return !endpoints.contains(one.first); });
  for (const std::string& name : endpoints) {
    if (listeners_.contains(name)) continue;
    try {
      listeners_[name] = std::make_unique<Listener>(context_, name);
    } catch (const std::exception& failure) {
      listeners_.erase(name);
      report_(name, {{"message", failure.what()}});
    }
  }
}

void Levels::Restart() {
  listeners_.clear();
  LookAt(std::set<std::string>(looked_at_));
}

void Levels::Poll() {
  for (auto one = listeners_.begin(); one != listeners_.end();) {
    try {
      if (const std::optional<Json> data = one->second->Poll()) report_(one->first, *data);
      ++one;
    } catch (const std::exception& failure) {
      report_(one->first, {{"message", failure.what()}});
      one = listeners_.erase(one);
    }
  }
}

}  // namespace orv::panel
