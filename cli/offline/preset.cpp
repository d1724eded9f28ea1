#include "cli/offline/preset.h"

#include <limits>
#include <nlohmann/json.hpp>
#include <set>

#include "platform/located_json.h"

namespace orv::cli {
namespace {

using Kind = LocatedJson::Kind;

// Turns the parsed text into a preset; every step tells whether it went on, the first fault stays.
class PresetReader {
 public:
  explicit PresetReader(PresetError& error) : error_(error) {}

  bool Read(const LocatedJson& root);
  Preset& preset() noexcept { return preset_; }

 private:
  bool Refuse(int line, const std::string& reason) {
    error_ = {static_cast<std::size_t>(line > 0 ? line : 1), reason};
    return false;
  }
  bool ReadMember(const LocatedJson::Member& member);
  bool ReadVersion(const LocatedJson& value);
  bool ReadModes(const LocatedJson& value);
  bool ReadMode(const LocatedJson& value);
  bool ReadControls(const LocatedJson& value, PresetMode& mode);
  bool ReadText(const LocatedJson& value, std::string& text);
  // Tells of the first name that occurs twice.
  bool CheckNames(const LocatedJson& object);

  PresetError& error_;
  Preset preset_;
  bool has_version_ = false;
};

bool PresetReader::CheckNames(const LocatedJson& object) {
  std::set<std::string_view> names;
  for (const LocatedJson::Member& member : object.members) {
    if (!names.insert(member.name).second)
      return Refuse(member.line, "\"" + member.name + "\" is there twice");
  }
  return true;
}

bool PresetReader::ReadText(const LocatedJson& value, std::string& text) {
  if (value.kind != Kind::Text) return Refuse(value.line, "expected a text");
  text = value.text;
  return true;
}

bool PresetReader::Read(const LocatedJson& root) {
  if (root.kind != Kind::Object) return Refuse(root.line, "expected an object");
  if (!CheckNames(root)) return false;
  for (const LocatedJson::Member& member : root.members)
    if (!ReadMember(member)) return false;
  return has_version_ || Refuse(root.line, "there is no \"version\": this is no preset");
}

bool PresetReader::ReadMember(const LocatedJson::Member& member) {
  const LocatedJson& value = member.value;
  if (member.name == "version") return ReadVersion(value);
  if (member.name == "modes") return ReadModes(value);
  if (member.name == "endpoint") return ReadText(value, preset_.endpoint);
  if (member.name == "current_mode") return ReadText(value, preset_.current_mode.emplace());
  if (member.name == "enabled") {
    if (value.kind != Kind::Boolean) return Refuse(value.line, "expected true or false");
    preset_.enabled = value.boolean;
    return true;
  }
  return Refuse(member.line, "\"" + member.name + "\" is not known here");
}

bool PresetReader::ReadVersion(const LocatedJson& value) {
  if (value.kind != Kind::Integer) return Refuse(value.line, "expected a version number");
  if (value.integer != kPresetVersion) {
    return Refuse(value.line, "version " + std::to_string(value.integer) +
                                  " is not known, only version " + std::to_string(kPresetVersion));
  }
  has_version_ = true;
  return true;
}

bool PresetReader::ReadModes(const LocatedJson& value) {
  if (value.kind != Kind::Array) return Refuse(value.line, "expected a list of modes");
  std::set<std::string> names;
  for (const LocatedJson& item : value.items) {
    if (!ReadMode(item)) return false;
    const std::string& name = preset_.modes.back().name;
    if (!names.insert(name).second)
      return Refuse(item.line, "the mode \"" + name + "\" is there twice");
  }
  return true;
}

bool PresetReader::ReadMode(const LocatedJson& value) {
  if (value.kind != Kind::Object) return Refuse(value.line, "expected a mode");
  if (!CheckNames(value)) return false;
  PresetMode& mode = preset_.modes.emplace_back();
  for (const LocatedJson::Member& member : value.members) {
    if (member.name == "name") {
      if (!ReadText(member.value, mode.name)) return false;
    } else if (member.name == "controls") {
      if (!ReadControls(member.value, mode)) return false;
    } else {
      return Refuse(member.line, "\"" + member.name + "\" is not known here");
    }
  }
  return !mode.name.empty() || Refuse(value.line, "a mode without a name");
}

bool PresetReader::ReadControls(const LocatedJson& value, PresetMode& mode) {
  if (value.kind != Kind::Object) return Refuse(value.line, "expected controls by name");
  if (!CheckNames(value)) return false;
  for (const auto& [name, line, held] : value.members) {
    if (held.kind == Kind::Text) {
      mode.controls.emplace_back(name, held.text);
    } else if (held.kind != Kind::Integer) {
      return Refuse(held.line, "expected a whole number or a choice's text");
    } else if (held.integer < std::numeric_limits<std::int32_t>::min() ||
               held.integer > std::numeric_limits<std::int32_t>::max()) {
      return Refuse(held.line, "the number does not fit 32 bits");
    } else {
      mode.controls.emplace_back(name, static_cast<std::int32_t>(held.integer));
    }
  }
  return true;
}

}  // namespace

std::optional<Preset> ReadPreset(std::string_view text, PresetError& error) {
  error = {};
  if (text.size() > kPresetSizeLimit) {
    error = {1, "the file is larger than a preset can be"};
    return std::nullopt;
  }
  FileError broken;
  const std::optional<LocatedJson> root = ParseLocatedJson(text, broken);
  if (!root) {
    error = {static_cast<std::size_t>(broken.line > 0 ? broken.line : 1), broken.reason};
    return std::nullopt;
  }
  PresetReader reader(error);
  if (!reader.Read(*root)) return std::nullopt;
  return std::move(reader.preset());
}

std::string WritePreset(const Preset& preset) {
  nlohmann::ordered_json json;
  json["version"] = kPresetVersion;
  if (!preset.endpoint.empty()) json["endpoint"] = preset.endpoint;
  if (preset.current_mode) json["current_mode"] = *preset.current_mode;
  if (preset.enabled) json["enabled"] = *preset.enabled;
  json["modes"] = nlohmann::ordered_json::array();
  for (const PresetMode& mode : preset.modes) {
    nlohmann::ordered_json controls = nlohmann::ordered_json::object();
    for (const auto& [name, value] : mode.controls)
      std::visit([&, &key = name](const auto& held) { controls[key] = held; }, value);
    json["modes"].push_back({{"name", mode.name}, {"controls", std::move(controls)}});
  }
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace orv::cli
