// The end of a wait.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>

namespace orv {

// At most a century: beyond it the clocks' own range ends.
inline std::chrono::milliseconds LimitOfWait(std::chrono::milliseconds limit) noexcept {
  return std::clamp<std::chrono::milliseconds>(limit, std::chrono::milliseconds::zero(),
                                               std::chrono::hours(24 * 365 * 100));
}

class Deadline {
 public:
  using Limit = std::optional<std::chrono::milliseconds>;

  // Of a wait that starts now; without a limit it has no end.
  explicit Deadline(Limit limit) noexcept {
    if (limit) end_ = std::chrono::steady_clock::now() + LimitOfWait(*limit);
  }
  // The remaining milliseconds, 0 to `most`; `endless` if the wait has no end.
  template <class Number>
  Number Rest(Number most, Number endless) const noexcept {
    if (!end_) return endless;
    const auto rest =
        std::chrono::ceil<std::chrono::milliseconds>(*end_ - std::chrono::steady_clock::now());
    return static_cast<Number>(std::clamp<std::int64_t>(rest.count(), 0, most));
  }

 private:
  std::optional<std::chrono::steady_clock::time_point> end_;
};

}  // namespace orv
