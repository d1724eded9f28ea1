// Durations and comparisons that the benchmarks share.
#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>
#include <limits>
#include <vector>

namespace orv {

// Wall-clock durations of single runs.
class Durations {
 public:
  template <class Work>
  void Measure(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    microseconds_.push_back(
        std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
            .count());
  }
  double last() const { return microseconds_.back(); }
  double Quantile(double share) {
    const auto position =
        microseconds_.begin() +
        static_cast<std::ptrdiff_t>(share * static_cast<double>(microseconds_.size() - 1));
    std::nth_element(microseconds_.begin(), position, microseconds_.end());
    return *position;
  }
  double Median() { return Quantile(0.5); }
  template <class State>
  void Report(State& state) {
    state.counters["median_us"] = Median();
    state.counters["p99_us"] = Quantile(0.99);
  }

 private:
  std::vector<double> microseconds_;
};

// Nanoseconds of processor time of one run: other programs on the machine do not count.
template <class Work>
double ProcessorTime(std::size_t runs, Work&& work) {
  const std::clock_t start = std::clock();
  for (std::size_t i = 0; i < runs; ++i) work();
  return 1e9 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC /
         static_cast<double>(runs);
}

// Nanoseconds of wall-clock time of one run.
template <class Work>
double WallTime(std::size_t runs, Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < runs; ++i) work();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start)
             .count() /
         static_cast<double>(runs);
}

// The least times of two contenders that take turns, so that both meet the same machine. A turn of
// a millisecond is often left alone even where other programs run, and wall-clock time, unlike
// processor time in a virtual machine, is never too short.
struct Turns {
  double ours = std::numeric_limits<double>::infinity();   // nanoseconds of one run
  double other = std::numeric_limits<double>::infinity();  // likewise

  template <class Ours, class Other>
  void Take(std::size_t runs, Ours&& our_work, Other&& other_work) {
    ours = std::min(ours, WallTime(runs, our_work));
    other = std::min(other, WallTime(runs, other_work));
  }
  template <class State>
  void Report(State& state) const {
    state.counters["ours_ns"] = ours;
    state.counters["other_ns"] = other;
    state.counters["ours/other"] = ours / other;
  }
};

}  // namespace orv
