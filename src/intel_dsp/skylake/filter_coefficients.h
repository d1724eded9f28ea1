// Coefficient sets of one channel's high-pass and equaliser, and the blocks that carry them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace orv {

// Sets in the words of the filter designs. An FIR set is a shift, the taps, then the shift and the
// overall gain.
struct FilterCoefficients {
  bool high_pass = false;  // the left block carries it for both channels
  std::int32_t high_pass_order = 0;
  std::vector<std::int32_t> high_pass_words;
  bool equalizer = false;  // without it neither IIR nor FIR is sent
  std::int32_t iir_order = 0;
  std::vector<std::int32_t> iir_words;
  std::int32_t fir_length = -1;  // one less than the taps; none up to 0
  std::vector<std::int32_t> fir_words;
};

inline constexpr std::size_t kLeftFilterCapacity = 1520;  // bytes
inline constexpr std::size_t kRightFilterCapacity = 1372;
inline constexpr std::int32_t kMostIirOrder = 24;
inline constexpr std::int32_t kFewestHighPassOrder = 2;
inline constexpr std::int32_t kMostHighPassOrder = 10;
inline constexpr std::int32_t kMostFirTaps = 257;
// What follows the last word of a block, in bytes; zeros.
inline constexpr std::size_t kLeftFilterHeader = 24;
inline constexpr std::size_t kLeftFilterTrailer = 40;
inline constexpr std::size_t kRightFilterHeader = 12;
inline constexpr std::size_t kRightFilterTrailer = 24;

// Words of a set of this order: two for the gain even without sections.
std::size_t IirWords(std::int32_t order);
std::size_t FirWords(std::int32_t length);

// A Butterworth set; empty if the frequency (Hz) is not between 0 and half the sample rate.
std::vector<std::int32_t> DesignHighPass(float frequency, std::int32_t order,
                                         std::int32_t sample_rate);

// Throw IntelException.
void VerifyFilterOrder(std::int64_t value, std::int64_t minimum, std::int64_t maximum);
void VerifyPointers(const void* destination, const void* source);

// A coefficient block ready to be sent.
struct FilterBlock {
  std::unique_ptr<std::byte[]> bytes;
  std::size_t size = 0;
};
// Throw IntelException if an order is out of range, words are missing or the block would grow
// beyond its capacity.
FilterBlock MakeLeftFilterBlock(const FilterCoefficients& filter);
FilterBlock MakeRightFilterBlock(const FilterCoefficients& filter);

}  // namespace orv
