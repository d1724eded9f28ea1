#include "platform/simulated/machine_file.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

#include "platform/files.h"
#include "platform/guid_text.h"
#include "platform/simulated/fault_plan.h"
#include "platform/simulated/located_json.h"
#include "platform/simulated/nearest_name.h"
#include "platform/text.h"

namespace orv {
namespace {

using Kind = LocatedJson::Kind;

constexpr std::size_t kLargestFile = std::size_t{16} << 20;  // bytes

struct Refusal {
  int line;
  std::string reason;
};

struct NamedNumber {
  std::string_view name;
  std::uint32_t number;
};
constexpr NamedNumber kStates[] = {{"active", DEVICE_STATE_ACTIVE},
                                   {"disabled", DEVICE_STATE_DISABLED},
                                   {"notpresent", DEVICE_STATE_NOTPRESENT},
                                   {"unplugged", DEVICE_STATE_UNPLUGGED}};
constexpr NamedNumber kFlows[] = {{"render", eRender}, {"capture", eCapture}};
constexpr NamedNumber kFormFactors[] = {{"remote", 0},     {"speakers", 1},   {"line", 2},
                                        {"headphones", 3}, {"microphone", 4}, {"headset", 5},
                                        {"handset", 6},    {"digital", 7},    {"spdif", 8},
                                        {"hdmi", 9},       {"unknown", 10}};

// A value of the file with its place in words: "endpoints[0].state".
class Field {
 public:
  Field(const LocatedJson& value, std::string path) : value_(value), path_(std::move(path)) {}

  [[noreturn]] void Refuse(const std::string& reason) const { RefuseAt(value_.line, reason); }
  [[noreturn]] void RefuseAt(int line, const std::string& reason) const {
    throw Refusal{line, path_.empty() ? reason : path_ + ": " + reason};
  }

  Kind kind() const noexcept { return value_.kind; }

  // Refuses what is no object, names that are not known and names that come twice.
  void ExpectObject(const std::vector<std::string_view>& names) const {
    if (kind() != Kind::Object) Refuse("expected an object in braces");
    for (const auto& member : value_.members) {
      if (std::find(names.begin(), names.end(), member.name) == names.end())
        RefuseAt(member.line, UnknownName("key", member.name, names));
    }
    ExpectDistinctNames();
  }

  void ExpectDistinctNames() const {
    for (auto member = value_.members.begin(); member != value_.members.end(); ++member) {
      const auto same = [&](const auto& other) { return other.name == member->name; };
      if (std::any_of(value_.members.begin(), member, same))
        RefuseAt(member->line, "the key \"" + member->name + "\" comes twice");
    }
  }

  static std::string UnknownName(const std::string& what, const std::string& name,
                                 const std::vector<std::string_view>& names) {
    const std::string_view nearest = NearestName(name, names);
    std::string reason = "there is no " + what + " \"" + name + "\"";
    if (!nearest.empty()) reason += "; the nearest is \"" + std::string(nearest) + "\"";
    return reason;
  }

  std::optional<Field> Find(const std::string& name) const {
    for (const auto& member : value_.members) {
      if (member.name == name)
        return Field(member.value, path_.empty() ? name : path_ + "." + name);
    }
    return std::nullopt;
  }
  Field Need(const std::string& name) const {
    auto field = Find(name);
    if (!field) Refuse("the key \"" + name + "\" is missing");
    return *field;
  }
  std::vector<Field> Items() const {
    if (kind() != Kind::Array) Refuse("expected a list in square brackets");
    std::vector<Field> items;
    for (std::size_t i = 0; i < value_.items.size(); ++i)
      items.emplace_back(value_.items[i], path_ + "[" + std::to_string(i) + "]");
    return items;
  }
  const std::vector<LocatedJson::Member>& members() const noexcept { return value_.members; }

  bool Boolean() const {
    if (kind() != Kind::Boolean) Refuse("expected true or false");
    return value_.boolean;
  }
  const std::string& Text() const {
    if (kind() != Kind::Text) Refuse("expected text in quotation marks");
    return value_.text;
  }
  std::wstring WideText() const { return WideFromUtf8(Text()); }
  // A number that fits an unsigned 32-bit word.
  std::uint32_t Number(
      const std::string& expected = "expected a number from 0 to 4294967295") const {
    if (kind() != Kind::Integer || value_.integer < 0 || value_.integer > 0xFFFFFFFF)
      Refuse(expected);
    return static_cast<std::uint32_t>(value_.integer);
  }
  std::int64_t integer() const noexcept { return value_.integer; }

