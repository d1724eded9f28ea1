// What the drivers of a simulated machine hold and received.
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

}  // namespace orv
