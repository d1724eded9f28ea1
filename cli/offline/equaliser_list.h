// Equaliser lists as measuring programs write them, one filter on a line:
//
//   Preamp: -6 dB
//   Filter 1: ON PK Fc 105 Hz Gain -4.5 dB Q 2.1
//   Filter 2: ON LSC 12 dB Fc 80 Hz Gain 3 dB
//   Filter 3: OFF None
//
// A pure codec. Reading never fails as a whole: lines that are not understood are listed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

enum class ListFilterType : std::uint8_t {
  None,  // a free place
  Peaking,
  LowShelf,
  HighShelf,
  HighPass,
  LowPass,
  Notch,
  AllPass,
};

// The channels that lines are for.
enum class ListChannel : std::uint8_t { Both, Left, Right };

// Numbers are within the bounds of a list: 0.01 Hz to 1 MHz, 300 dB up or down, quality and slope
// 0.0001 to 10000.
struct ListFilter {
  std::size_t line = 0;  // 1-based; 0 in a list that was not read
  ListChannel channel = ListChannel::Both;
  bool on = true;
  ListFilterType type = ListFilterType::Peaking;
  double frequency = 0;         // Hz
  double gain_db = 0;           // 0 for types without a gain
  std::optional<double> q;      // quality factor; a width in octaves is read as one
  std::optional<double> slope;  // of a shelf, in dB an octave
  std::string_view typed = {};  // the type as the list has it ("LS"); empty if it was not read

  bool operator==(const ListFilter&) const = default;
};

struct ListPreamp {
  std::size_t line = 0;
  ListChannel channel = ListChannel::Both;
  double gain_db = 0;

  bool operator==(const ListPreamp&) const = default;
};

struct EqualiserList {
  struct Problem {
    std::size_t line = 0;  // 1-based
    std::string reason;    // may quote the line, whatever bytes are in it
  };
  std::vector<ListPreamp> preamps;
  std::vector<ListFilter> filters;  // in the order of their lines
  std::vector<Problem> problems;
};

inline constexpr std::size_t kEqualiserListLimit = 1U << 20;  // bytes of a file

// Reads any bytes. Lines end in LF, CR or both. Numbers have a decimal point or comma (the list
// decides where a number alone does not), may have thousands separators (comma, point, blank,
// apostrophe) and signs; units may touch them; kHz is known. Empty lines, lines that begin with
// "#", "*", ";" or "//", and the lines before the first "Filter", "Preamp" or "Channel" are passed
// over.
EqualiserList ReadEqualiserList(std::string_view text);

// Channel by channel: those for both, then left, then right. Numbers the filters of each from 1.
// Reading gives the same preamplification and filters back, in that order.
std::string WriteEqualiserList(const EqualiserList& list);

// "PK", "LSC", ..., as typed, else as written.
const char* ListTypeName(const ListFilter& filter);

}  // namespace orv::cli
