// A level as people can follow it: rises at once, falls slowly, remembers its last peak and whether
// it was clipped.
#pragma once

#include <limits>

namespace orv::cli {

class LevelMeter {
 public:
  static constexpr float kNothing = -std::numeric_limits<float>::infinity();

  // `level` in dB is the highest since the last update, `seconds` ago.
  void Update(float level, double seconds);

  float level() const noexcept { return level_; }  // dB, falling by 24 dB a second
  float hold() const noexcept { return hold_; }    // the highest of the last seconds
  bool clipped() const noexcept { return clip_seconds_ > 0; }

 private:
  float level_ = kNothing;
  float hold_ = kNothing;
  double hold_seconds_ = 0;
  double clip_seconds_ = 0;
};

}  // namespace orv::cli
