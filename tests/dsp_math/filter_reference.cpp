#include "filter_reference.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orv::reference {
namespace {

using Wide = long double;
constexpr Wide kPi = std::numbers::pi_v<Wide>;

Section Normalised(const Wide (&b)[3], const Wide (&a)[3]) {
  return {float(b[0] / a[0]), float(b[1] / a[0]), float(b[2] / a[0]), float(-a[1] / a[0]),
          float(-a[2] / a[0])};
}

Section UnsignedBand(const FilterBand& band, int rate) {
  const Wide w = double(band.frequency) * 2 * std::numbers::pi / rate;
  const Wide gain = std::pow(10.0L, Wide(band.gain_db) / 20);
  const Wide A = std::sqrt(gain);
  const Wide c = std::cos(w);
  const Wide Q = band.type == 3 || band.type == 4 ? gain : Wide(band.q);
  const Wide al = std::sin(w) / 2 / Q;
  const Wide slope = (1 / Wide(band.q) - 1) * (gain + 1) + 2 * A;
  const Wide v = std::sin(w) * std::sqrt(std::max(slope, Wide(0.0081)));
  switch (band.type) {
    case 0: {
      const Wide t = std::tan(w / 3 / band.q);
      const Wide m = gain < 1 ? gain : 1;
      return Normalised({m + t * gain, -2 * m * c, m - t * gain}, {m + t, -2 * m * c, m - t});
    }
    case 1:
      return Normalised(
          {A * (A + 1 - (A - 1) * c + v), 2 * A * (A - 1 - (A + 1) * c),
           A * (A + 1 - (A - 1) * c - v)},
          {A + 1 + (A - 1) * c + v, -2 * (A - 1 + (A + 1) * c), A + 1 + (A - 1) * c - v});
    case 2:
      return Normalised(
          {A * (A + 1 + (A - 1) * c + v), -2 * A * (A - 1 + (A + 1) * c),
           A * (A + 1 + (A - 1) * c - v)},
          {A + 1 - (A - 1) * c + v, 2 * (A - 1 - (A + 1) * c), A + 1 - (A - 1) * c - v});
    case 3:
      return Normalised({(1 - c) / 2, 1 - c, (1 - c) / 2}, {1 + al, -2 * c, 1 - al});
    case 4:
      return Normalised({(1 + c) / 2, -1 - c, (1 + c) / 2}, {1 + al, -2 * c, 1 - al});
    case 5:
      return Normalised({gain * al, 0, -gain * al}, {1 + al, -2 * c, 1 - al});
    case 6:
      return Normalised({gain * (1 - al), -2 * gain * c, gain * (1 + al)},
                        {1 + al, -2 * c, 1 - al});
    case 7:
      return Normalised({1, -2 * c, 1}, {1 + al, -2 * c, 1 - al});
    case 8:
      return Normalised({1 + al * A, -2 * c, 1 - al * A}, {1 + al / A, -2 * c, 1 - al / A});
    default:
      return {float(gain), 0, 0, 0, 0};
  }
}

struct Node {
  float total = 0;
  float block = 0;
  void Count(float value) { block += std::fabs(value); }
  void EndBlock() {
    total += block;
    block = 0;
  }
};

// One section after another, a block at a time; only states, outputs and sums are single precision.
std::vector<float> Levels(const std::vector<Section>& sections) {
  struct State {
    float s0 = 0, s1 = 0;
    Node nodes[3];
  };
  std::vector<State> states(sections.size());
  float last = 1;
  for (int block = 0; block < 11 || (block < 65536 && last > 1.28e-10F); ++block) {
    std::vector<float> signal(128);
    signal[0] = block == 0 ? 1.0F : 0.0F;
    for (std::size_t i = 0; i < sections.size(); ++i) {
      const Section& f = sections[i];
      auto& [s0, s1, nodes] = states[i];
      for (float& sample : signal) {
        const Wide x = sample;
        sample = float(f.b0 * x + s0);
        s0 = float(f.b1 * x + f.a1 * Wide(sample) + s1);
        s1 = float(f.b2 * x + f.a2 * Wide(sample));
        nodes[0].Count(sample);
        nodes[1].Count(s0);
        nodes[2].Count(s1);
      }
      last = nodes[0].block;
      for (Node& node : nodes) node.EndBlock();
    }
  }
  std::vector<float> levels;
  for (const State& state : states) {
    levels.push_back(std::max({state.nodes[0].total, state.nodes[1].total, state.nodes[2].total}));
  }
  return levels;
}

void Quantise(std::initializer_list<float> values, int bits, std::vector<std::int64_t>& words) {
  Wide largest = 0;
  for (const float value : values) largest = std::max(largest, std::fabs(Wide(value)));
  int shift = 0;
  while (std::ldexp(1.0L, shift - 1) <= largest) ++shift;
  words.push_back(shift);
  const Wide limit = std::ldexp(1.0L, bits - 1);
  for (const float value : values) {
    words.push_back(
        std::llround(std::clamp(std::ldexp(Wide(value), bits - shift), -limit, limit - 1)));
  }
}

}  // namespace

Section Band(const FilterBand& band, int rate) {
  Section section = UnsignedBand(band, rate);
  if (band.invert != 0) {
    for (float* b : {&section.b0, &section.b1, &section.b2}) *b = -*b;
  }
  return section;
}

std::vector<std::int64_t> Words(std::vector<Section> sections, int bits) {
  const std::vector<float> levels = Levels(sections);
  std::vector<std::int64_t> words;
  float before = 1;
  for (std::size_t i = 0; i < sections.size(); ++i) {
    const float ratio = levels[i] / before;
    before = levels[i];
    const Section& f = sections[i];
    Quantise({f.b0 / ratio, f.b1 / ratio, f.b2 / ratio, f.a1, f.a2}, bits, words);
  }
  Quantise({before}, bits, words);
  return words;
}

}  // namespace orv::reference
