#include "cli/show/clock.h"

#include <fmt/chrono.h>

#include <iomanip>
#include <sstream>

namespace orv::cli {
namespace {

using std::chrono::system_clock;

std::string Fraction(WallTime time, Precision precision) {
  using namespace std::chrono;
  if (precision == Precision::Seconds) return {};
  return fmt::format(".{:03}", floor<milliseconds>(time.time_since_epoch()).count() % 1000);
}

}  // namespace

std::string LocalClock(WallTime time, Precision precision) {
  return fmt::format("{:%H:%M:%S}{}", fmt::localtime(system_clock::to_time_t(time)),
                     Fraction(time, precision));
}

std::string UtcText(WallTime time, Precision precision) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}{}Z", fmt::gmtime(system_clock::to_time_t(time)),
                     Fraction(time, precision));
}

std::string LocalFromUtc(const std::string& utc) {
  using namespace std::chrono;
  std::tm parts{};
  std::istringstream text(utc);
  if (!(text >> std::get_time(&parts, "%Y-%m-%dT%H:%M:%SZ"))) return utc;
  const sys_days day = year(parts.tm_year + 1900) / (parts.tm_mon + 1) / parts.tm_mday;
  const WallTime time = day + hours(parts.tm_hour) + minutes(parts.tm_min) + seconds(parts.tm_sec);
  return fmt::format("{:%Y-%m-%d %H:%M:%S}", fmt::localtime(system_clock::to_time_t(time)));
}

}  // namespace orv::cli
