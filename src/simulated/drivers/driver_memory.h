// What the drivers of one machine hold, received and refused, and its form as a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/file_error.h"
#include "simulated/drivers/driver_description.h"

namespace orv {

// A parameter that a driver accepted, as it came over the interface.
struct DriverRecord {
  std::string driver;           // "skylake", "broadwell" or "qualcomm"
  std::uint32_t parameter = 0;  // the driver's own identifier
  std::uint32_t selector = 0;   // apply flag; form factor of a Qualcomm record
  std::vector<std::byte> bytes;
  std::uint64_t number = 0;  // counts every record and refusal of the machine, from 1
};

// A request that a driver refused.
struct DriverRefusal {
  std::string driver;
  std::string request;  // "parameter 0x10014407", "version"
  std::string reason;
  std::uint32_t parameter = 0;  // of a "parameter" request
  bool planned = false;         // the machine's description asks for it; the request was right
  std::uint64_t number = 0;     // as of a record
};

// A fault that a driver plays without complaint but a listener or a loudspeaker would notice: an
// unstable or silent section, a custom size without its coefficients, a module that is off.
struct DriverFinding {
  std::string driver;
  std::uint32_t parameter = 0;  // 0: the module as a whole
  std::string text;
};

struct HeldBlock {
  std::vector<std::byte> now;
  std::vector<std::byte> before;  // what `now` replaced; empty if it is the first
};

struct DriverMemory {
  std::map<std::pair<std::string, std::uint32_t>, HeldBlock> blocks;  // by driver and parameter
  std::map<std::string, std::uint8_t> enabled;      // module status that was set, by driver
  std::map<std::string, std::uint32_t> selections;  // "device identifier/part" to part
  std::map<std::string, std::uint64_t> signals;     // of named events
  std::vector<DriverRecord> received;               // the latest kKeptRecords, oldest first
  std::vector<DriverRefusal> refused;               // likewise
  std::uint64_t requests = 0;                       // number of the latest record or refusal

  static constexpr std::size_t kKeptRecords = 512;

  // Keep the record and make it what the driver holds; a failure changes nothing.
  void Receive(DriverRecord record);
  void Refuse(DriverRefusal refusal);
  // Null unless the driver accepted one.
  const HeldBlock* Held(const std::string& driver, std::uint32_t parameter) const;
  bool IsEnabled(const std::string& driver, const SimulatedModule& module) const;
};

// The file begins with the number of the latest change, which distinguishes two changes within one
// tick of the file system's clock.
std::string EncodeDriverMemory(const DriverMemory& memory, std::uint64_t change);
std::optional<DriverMemory> DecodeDriverMemory(std::string_view text, std::uint64_t& change,
                                               FileError& error);

// In the order of the drivers (Skylake, Broadwell, Qualcomm) that the machine has.
std::vector<DriverFinding> FindingsOn(const DriverMemory& memory,
                                      const DriversDescription& drivers);

}  // namespace orv
