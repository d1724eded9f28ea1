// Coefficient sets of one channel's high-pass and equaliser, the built-in ones, and the blocks that
// carry them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orv::skylake {

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

inline constexpr std::int32_t kMostIirOrder = 24;
inline constexpr std::int32_t kFewestHighPassOrder = 2;
inline constexpr std::int32_t kMostHighPassOrder = 10;
inline constexpr std::int32_t kMostFirTaps = 257;

// The parts of a channel's block, in bytes. The trailer after the last word is zero.
struct FilterLayout {
  std::size_t capacity;
  std::size_t header;
  std::size_t trailer;
};
inline constexpr FilterLayout kLeftFilterLayout = {1520, 24, 40};
inline constexpr FilterLayout kRightFilterLayout = {1372, 12, 24};

// Words of a set of this order: two for the gain even without sections.
std::size_t IirWords(std::int32_t order);
std::size_t FirWords(std::int32_t length);

// The built-in set of a filter type, which a mode may choose instead of describing its filters;
// unknown types are "Default".
FilterCoefficients MakeFilterPreset(std::uint32_t type);

// Throws IntelException.
void VerifyFilterOrder(std::int64_t value, std::int64_t minimum, std::int64_t maximum);

// The coefficient block of a channel. Throw IntelException if an order is out of range, words are
// missing or the block would grow beyond its capacity.
std::vector<std::byte> MakeLeftFilterBlock(const FilterCoefficients& filter);
std::vector<std::byte> MakeRightFilterBlock(const FilterCoefficients& filter);

}  // namespace orv::skylake
