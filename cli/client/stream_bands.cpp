#include "cli/client/stream_bands.h"

#include <map>
#include <set>

#include "analysis/spectrum.h"

namespace orv::cli {

void FitToStream(std::vector<Band>& bands, std::uint32_t sample_rate) {
  const auto is_outside = [&](std::uint32_t point) { return !IsInBand(point, sample_rate); };
  std::erase_if(bands, [&](const Band& band) { return is_outside(band.frequency); });
  const SpectrumBins bins(sample_rate);
  if (bins.count() == 0) return;
  std::map<std::set<std::uint32_t>, std::uint32_t> first;  // band by its bins
  for (Band& band : bands) {
    std::erase_if(band.points, is_outside);
    std::set<std::uint32_t> held;
    for (const std::uint32_t point : band.points) held.insert(bins.Nearest(point));
    const auto [place, is_new] = first.emplace(std::move(held), band.frequency);
    if (!is_new) band.same_bins_as = place->second;
  }
}

}  // namespace orv::cli
