// The steps of a filter design, with the time per section: design, scaling, quantising, and the
// response at 1000 frequencies. "blocks" is the length of a scaling run; ScalingOneByOne runs the
// sections one after another instead of in step.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "dsp_math/cascade_response.h"
#include "dsp_math/filter_design.h"
#include "dsp_math/filter_steps.h"

namespace orv {
namespace {

constexpr std::int32_t kRate = 48000;

std::vector<FilterSection> HighPass(const benchmark::State& state) {
  const auto order = static_cast<std::int32_t>(state.range(0));
  std::vector<FilterSection> sections(ButterworthSections(order));
  DesignButterworthSections(static_cast<float>(state.range(1)), order, kRate, kButterworthHighPass,
                            sections.data());
  return sections;
}

void PerSection(benchmark::State& state, std::size_t sections) {
  state.counters["per_section"] = benchmark::Counter(
      static_cast<double>(sections),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The run by its definition, for comparison; returns the number of blocks.
int ScaleOneByOne(const std::vector<FilterSection>& sections, std::vector<float>& norms) {
  std::vector<float> states(2 * sections.size());
  std::vector<float> signal(128);
  norms.assign(3 * sections.size(), 0);
  float last = 1;
  int block = 0;
  for (; block < 11 || last > 1.28e-10F; ++block) {
    std::fill(signal.begin(), signal.end(), 0.0F);
    if (block == 0) signal[0] = 1;
    for (std::size_t i = 0; i < sections.size(); ++i) {
      const FilterSection& section = sections[i];
      float s0 = states[2 * i];
      float s1 = states[2 * i + 1];
      float sums[3] = {};
      for (float& sample : signal) {
        const double x = sample;
        sample = static_cast<float>(section.b0 * x + s0);
        s0 = static_cast<float>(section.b1 * x + section.a1 * static_cast<double>(sample) + s1);
        s1 = static_cast<float>(section.b2 * x + section.a2 * static_cast<double>(sample));
        sums[0] += std::fabs(sample);
        sums[1] += std::fabs(s0);
        sums[2] += std::fabs(s1);
      }
      states[2 * i] = s0;
      states[2 * i + 1] = s1;
      for (std::size_t k = 0; k < 3; ++k) norms[3 * i + k] += sums[k];
      last = sums[0];
    }
  }
  return block;
}

void Scaling(benchmark::State& state) {
  const auto designed = HighPass(state);
  std::vector<float> norms;
  state.counters["blocks"] = ScaleOneByOne(designed, norms);
  std::vector<float> run(5 * designed.size() + 384);
  for (auto _ : state) {
    auto sections = designed;
    benchmark::DoNotOptimize(ScaleSectionsL1(sections.data(), sections.size(), run.data()));
  }
  PerSection(state, designed.size());
}

void ScalingOneByOne(benchmark::State& state) {
  const auto designed = HighPass(state);
  std::vector<float> norms;
  for (auto _ : state) benchmark::DoNotOptimize(ScaleOneByOne(designed, norms));
  PerSection(state, designed.size());
}

void Orders(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgsProduct({{2, 4, 6, 8, 12, 16, 24}, {60, 1000}});
}
BENCHMARK(Scaling)->Apply(Orders);
BENCHMARK(ScalingOneByOne)->Apply(Orders);

std::vector<FilterSection> TwelveSections() {
  std::vector<FilterSection> sections(12);
  DesignButterworthSections(60, 24, kRate, kButterworthHighPass, sections.data());
  return sections;
}

void DesigningButterworth(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(TwelveSections().data());
  PerSection(state, 12);
}
BENCHMARK(DesigningButterworth);

void DesigningBand(benchmark::State& state) {
  const FilterBand band{static_cast<std::int32_t>(state.range(0)), 1000, 2, 6, 0};
  FilterSection section{};
  for (auto _ : state) {
    DesignBand(band, kRate, section);
    benchmark::DoNotOptimize(section);
  }
  PerSection(state, 1);
}
BENCHMARK(DesigningBand)
    ->Arg(kORVFilter_Traditional)
    ->Arg(kORVFilter_LowShelf)
    ->Arg(kORVFilter_Peaking);

void Quantising(benchmark::State& state) {
  const auto sections = TwelveSections();
  std::vector<std::int32_t> words(FilterWords(sections.size()));
  for (auto _ : state) {
    QuantiseSections(sections.data(), sections.size(), 1.5F, words.data());
    benchmark::DoNotOptimize(words.data());
  }
  PerSection(state, sections.size());
}
BENCHMARK(Quantising);

void ResponseAt1000Points(benchmark::State& state) {
  const auto sections = TwelveSections();
  const Cascade cascade(sections.data(), sections.size());
  for (auto _ : state)
    for (int i = 0; i < 1000; ++i)
      benchmark::DoNotOptimize(cascade.Decibels(20.0 + 20.0 * i, kRate));
  PerSection(state, sections.size());
}
BENCHMARK(ResponseAt1000Points);

// A whole design as a driver's client makes it.
void FourBandEqualizer(benchmark::State& state) {
  const FilterBand bands[] = {{kORVFilter_Traditional, 50, 3, -12, 0},
                              {kORVFilter_Traditional, 500, 2, 20, 0},
                              {kORVFilter_Traditional, 5000, 2, 6, 0},
                              {kORVFilter_Traditional, 15000, 4, -12, 0}};
  std::vector<std::int32_t> words(FilterWords(4));
  std::vector<char> workspace(FilterWorkspace(4));
  for (auto _ : state) {
    benchmark::DoNotOptimize(DesignFilterSet({4, bands, kRate}, words.data(), workspace.data()));
  }
  PerSection(state, 4);
}
BENCHMARK(FourBandEqualizer);

}  // namespace
}  // namespace orv
