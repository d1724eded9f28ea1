// What a simulated machine consists of, apart from its registry: the content of machine.json as
// values.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/multimedia.h"
#include "simulated/description/fault_operation.h"
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
  std::uint32_t form_factor =
      1;  // platform's EndpointFormFactor: 1 speakers, 3 headphones, 5 headset, 9 HDMI
  bool is_default = false;  // of its flow; without one, the first active endpoint is it
  std::vector<SimulatedProperty> properties;  // in the order in which the store hands them out
};

// A planned failure: the nth call (from 1) of an operation, or every call.
struct PlannedFault {
  FaultOperation operation;
  std::optional<std::uint32_t> nth;  // nothing: always
  std::int32_t status = 0;           // what the call answers
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
  // A section that the playback sound reads for itself: JSON text whose lines have their numbers in
  // the file, empty when the file has none.
  std::string playback_json;
};

}  // namespace orv
