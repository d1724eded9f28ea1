// Which drivers a simulated machine has and how they behave: the "drivers" section of machine.json
// as values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "orv_apo/com.h"

namespace orv {

class JsonField;
struct SimulatedEndpoint;

// One way in which a driver does not do what it should.
struct DriverMisbehaviour {
  enum class Kind {
    Refuse,     // the request itself fails with `status`; nothing is done
    Status,     // the driver's own status: with a negative one nothing is done
    Absent,     // as if the driver did not know the parameter
    Late,       // answers after `delay_ms`
    Short,      // answers only the first `size` bytes
    Stale,      // answers the block before the last one that was written
    Corrupt,    // the answer's byte at `offset` comes out xor `mask`
    Uncounted,  // answers in full, but reports 0 bytes
  };
  enum class Direction { Any, Get, Set };

  Kind kind = Kind::Refuse;
  Direction direction = Direction::Any;
  std::string request;                     // see platform/driver_names.h; empty: every request
  std::optional<std::uint32_t> parameter;  // of "parameter" requests; nullopt: every one
  std::optional<std::uint32_t> nth;        // counted among those it is meant for; nullopt: always
  std::int32_t status = 0;
  std::uint32_t delay_ms = 0;
  std::uint32_t size = 0;
  std::uint32_t offset = 0;
  std::uint8_t mask = 0xFF;
};
inline constexpr std::uint32_t kLongestDriverDelay = 10000;  // ms

// What a driver reports about its post-processing module.
struct SimulatedModule {
  std::string name = "Post Processing Module";
  std::string version = "2.1.0";
  bool enabled = true;  // before a client changes it
};

// An entry of the Skylake driver's module list.
struct ListedModule {
  GUID id{};
  std::uint32_t type = 0;  // 0 SFX, 1 MFX, 2 EFX
  std::string name;        // at most 63 bytes
  std::string version;
};

// An endpoint whose path leads to a wave filter of the Skylake driver.
struct SkylakeEndpoint {
  std::wstring id;         // the endpoint's
  bool has_module = true;  // without: the wave filter knows no module requests
  std::uint32_t node = 9;  // low 16 bits of the host connector's local identifier
  std::uint32_t offload_pin = 2;
  // Instead of the path: a connector that is connected to itself, and so often comes before itself.
  // Machine files do not describe it.
  std::optional<std::size_t> circles = std::nullopt;
};

struct SkylakeDescription {
  std::vector<SkylakeEndpoint> endpoints;
  std::uint8_t interface_version = 1;
  std::uint8_t features = 3;
  std::uint8_t revision = 0;  // byte 4 of the version answer
  SimulatedModule module;
  std::uint32_t module_type = 1;
  bool module_listed = true;
  bool module_instantiated = true;
  std::vector<ListedModule> other_modules;  // listed before the post-processing module
  std::vector<DriverMisbehaviour> misbehaviour;
};

struct BroadwellDescription {
  std::uint32_t interfaces = 1;  // device interfaces that the driver shows
  std::uint8_t interface_version = 1;
  std::uint8_t features = 3;
  // Off until a client switches it on, unless the description has it on.
  SimulatedModule module = {.enabled = false};
  std::vector<DriverMisbehaviour> misbehaviour;
};

struct QualcommDescription {
  std::uint32_t interfaces = 1;
  std::vector<DriverMisbehaviour> misbehaviour;
};

struct DriversDescription {
  std::optional<SkylakeDescription> skylake;
  std::optional<BroadwellDescription> broadwell;
  std::optional<QualcommDescription> qualcomm;
};

// Reads the section; `endpoints` are those of the same file. Throws FileError.
DriversDescription ReadDrivers(const JsonField& field,
                               const std::vector<SimulatedEndpoint>& endpoints);

}  // namespace orv
