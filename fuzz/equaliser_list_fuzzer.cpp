// Equaliser lists come from other programs: whatever is in them, reading ends with filters within
// the bounds of a list and with problems on lines that exist, and what was read is written and read
// back unchanged.
#include <algorithm>

#include "cli/offline/band_fit.h"
#include "cli/offline/equaliser_list.h"
#include "fuzzer.h"

namespace orv::fuzz {

void Run(std::span<const std::uint8_t> bytes) {
  using namespace cli;
  const std::string_view text = TextOf(bytes);
  const EqualiserList list = ReadEqualiserList(text);
  const auto lines = static_cast<std::size_t>(
      1 + std::ranges::count_if(text, [](char c) { return c == '\n' || c == '\r'; }));
  for (const EqualiserList::Problem& problem : list.problems)
    if (problem.line == 0 || problem.line > lines || problem.reason.empty()) Require(false);
  const std::string written = WriteEqualiserList(list);
  const EqualiserList again = ReadEqualiserList(written);
  if (!again.problems.empty() || again.filters.size() != list.filters.size() ||
      again.preamps.size() != list.preamps.size() || WriteEqualiserList(again) != written)
    Require(false);
  const BandRanges ranges{{20, 20000, 1}, {-240, 240, 10}, {10, 1000, 100}, true};
  std::vector<Misfit> misfits;
  for (const BandValues& band :
       FitFilters(list.filters, {ranges, ranges, ranges}, {{}, {}, {}}, misfits))
    if (band.gain < -240 || band.gain > 240) Require(false);
}

}  // namespace orv::fuzz
