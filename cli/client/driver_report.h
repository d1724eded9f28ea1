// What the drivers of a simulated machine received, refused and hold.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "simulated/drivers/driver_memory.h"

namespace orv::cli {

struct DriverReport {
  struct Event {
    std::string name;
    std::uint64_t signals = 0;
  };
  std::vector<DriverRecord> records;  // oldest first
  std::vector<DriverRefusal> refusals;
  std::vector<DriverFinding> findings;
  std::vector<Event> events;
};

// The report of the machine that OpenMachine opens for the folder. Throws Failure if it is not
// simulated.
DriverReport ReadDrivers(const std::filesystem::path& folder);

}  // namespace orv::cli
