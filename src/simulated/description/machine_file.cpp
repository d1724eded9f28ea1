// Reads machine.json.
#include <fmt/format.h>

#include <algorithm>

#include "platform/files.h"
#include "platform/guid_text.h"
#include "platform/text.h"
#include "simulated/description/json_field.h"
#include "simulated/description/machine_description.h"

namespace orv {
namespace {

template <class Value>
using Named = JsonField::Named<Value>;

constexpr std::size_t kLargestMachineFile = std::size_t{16} << 20;  // bytes

constexpr Named<DWORD> kStates[] = {{"active", DEVICE_STATE_ACTIVE},
                                    {"disabled", DEVICE_STATE_DISABLED},
                                    {"notpresent", DEVICE_STATE_NOTPRESENT},
                                    {"unplugged", DEVICE_STATE_UNPLUGGED}};
constexpr Named<EDataFlow> kFlows[] = {{"render", eRender}, {"capture", eCapture}};
constexpr Named<std::uint32_t> kFormFactors[] = {
    {"remote", 0},     {"speakers", 1}, {"line", 2},    {"headphones", 3},
    {"microphone", 4}, {"headset", 5},  {"handset", 6}, {"digital", 7},
    {"spdif", 8},      {"hdmi", 9},     {"unknown", 10}};

std::optional<std::wstring> ReadPath(const JsonField& field) {
  if (field.kind() == JsonField::Kind::Null) return std::nullopt;
  if (field.kind() != JsonField::Kind::Text)
    field.Refuse("expected a path in quotation marks or null");
  return field.WideText();
}

// "{fmtid},pid"
std::optional<PROPERTYKEY> ParsePropertyKey(const std::string& text) {
  const std::size_t comma = text.rfind(',');
  if (comma == std::string::npos) return std::nullopt;
  const auto format = ParseGuid(WideFromUtf8(text.substr(0, comma)));
  std::uint32_t number = 0;
  if (!format || !JsonField::ParseDigits(text.substr(comma + 1), number)) return std::nullopt;
  return PROPERTYKEY{*format, number};
}

SimulatedProperty ReadProperty(const PROPERTYKEY& key, const JsonField& field) {
  SimulatedProperty property;
  property.key = key;
  if (field.kind() == JsonField::Kind::Text) {
    property.type = VT_LPWSTR;
    property.text = field.WideText();
  } else if (field.kind() == JsonField::Kind::Object) {
    property.type = VT_BLOB;
    field.ExpectObject({"blob"});
    property.blob = field.Need("blob").Hex();
  } else {
    property.type = VT_UI4;
    property.number =
        field.Number("expected text, a number from 0 to 4294967295 or {\"blob\": \"hex\"}");
  }
  return property;
}

std::vector<SimulatedProperty> ReadProperties(const JsonField& field) {
  if (field.kind() != JsonField::Kind::Object) field.Refuse("expected an object in braces");
  field.ExpectDistinctNames();
  std::vector<SimulatedProperty> properties;
  for (const auto& member : field.members()) {
    const auto key = ParsePropertyKey(member.name);
    if (!key)
      field.RefuseAt(
          member.line,
          fmt::format("\"{}\" is not a property key; expected \"{{GUID}},number\"", member.name));
    properties.push_back(ReadProperty(*key, *field.Find(member.name)));
  }
  return properties;
}

SimulatedEndpoint ReadEndpoint(const JsonField& field) {
  field.ExpectObject({"id", "state", "flow", "form_factor", "default", "properties"});
  SimulatedEndpoint endpoint;
  endpoint.id = field.Need("id").WideText();
  if (endpoint.id.empty()) field.Need("id").Refuse("an endpoint's identifier cannot be empty");
  if (const auto state = field.Find("state")) endpoint.state = state->Choice(kStates, "state");
  if (const auto flow = field.Find("flow")) endpoint.flow = flow->Choice(kFlows, "flow");
  if (const auto form = field.Find("form_factor"))
    endpoint.form_factor = form->Choice(kFormFactors, "form factor");
  if (const auto is_default = field.Find("default")) endpoint.is_default = is_default->Boolean();
  if (const auto properties = field.Find("properties"))
    endpoint.properties = ReadProperties(*properties);
  return endpoint;
}

std::vector<SimulatedEndpoint> ReadEndpoints(const JsonField& field) {
  std::vector<SimulatedEndpoint> endpoints;
  for (const JsonField& item : field.Items()) {
    SimulatedEndpoint endpoint = ReadEndpoint(item);
    if (std::ranges::any_of(endpoints, [&](const SimulatedEndpoint& other) {
          return EqualsIgnoringCase(other.id, endpoint.id);
        }))
      item.Need("id").Refuse("another endpoint has this identifier");
    endpoints.push_back(std::move(endpoint));
  }
  return endpoints;
}

PlannedFault ReadFault(const JsonField& field) {
  field.ExpectObject({"operation", "nth", "status"});
  const JsonField name = field.Need("operation");
  const auto operation = FaultOperation::Find(name.Text());
  if (!operation) {
    const std::vector<std::string_view> known(std::begin(kFaultOperations),
                                              std::end(kFaultOperations));
    name.Refuse(JsonField::UnknownName("operation", name.Text(), known));
  }
  return {*operation, field.Need("nth").Nth(), field.Need("status").Status()};
}

void ReadVersion(const JsonField& field, MachineDescription& description) {
  const std::string& text = field.Text();
  const std::size_t dot = text.find('.');
  if (dot == std::string::npos ||
      !JsonField::ParseDigits(text.substr(0, dot), description.version_major) ||
      !JsonField::ParseDigits(text.substr(dot + 1), description.version_minor))
    field.Refuse("expected a version like \"10.0\"");
}

void ReadKnownFolders(const JsonField& field, MachineDescription& description) {
  field.ExpectObject({"program_data", "program_files"});
  if (const auto path = field.Find("program_data")) description.program_data = ReadPath(*path);
  if (const auto path = field.Find("program_files")) description.program_files = ReadPath(*path);
}

MachineDescription ReadMachine(const JsonField& machine) {
  machine.ExpectObject({"endpoints", "known_folders", "system_directory", "version",
                        "process_32bit", "faults", "drivers", "events", "playback"});
  MachineDescription description;
  if (const auto endpoints = machine.Find("endpoints"))
    description.endpoints = ReadEndpoints(*endpoints);
  if (const auto folders = machine.Find("known_folders")) ReadKnownFolders(*folders, description);
  if (const auto path = machine.Find("system_directory"))
    description.system_directory = ReadPath(*path);
  if (const auto version = machine.Find("version")) ReadVersion(*version, description);
  if (const auto narrow = machine.Find("process_32bit"))
    description.is_32bit_process = narrow->Boolean();
  if (const auto faults = machine.Find("faults")) {
    for (const JsonField& item : faults->Items()) description.faults.push_back(ReadFault(item));
  }
  if (const auto drivers = machine.Find("drivers"))
    description.drivers = ReadDrivers(*drivers, description.endpoints);
  if (const auto events = machine.Find("events")) {
    for (const JsonField& item : events->Items()) description.events.push_back(item.WideText());
  }
  return description;
}

// A section as text of its own, empty if the file has none. Line ends replace what comes before it,
// so that its lines have the same numbers as in the file.
std::string Section(std::string_view text, const JsonField& machine, const char* name) {
  const auto section = machine.Find(name);
  if (!section) return {};
  const LocatedJson& value = section->value();
  if (value.end == 0) section->Refuse("expected an object in braces");
  return std::string(static_cast<std::size_t>(value.line) - 1, '\n') +
         std::string(text.substr(value.begin, value.end - value.begin));
}

}  // namespace

std::optional<MachineDescription> ParseMachineFile(std::string_view text, FileError& error) {
  return ReadJson(text, {}, error, [&](const JsonField& machine) {
    MachineDescription description = ReadMachine(machine);
    description.playback_json = Section(text, machine, "playback");
    return description;
  });
}

std::optional<MachineDescription> ReadMachineFile(const std::filesystem::path& file,
                                                  FileError& error) {
  error = {file, 0, {}};
  const auto text = ReadWholeFile(file, kLargestMachineFile, error.reason);
  if (!text) return std::nullopt;
  return ParseMachineFile(*text, error);
}

}  // namespace orv
