// What the drivers of one machine keep, and its form as a file.
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
#include "simulated/drivers/driver_record.h"

namespace orv {

struct HeldBlock {
  std::vector<std::byte> now;
  std::vector<std::byte> before;  // what `now` replaced; empty when it is the first
  bool operator==(const HeldBlock&) const = default;
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

  // Keep the record and make it what the driver holds; what cannot be kept changes nothing.
  void Receive(DriverRecord record);
  void Refuse(DriverRefusal refusal);
  bool IsEnabled(const char* driver, const SimulatedModule& module) const;
};

// The file begins with the number of the latest change, which distinguishes two changes within one
// tick of the file system's clock.
std::string EncodeDriverMemory(const DriverMemory& memory, std::uint64_t change);
std::optional<DriverMemory> DecodeDriverMemory(std::string_view text, std::uint64_t& change,
                                               FileError& error);

}  // namespace orv
