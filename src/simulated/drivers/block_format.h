// What firmware checks of a parameter block: its size, the range of every field, zeros between the
// fields, the filters in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

namespace orv {

// Words and identifiers in the bytes of a request or block, in the byte order of the driver, which
// is that of every host here. Reading beyond the end gives zero.
template <class Word>
Word ReadWire(std::span<const std::byte> bytes, std::size_t offset) noexcept {
  static_assert(std::is_trivially_copyable_v<Word>);
  Word word{};
  if (offset + sizeof word <= bytes.size()) std::memcpy(&word, bytes.data() + offset, sizeof word);
  return word;
}
template <class Word>
void WriteWire(std::span<std::byte> bytes, std::size_t offset, const Word& word) noexcept {
  static_assert(std::is_trivially_copyable_v<Word>);
  std::memcpy(bytes.data() + offset, &word, sizeof word);
}
template <class Word>
void AppendWire(std::vector<std::byte>& bytes, const Word& word) {
  bytes.resize(bytes.size() + sizeof word);
  WriteWire(bytes, bytes.size() - sizeof word, word);
}
// A text in a field of 64 bytes, cut to 63 of them.
void AppendText(std::vector<std::byte>& bytes, const std::string& text);
// The offset from `begin` on of the first byte that is not zero; the size if all of them are.
std::size_t FirstNonZero(std::span<const std::byte> bytes, std::size_t begin = 0);

// A little-endian number in a block; read as signed if `least` is negative.
struct FieldFormat {
  std::uint16_t offset;
  std::uint8_t width;  // bytes: 1, 2 or 4
  std::int64_t least;
  std::int64_t most;
  std::int64_t initial;  // value in a fresh module
};

constexpr FieldFormat Flag(std::uint16_t offset, int initial = 0) {
  return {offset, 4, 0, 1, initial};
}
// A gain or level of 16 bits that is never negative.
constexpr FieldFormat Level(std::uint16_t offset, int initial = 0) {
  return {offset, 2, 0, 0x7FFF, initial};
}
constexpr FieldFormat Word(std::uint16_t offset, std::int64_t least, std::int64_t most,
                           std::int64_t initial) {
  return {offset, 4, least, most, initial};
}
constexpr FieldFormat Fixed(std::uint16_t offset, std::uint32_t value) {
  return {offset, 4, value, value, value};
}
// Consecutive signed words of any value from `offset` on: filter coefficients.
std::vector<FieldFormat> Coefficients(std::uint16_t offset, std::uint16_t count,
                                      std::vector<FieldFormat> before = {});

// A cascade within a block: for each section its shift, b0, b1, b2, a1 and a2, then the shift of
// the overall gain and the gain. The value of a word is word * 2^(shift - bits); a1 and a2 carry
// the sign of the feedback.
struct CoefficientSet {
  const char* name;      // "high-pass"
  std::size_t offset;    // bytes, of the first word within the block
  std::size_t width;     // bytes of a word: 2 or 4
  std::size_t sections;  // all of them within the block

  std::size_t size() const { return width * (6 * sections + 2); }  // bytes
};

// Sections of a filter of this order.
constexpr std::size_t SectionsOf(std::uint32_t order) { return (std::size_t{order} + 1) / 2; }

// Returns which section does not decay or is silent; empty text if there is none.
std::string PlayingFault(const CoefficientSet& set, std::span<const std::byte> block);
// The same of a bass-enhancement set: twice a low-pass (b0, a1) and two resonators (b2, a1, a2), 16
// 32-bit words from `offset` on.
std::string ResonatorFault(std::size_t offset, std::span<const std::byte> block);

struct BlockFormat {
  // Checks a block beyond its fields. Returns what is wrong, or empty text.
  using Check = std::string (*)(std::span<const std::byte> block);
  // Finds the filters of a block that passed the other checks.
  using Sets = std::vector<CoefficientSet> (*)(std::span<const std::byte> block);

  std::uint32_t parameter;
  std::uint32_t size;               // bytes; 0: `check` compares it
  std::vector<FieldFormat> fields;  // empty: bytes of any value
  Check check = nullptr;
  std::vector<std::byte> initial = {};  // of blocks without fields
  Sets sets = nullptr;                  // of blocks with filters

  // Returns what is wrong with a block, or empty text.
  std::string Fault(std::span<const std::byte> block) const;
  std::vector<std::byte> Initial() const;

 private:
  std::string FieldFault(std::span<const std::byte> block) const;
};

// The single section of the bass-enhancement and of the space high-pass coefficients.
std::vector<CoefficientSet> BassAllPass(std::span<const std::byte> block);
std::vector<CoefficientSet> SpaceHighPass(std::span<const std::byte> block);

// "3 bytes instead of 4", or empty text.
std::string SizeFault(std::size_t size, std::size_t expected);

const BlockFormat* FindFormat(const std::vector<BlockFormat>& formats, std::uint32_t parameter);

// The parameters of each driver, in the order of their identifiers.
const std::vector<BlockFormat>& SkylakeFormats();
const std::vector<BlockFormat>& BroadwellFormats();
const std::vector<BlockFormat>& QualcommFormats();

// As their drivers write them: "21", "0x1001440D".
std::string ParameterText(std::uint32_t parameter);

}  // namespace orv
