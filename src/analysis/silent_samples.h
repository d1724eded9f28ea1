// What stands in for the data of packets that the audio engine marks silent.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace orv {

using SilentSamples = std::shared_ptr<const std::vector<float>>;

// At least so many zeros, shared by the whole process. May be called from any thread; what was
// handed out stays as it is when the buffer grows.
SilentSamples SharedSilence(std::size_t count);

}  // namespace orv