  // One of the named numbers, by name or by number.
  template <std::size_t Count>
  std::uint32_t Choice(const NamedNumber (&choices)[Count], const std::string& what) const {
    if (kind() == Kind::Integer) {
      const std::uint32_t number = Number();
      for (const NamedNumber& choice : choices) {
        if (choice.number == number) return number;
      }
      Refuse("there is no " + what + " " + std::to_string(number));
    }
    if (kind() != Kind::Text) Refuse("expected a number or a " + what + "'s name");
    std::vector<std::string_view> names;
    for (const NamedNumber& choice : choices) {
      if (EqualsIgnoringCase(choice.name, value_.text)) return choice.number;
      names.push_back(choice.name);
    }
    Refuse(UnknownName(what, value_.text, names));
  }

 private:
  const LocatedJson& value_;
  std::string path_;
};

std::optional<std::wstring> ReadPath(const Field& field) {
  if (field.kind() == Kind::Null) return std::nullopt;
  if (field.kind() != Kind::Text) field.Refuse("expected a path in quotation marks or null");
  return field.WideText();
}

// "{fmtid},pid"
std::optional<PROPERTYKEY> ParsePropertyKey(const std::string& text) {
  const std::size_t comma = text.rfind(',');
  if (comma == std::string::npos) return std::nullopt;
  const auto format = ParseGuid(WideFromUtf8(text.substr(0, comma)));
  PROPERTYKEY key{};
  const char* end = text.data() + text.size();
  const auto [stop, failed] = std::from_chars(text.data() + comma + 1, end, key.pid);
  if (!format || failed != std::errc{} || stop != end) return std::nullopt;
  key.fmtid = *format;
  return key;
}

std::vector<std::uint8_t> ReadBlob(const Field& field) {
  field.ExpectObject({"blob"});
  const Field hex = field.Need("blob");
  std::string digits = hex.Text();
  std::erase(digits, ' ');
  const char* const kExpected = "expected pairs of hexadecimal digits";
  if (digits.size() % 2 != 0) hex.Refuse(kExpected);
  std::vector<std::uint8_t> bytes(digits.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char* begin = digits.data() + 2 * i;
    const auto [stop, failed] = std::from_chars(begin, begin + 2, bytes[i], 16);
    if (failed != std::errc{} || stop != begin + 2) hex.Refuse(kExpected);
  }
  return bytes;
}

SimulatedProperty ReadProperty(const PROPERTYKEY& key, const Field& field) {
  SimulatedProperty property;
  property.key = key;
  if (field.kind() == Kind::Text) {
    property.type = VT_LPWSTR;
    property.text = field.WideText();
  } else if (field.kind() == Kind::Object) {
    property.type = VT_BLOB;
    property.blob = ReadBlob(field);
  } else {
    property.type = VT_UI4;
    property.number =
        field.Number("expected text, a number from 0 to 4294967295 or {\"blob\": \"hex\"}");
  }
  return property;
}

std::vector<SimulatedProperty> ReadProperties(const Field& field) {
  if (field.kind() != Kind::Object) field.Refuse("expected an object in braces");
  field.ExpectDistinctNames();
  std::vector<SimulatedProperty> properties;
  for (const auto& member : field.members()) {
    const auto key = ParsePropertyKey(member.name);
    if (!key)
      field.RefuseAt(member.line,
                     "\"" + member.name + "\" is no property key; expected \"{GUID},number\"");
    properties.push_back(ReadProperty(*key, *field.Find(member.name)));
  }
  return properties;
}

SimulatedEndpoint ReadEndpoint(const Field& field) {
  field.ExpectObject({"id", "state", "flow", "form_factor", "default", "properties"});
  SimulatedEndpoint endpoint;
  endpoint.id = field.Need("id").WideText();
  if (endpoint.id.empty()) field.Need("id").Refuse("an endpoint's identifier cannot be empty");
  if (const auto state = field.Find("state")) endpoint.state = state->Choice(kStates, "state");
  if (const auto flow = field.Find("flow"))
    endpoint.flow = static_cast<EDataFlow>(flow->Choice(kFlows, "flow"));
  if (const auto form = field.Find("form_factor"))
    endpoint.form_factor = form->Choice(kFormFactors, "form factor");
  if (const auto is_default = field.Find("default")) endpoint.is_default = is_default->Boolean();
  if (const auto properties = field.Find("properties"))
    endpoint.properties = ReadProperties(*properties);
  return endpoint;
}

std::vector<SimulatedEndpoint> ReadEndpoints(const Field& field) {
  std::vector<SimulatedEndpoint> endpoints;
  for (const Field& item : field.Items()) {
    SimulatedEndpoint endpoint = ReadEndpoint(item);
    const auto same = [&](const SimulatedEndpoint& other) {
      return EqualsIgnoringCase(other.id, endpoint.id);
    };
    if (std::any_of(endpoints.begin(), endpoints.end(), same))
      item.Need("id").Refuse("another endpoint has this identifier");
    endpoints.push_back(std::move(endpoint));
  }
  return endpoints;
}

std::int32_t ReadStatus(const Field& field) {
  const char* const kExpected = "expected a 32-bit number or text like \"0x80070005\"";
  if (field.kind() == Kind::Integer) {
    const std::int64_t number = field.integer();
    if (number < INT32_MIN || number > UINT32_MAX) field.Refuse(kExpected);
    return static_cast<std::int32_t>(number);
  }
  if (field.kind() != Kind::Text) field.Refuse(kExpected);
  const std::string& text = field.Text();
  const char* end = text.data() + text.size();
  std::uint32_t number = 0;
  if (!text.starts_with("0x") && !text.starts_with("0X")) field.Refuse(kExpected);
  const auto [stop, failed] = std::from_chars(text.data() + 2, end, number, 16);
  if (failed != std::errc{} || stop != end) field.Refuse(kExpected);
  return static_cast<std::int32_t>(number);
}

PlannedFault ReadFault(const Field& field) {
  field.ExpectObject({"operation", "nth", "status"});
  PlannedFault fault;
  const Field operation = field.Need("operation");
  fault.operation = operation.Text();
  const auto& operations = FaultPlan::Operations();
  if (std::find(operations.begin(), operations.end(), fault.operation) == operations.end())
    operation.Refuse(Field::UnknownName("operation", fault.operation, operations));
  const Field nth = field.Need("nth");
  const char* const kExpected = "expected a call's number from 1 or \"always\"";
  if (nth.kind() != Kind::Text) {
    fault.nth = nth.Number(kExpected);
    if (*fault.nth == 0) nth.Refuse(kExpected);
  } else if (nth.Text() != "always") {
    nth.Refuse(kExpected);
  }
  fault.status = ReadStatus(field.Need("status"));
  return fault;
}

void ReadVersion(const Field& field, MachineDescription& description) {
  const std::string& text = field.Text();
  const char* end = text.data() + text.size();
  const auto major = std::from_chars(text.data(), end, description.version_major);
  const bool dot = major.ec == std::errc{} && major.ptr != end && *major.ptr == '.';
  if (!dot) field.Refuse("expected a version like \"10.0\"");
  const auto minor = std::from_chars(major.ptr + 1, end, description.version_minor);
  if (minor.ec != std::errc{} || minor.ptr != end) field.Refuse("expected a version like \"10.0\"");
}

void ReadKnownFolders(const Field& field, MachineDescription& description) {
  field.ExpectObject({"program_data", "program_files"});
  if (const auto path = field.Find("program_data")) description.program_data = ReadPath(*path);
  if (const auto path = field.Find("program_files")) description.program_files = ReadPath(*path);
}

MachineDescription ReadMachine(const Field& machine) {
  machine.ExpectObject({"endpoints", "known_folders", "system_directory", "version",
                        "process_32bit", "faults", "drivers", "playback"});
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
    for (const Field& item : faults->Items()) description.faults.push_back(ReadFault(item));
  }
  return description;
}

// A section as text of its own; empty when the file has none.
std::string Section(const nlohmann::json& document, const char* name) {
  const auto section = document.find(name);
  return section == document.end() ? std::string() : section->dump();
}

}  // namespace

std::optional<MachineDescription> ParseMachineFile(std::string_view text, FileError& error) {
  const auto content = ParseLocatedJson(text, error);
  if (!content) return std::nullopt;
  try {
    MachineDescription description = ReadMachine(Field(*content, {}));
    const auto document = nlohmann::json::parse(text, nullptr, true, true);
    description.drivers_json = Section(document, "drivers");
    description.playback_json = Section(document, "playback");
    return description;
  } catch (Refusal& refusal) {
    error.line = refusal.line;
    error.reason = std::move(refusal.reason);
    return std::nullopt;
  }
}

std::optional<MachineDescription> ReadMachineFile(const std::filesystem::path& file,
                                                  FileError& error) {
  error = {file, 0, {}};
  const auto text = ReadWholeFile(file, kLargestFile, error.reason);
  if (!text) return std::nullopt;
  return ParseMachineFile(*text, error);
}

}  // namespace orv
