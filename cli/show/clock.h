// Points in time as text.
#pragma once

#include <chrono>
#include <string>

namespace orv::cli {

using WallTime = std::chrono::system_clock::time_point;
enum class Precision { Seconds, Milliseconds };

// "21:14:07.250" in the local time zone.
std::string LocalClock(WallTime time, Precision precision = Precision::Milliseconds);
// "2026-01-31T20:14:07.250Z"
std::string UtcText(WallTime time, Precision precision = Precision::Milliseconds);
// What UtcText makes in whole seconds, as "2026-01-31 21:14:07" in the local zone; another text as
// it is.
std::string LocalFromUtc(const std::string& utc);

}  // namespace orv::cli
