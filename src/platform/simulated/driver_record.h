// What the drivers of a simulated machine hold, received and refused.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orv {

// One parameter that a driver took, as it came over the interface.
struct DriverRecord {
  std::string driver;           // "skylake", "broadwell" or "qualcomm"
  std::uint32_t parameter = 0;  // the driver's own identifier
  std::uint32_t selector = 0;   // apply flag; form factor of a Qualcomm record
  std::vector<std::byte> bytes;
};

// A request that a driver did not take because it was wrong.
struct DriverRefusal {
  std::string driver;
  std::string request;  // "parameter 0x10014407", "version"
  std::string reason;
};

}  // namespace orv
