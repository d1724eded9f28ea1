#include "cli/show/level_meter.h"

#include <algorithm>

namespace orv::cli {
namespace {

constexpr double kFall = 24;  // dB a second
constexpr double kHoldSeconds = 1.5;
constexpr double kClipSeconds = 3;
constexpr float kLowest = -200;  // dB; what has fallen this far is gone

}  // namespace

void LevelMeter::Update(float level, double seconds) {
  level_ -= static_cast<float>(kFall * seconds);
  if (level_ < kLowest) level_ = kNothing;
  level_ = std::max(level_, level);
  hold_seconds_ -= seconds;
  if (level_ >= hold_ || hold_seconds_ <= 0) {
    hold_ = level_;
    hold_seconds_ = kHoldSeconds;
  }
  clip_seconds_ -= seconds;
  if (level >= 0) clip_seconds_ = kClipSeconds;
}

}  // namespace orv::cli
