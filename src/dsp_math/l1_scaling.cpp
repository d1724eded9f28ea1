// The scaling run: the impulse response of a cascade and the L1 norms of its nodes.
//
// Each sample of a section waits for the one before, so a section alone leaves the processor idle.
// Sections therefore run in step, one in each lane and each one sample behind the section that
// feeds it. A lane computes the same numbers, in the same order, as its section alone.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "dsp_math/filter_steps.h"

namespace orv {
namespace {

constexpr unsigned kBlock = 128;  // samples
constexpr unsigned kFewestBlocks = 11;
constexpr unsigned kMostBlocks = 65536;  // for designs that never decay
constexpr float kDecayed = 1.28e-10F;    // the most that the last section's outputs may add up to
constexpr float kOverflow = std::numeric_limits<float>::infinity();

// States and sums of the whole cascade, in the caller's storage.
struct Run {
  const FilterSection* sections;
  std::size_t count;
  float* state0;
  float* state1;
  float* output_sum;
  float* state0_sum;
  float* state1_sum;
  float* samples;  // kBlock values: the input of a group of sections, then its output
};

struct BlockSums {
  float output;
  float state0;
  float state1;
};

// Adds a block's sums to the run's, unless one of them would leave single precision.
bool Add(const Run& run, std::size_t section, const BlockSums& block) {
  const BlockSums sums{run.output_sum[section] + block.output,
                       run.state0_sum[section] + block.state0,
                       run.state1_sum[section] + block.state1};
  if (!std::isfinite(sums.output) || !std::isfinite(sums.state0) || !std::isfinite(sums.state1)) {
    return false;
  }
  run.output_sum[section] = sums.output;
  run.state0_sum[section] = sums.state0;
  run.state1_sum[section] = sums.state1;
  return true;
}

typedef float Singles __attribute__((vector_size(8)));
typedef double Doubles __attribute__((vector_size(16)));
typedef std::int32_t Bits __attribute__((vector_size(8)));
constexpr unsigned kWidth = 2;

Doubles Widened(const Singles& singles) { return __builtin_convertvector(singles, Doubles); }
Singles Rounded(const Doubles& doubles) { return __builtin_convertvector(doubles, Singles); }
Singles Magnitude(const Singles& singles) {
  return reinterpret_cast<Singles>(reinterpret_cast<Bits>(singles) & 0x7FFFFFFF);
}

// Up to 2 * kVectors sections for one block, beginning with section `first`.
template <unsigned kVectors>
class Lanes {
 public:
  static constexpr unsigned kLanes = kWidth * kVectors;

  Lanes(const Run& run, std::size_t first)
      : run_(run), first_(first), used_(std::min<std::size_t>(run.count - first, kLanes)) {
    for (std::size_t i = 0; i < used_; ++i) {
      const FilterSection& section = run.sections[first + i];
      const std::size_t v = i / kWidth;
      const std::size_t lane = i % kWidth;
      b0_[v][lane] = section.b0;
      b1_[v][lane] = section.b1;
      b2_[v][lane] = section.b2;
      a1_[v][lane] = section.a1;
      a2_[v][lane] = section.a2;
      state0_[v][lane] = run.state0[first + i];
      state1_[v][lane] = run.state1[first + i];
    }
  }

  // The sum of the last section's outputs, or kOverflow.
  float RunBlock() {
    for (unsigned time = 0; time < kLanes - 1; ++time) Step<true>(time);
    for (unsigned time = kLanes - 1; time < kBlock; ++time) Step<false>(time);
    for (unsigned time = kBlock; time < kBlock + kLanes - 1; ++time) Step<true>(time);
    return Keep();
  }

 private:
  // With kEdge some lanes have not begun the block or have finished it.
  template <bool kEdge>
  void Step(unsigned time) {
    const Doubles sample = Doubles{} + (time < kBlock ? run_.samples[time] : 0.0F);
    for (unsigned v = kVectors; v-- > 0;) {
      const Doubles x = __builtin_shufflevector(v == 0 ? sample : output_[v - 1], output_[v], 1, 2);
      const Singles y = Rounded(b0_[v] * x + state0_[v]);
      output_[v] = Widened(y);
      Singles s0 = Rounded(b1_[v] * x + a1_[v] * output_[v] + state1_[v]);
      Singles s1 = Rounded(b2_[v] * x + a2_[v] * output_[v]);
      Bits active = {-1, -1};
      if constexpr (kEdge) {
        for (unsigned lane = 0; lane < kWidth; ++lane) {
          if (time - (v * kWidth + lane) < kBlock) continue;
          active[lane] = 0;
          s0[lane] = static_cast<float>(state0_[v][lane]);
          s1[lane] = static_cast<float>(state1_[v][lane]);
        }
      }
      state0_[v] = Widened(s0);
      state1_[v] = Widened(s1);
      output_sum_[v] += Counted(y, active);
      state0_sum_[v] += Counted(s0, active);
      state1_sum_[v] += Counted(s1, active);
    }
    if (time >= kLanes - 1) {
      run_.samples[time - (kLanes - 1)] = static_cast<float>(output_[kVectors - 1][kWidth - 1]);
    }
  }

