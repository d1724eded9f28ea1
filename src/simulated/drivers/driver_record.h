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
  std::uint64_t number = 0;  // counts every record and refusal of the machine, from 1
};

// A request that a driver did not take.
struct DriverRefusal {
  std::string driver;
  std::string request;  // "parameter 0x10014407", "version"
  std::string reason;
  std::uint32_t parameter = 0;  // of a "parameter" request
  bool planned = false;         // the machine's description asks for it; the request was right
  std::uint64_t number = 0;     // as of a record
};

// What a driver plays but a listener or a loudspeaker would notice: an unstable or silent section,
// a custom size without its coefficients, a module that is switched off.
struct DriverRemark {
  std::string driver;
  std::uint32_t parameter = 0;  // 0: the module as a whole
  std::string text;
};

}  // namespace orv
