// What a simulated machine consists of, apart from its registry: machine.json as values.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_error.h"
#include "platform/multimedia.h"
#include "simulated/description/fault_plan.h"
#include "simulated/drivers/driver_description.h"

namespace orv {

// One text (or number) of an endpoint's property store.
struct SimulatedProperty {
  PROPERTYKEY key{};
  VARTYPE type = VT_EMPTY;  // VT_LPWSTR, VT_UI4 or VT_BLOB
  std::wstring text;
  std::uint32_t number = 0;
  std::vector<std::uint8_t> blob;
};

struct SimulatedEndpoint {
  std::wstring id;  // "{0.0.0.00000000}.{GUID}"
  DWORD state = DEVICE_STATE_ACTIVE;
  EDataFlow flow = eRender;
  // The platform's EndpointFormFactor: 1 speakers, 3 headphones, 5 headset, 9 HDMI.
  std::uint32_t form_factor = 1;
  bool is_default = false;                    // of its flow; if none is, the first active endpoint
  std::vector<SimulatedProperty> properties;  // in the order of the store
};

// A planned failure: the nth call (from 1) of an operation, or every call.
struct PlannedFault {
  FaultOperation operation;
  std::optional<std::uint32_t> nth;  // nullopt: always
  std::int32_t status = 0;           // what the call returns
};

struct MachineDescription {
  std::vector<SimulatedEndpoint> endpoints;
  std::optional<std::wstring> program_data = L"C:\\ProgramData";
  std::optional<std::wstring> program_files = L"C:\\Program Files";
  std::optional<std::wstring> system_directory = L"C:\\Windows\\System32";
  std::uint32_t version_major = 10;
  std::uint32_t version_minor = 0;
  bool is_32bit_process = false;
  std::vector<PlannedFault> faults;
  DriversDescription drivers;
  std::vector<std::wstring> events;  // names of the events that exist
  // The "playback" section: JSON text whose lines have the same numbers as in the file. Empty if
  // the file has none.
  std::string playback_json;
};

// Both return nullopt, with the line and the reason in `error`, if machine.json is refused.
std::optional<MachineDescription> ParseMachineFile(std::string_view text, FileError& error);
std::optional<MachineDescription> ReadMachineFile(const std::filesystem::path& file,
                                                  FileError& error);

}  // namespace orv
