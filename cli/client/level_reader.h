// The levels of what an endpoint plays, as the component's analysis object has them.
#pragma once

#include <chrono>
#include <vector>

#include "cli/client/session.h"
#include "cli/show/analysis_view.h"
#include "cli/show/output.h"

namespace orv::cli {

// The highest levels since the last reading, in dB.
struct LevelReading {
  static constexpr std::size_t kPeaks = 8;  // channels whose peaks the component has

  explicit LevelReading(std::size_t bands);

  bool IsSilent() const;  // no channel has a peak

  std::vector<float> peaks;                  // by channel
  std::vector<std::vector<float>> spectrum;  // by channel and band
};

// {peaks, spectrum: [{channel, frequency, db, same_bins_as}]}; silence is null. Levels are whole
// multiples of 1 dB / `parts_of_db`; 0: as they were read.
Json ToJson(const LevelReading& reading, const std::vector<Band>& bands, int parts_of_db = 0);

class LevelReader {
 public:
  // The engine keeps about two packets of 10 ms for a listener.
  static constexpr std::chrono::milliseconds kPollInterval{15};

  // Begins to capture. Throws Failure if the endpoint's sound cannot be captured.
  LevelReader(const Endpoint& endpoint, std::vector<Band> bands);

  const std::vector<Band>& bands() const noexcept { return bands_; }
  // Reads what has arrived. Throws Failure if the component refuses it.
  void Poll();
  LevelReading Take() { return std::exchange(reading_, LevelReading(bands_.size())); }

 private:
  std::vector<Band> bands_;
  ComPtr<IAnalysisData> analysis_;
  std::vector<ULONG> points_;
  std::vector<float> levels_;
  LevelReading reading_;
};

}  // namespace orv::cli
