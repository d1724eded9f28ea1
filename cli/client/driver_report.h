// What the drivers of a simulated machine tell of themselves.
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
  std::vector<DriverFinding> remarks;
  std::vector<Event> events;
};

// Of the machine in the folder (empty: as OpenMachine takes it). Throws Failure when the machine is
// not simulated.
DriverReport ReadDrivers(std::filesystem::path folder);

}  // namespace orv::cli
