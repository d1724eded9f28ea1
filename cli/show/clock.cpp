#include "cli/show/clock.h"

#include <fmt/chrono.h>

namespace orv::cli {
namespace {

int Milliseconds(WallTime time) {
  using namespace std::chrono;
  return static_cast<int>(floor<milliseconds>(time.time_since_epoch()).count() % 1000);
}

}  // namespace

std::string LocalClock(WallTime time) {
  return fmt::format("{:%H:%M:%S}.{:03}",
                     fmt::localtime(std::chrono::system_clock::to_time_t(time)),
                     Milliseconds(time));
}

std::string UtcText(WallTime time) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z",
                     fmt::gmtime(std::chrono::system_clock::to_time_t(time)), Milliseconds(time));
}

}  // namespace orv::cli
