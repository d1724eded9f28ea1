#include "analysis/silent_samples.h"

#include <mutex>

namespace orv {

SilentSamples SharedSilence(std::size_t count) {
  static std::mutex lock;
  static SilentSamples samples;
  const std::lock_guard guard(lock);
  if (samples == nullptr || samples->size() < count)
    samples = std::make_shared<const std::vector<float>>(count);
  return samples;
}

}  // namespace orv
