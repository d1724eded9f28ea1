// Filters in the blocks of the drivers: what firmware takes and plays of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace orv {

// A cascade within a block: for each section its shift, b0, b1, b2, a1 and a2, then the shift of
// the overall gain and the gain. A word's value is word * 2^(shift - bits); a1 and a2 carry the
// sign of the feedback.
struct CoefficientSet {
  const char* name;      // "high-pass"
  std::size_t offset;    // bytes, of the first word within the block
  std::size_t width;     // bytes of a word: 2 or 4
  std::size_t sections;  // all of them within the block

  std::size_t size() const { return width * (6 * sections + 2); }  // bytes
};

// Finds the sets of a block of its own layout.
using SetsOfBlock = std::vector<CoefficientSet> (*)(std::span<const std::byte> block);

// The single section of the bass-enhancement and of the space high-pass coefficients.
std::vector<CoefficientSet> BassAllPass(std::span<const std::byte> block);
std::vector<CoefficientSet> SpaceHighPass(std::span<const std::byte> block);

// Which shift is outside 0 to 31, or 0 to 16 of 16-bit words; empty text when none is.
std::string ShiftFault(const CoefficientSet& set, std::span<const std::byte> block);

// Which section does not decay or lets nothing through; empty text when all of them play.
std::string PlayingFault(const CoefficientSet& set, std::span<const std::byte> block);

// The same of a bass-enhancement set: twice a low-pass (b0, a1) and two resonators (b2, a1, a2), 16
// 32-bit words from `offset` on.
std::string ResonatorFault(std::size_t offset, std::span<const std::byte> block);

}  // namespace orv