  static Singles Counted(const Singles& singles, const Bits& active) {
    return reinterpret_cast<Singles>(reinterpret_cast<Bits>(Magnitude(singles)) & active);
  }

  float Keep() {
    float last = 0;
    for (std::size_t i = 0; i < used_; ++i) {
      const std::size_t v = i / kWidth;
      const std::size_t lane = i % kWidth;
      last = output_sum_[v][lane];
      if (!Add(run_, first_ + i, {last, state0_sum_[v][lane], state1_sum_[v][lane]})) {
        return kOverflow;
      }
      run_.state0[first_ + i] = static_cast<float>(state0_[v][lane]);
      run_.state1[first_ + i] = static_cast<float>(state1_[v][lane]);
    }
    return last;
  }

  const Run& run_;
  std::size_t first_;
  std::size_t used_;
  Doubles b0_[kVectors]{};
  Doubles b1_[kVectors]{};
  Doubles b2_[kVectors]{};
  Doubles a1_[kVectors]{};
  Doubles a2_[kVectors]{};
  Doubles state0_[kVectors]{};
  Doubles state1_[kVectors]{};
  Doubles output_[kVectors]{};
  Singles output_sum_[kVectors]{};
  Singles state0_sum_[kVectors]{};
  Singles state1_sum_[kVectors]{};
};

// A section without another to wait for: after the impulse its input is zero, and its output is its
// state.
float RunSingleBlock(const Run& run) {
  const double a1 = run.sections->a1;
  const double a2 = run.sections->a2;
  float s0 = *run.state0;
  float s1 = *run.state1;
  const double x = run.samples[0];
  // The end of a response below the normal numbers changes no sum, and many processors are slow
  // with those.
  constexpr float kSmallest = std::numeric_limits<float>::min();
  if (x == 0 && std::fabs(s0) < kSmallest && std::fabs(s1) < kSmallest) return 0;
  BlockSums sums{};
  unsigned begin = 0;
  if (x != 0) {
    const float y = static_cast<float>(run.sections->b0 * x + s0);
    s0 = static_cast<float>(run.sections->b1 * x + a1 * y + s1);
    s1 = static_cast<float>(run.sections->b2 * x + a2 * y);
    sums = {std::fabs(y), std::fabs(s0), std::fabs(s1)};
    begin = 1;
  }
  for (unsigned time = begin; time < kBlock; ++time) {
    const float y = s0;
    s0 = static_cast<float>(a1 * y + s1);
    s1 = static_cast<float>(a2 * y);
    sums.output += std::fabs(y);
    sums.state0 += std::fabs(s0);
    sums.state1 += std::fabs(s1);
  }
  *run.state0 = s0;
  *run.state1 = s1;
  return Add(run, 0, sums) ? sums.output : kOverflow;
}

// One block of the sections from `first` on, in groups; the last group has no more lanes than it
// needs. The sum of the last section's outputs, or kOverflow.
template <unsigned kVectors>
float RunBlock(const Run& run, std::size_t first = 0) {
  if constexpr (kVectors > 1) {
    if (run.count - first <= Lanes<kVectors / 2>::kLanes) return RunBlock<kVectors / 2>(run, first);
  }
  const float last = Lanes<kVectors>(run, first).RunBlock();
  first += Lanes<kVectors>::kLanes;
  return first < run.count && last != kOverflow ? RunBlock<kVectors>(run, first) : last;
}

}  // namespace

float ScaleSectionsL1(FilterSection* sections, std::size_t count, float* storage) {
  std::fill_n(storage, 5 * count, 0.0F);
  const Run run{sections,
                count,
                storage,
                storage + count,
                storage + 2 * count,
                storage + 3 * count,
                storage + 4 * count,
                storage + 5 * count};
  for (unsigned block = 1; block <= kMostBlocks; ++block) {
    std::fill_n(run.samples, kBlock, 0.0F);
    if (block == 1) run.samples[0] = 1;
    const float last = count == 1 ? RunSingleBlock(run) : RunBlock<4>(run);
    if (last == kOverflow || (block >= kFewestBlocks && last <= kDecayed)) break;
  }
  float level = 1;
  for (std::size_t i = 0; i < count; ++i) {
    const float worst = std::max({run.output_sum[i], run.state0_sum[i], run.state1_sum[i]});
    const float ratio = worst / level;
    sections[i].b0 /= ratio;
    sections[i].b1 /= ratio;
    sections[i].b2 /= ratio;
    level = worst;
  }
  return level;
}

}  // namespace orv
