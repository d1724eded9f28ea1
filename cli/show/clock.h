// Points in time as text.
#pragma once

#include <chrono>
#include <string>

namespace orv::cli {

using WallTime = std::chrono::system_clock::time_point;

std::string LocalClock(WallTime time);  // "21:14:07.250" in the local time zone
std::string UtcText(WallTime time);     // "2026-01-31T20:14:07.250Z"

}  // namespace orv::cli
