#include "cli/offline/preset.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "platform/located_json.h"

namespace orv::cli {
namespace {

using Kind = LocatedJson::Kind;

// Ends the reading; ReadPreset catches it.
[[noreturn]] void Refuse(int line, const std::string& reason) {
  throw PresetError{static_cast<std::size_t>(std::max(line, 1)), reason};
}

const LocatedJson& Expect(Kind kind, const char* what, const LocatedJson& value) {
  if (value.kind != kind) Refuse(value.line, fmt::format("expected {}", what));
  return value;
}

const std::string& ReadText(const LocatedJson& value) {
  return Expect(Kind::Text, "a text", value).text;
}

const std::vector<LocatedJson::Member>& MembersOf(const char* what, const LocatedJson& value) {
  std::set<std::string_view> names;
  for (const LocatedJson::Member& member : Expect(Kind::Object, what, value).members)
    if (!names.insert(member.name).second)
      Refuse(member.line, fmt::format("\"{}\" is there twice", member.name));
  return value.members;
}

[[noreturn]] void RefuseUnknown(const LocatedJson::Member& member) {
  Refuse(member.line, fmt::format("\"{}\" is not known here", member.name));
}

PresetValue ReadValue(const LocatedJson& value) {
  if (value.kind == Kind::Text) return value.text;
  const auto number = Expect(Kind::Integer, "a whole number or a choice's text", value).integer;
  if (!std::in_range<std::int32_t>(number)) Refuse(value.line, "the number does not fit 32 bits");
  return static_cast<std::int32_t>(number);
}

PresetMode ReadMode(const LocatedJson& value) {
  PresetMode mode;
  for (const LocatedJson::Member& member : MembersOf("a mode", value)) {
    if (member.name == "name") {
      mode.name = ReadText(member.value);
    } else if (member.name == "controls") {
      for (const auto& control : MembersOf("controls by name", member.value))
        mode.controls.emplace_back(control.name, ReadValue(control.value));
    } else {
      RefuseUnknown(member);
    }
  }
  if (mode.name.empty()) Refuse(value.line, "a mode without a name");
  return mode;
}

std::vector<PresetMode> ReadModes(const LocatedJson& value) {
  std::vector<PresetMode> modes;
  std::set<std::string> names;
  for (const LocatedJson& item : Expect(Kind::Array, "a list of modes", value).items) {
    const PresetMode& mode = modes.emplace_back(ReadMode(item));
    if (!names.insert(mode.name).second)
      Refuse(item.line, fmt::format("the mode \"{}\" is there twice", mode.name));
  }
  return modes;
}

Preset ReadRoot(const LocatedJson& root) {
  Preset preset;
  bool has_version = false;
  for (const LocatedJson::Member& member : MembersOf("an object", root)) {
    const LocatedJson& value = member.value;
    if (member.name == "version") {
      const std::int64_t version = Expect(Kind::Integer, "a version number", value).integer;
      if (version != kPresetVersion) {
        Refuse(value.line,
               fmt::format("version {} is not known, only version {}", version, kPresetVersion));
      }
      has_version = true;
    } else if (member.name == "modes") {
      preset.modes = ReadModes(value);
    } else if (member.name == "endpoint") {
      preset.endpoint = ReadText(value);
    } else if (member.name == "current_mode") {
      preset.current_mode = ReadText(value);
    } else if (member.name == "enabled") {
      preset.enabled = Expect(Kind::Boolean, "true or false", value).boolean;
    } else {
      RefuseUnknown(member);
    }
  }
  if (!has_version) Refuse(root.line, "there is no \"version\": this is not a preset");
  return preset;
}

}  // namespace

std::optional<Preset> ReadPreset(std::string_view text, PresetError& error) {
  error = {};
  try {
    if (text.size() > kPresetSizeLimit) Refuse(1, "the file is larger than a preset can be");
    FileError broken;
    const std::optional<LocatedJson> root = ParseLocatedJson(text, broken);
    if (!root) Refuse(broken.line, broken.reason);
    return ReadRoot(*root);
  } catch (PresetError& refusal) {
    error = std::move(refusal);
    return std::nullopt;
  }
}

Preset ReadPresetFile(const std::string& path) {
  PresetError error;
  std::optional<Preset> preset = ReadPreset(ReadWholeFile(path, kPresetSizeLimit), error);
  if (!preset) {
    throw Failure(kRefused, "{}:{}: {}\nThe preset is refused.", path, error.line, error.reason);
  }
  return std::move(*preset);
}

std::string WritePreset(const Preset& preset) {
  nlohmann::ordered_json json = {{"version", kPresetVersion}};
  if (!preset.endpoint.empty()) json["endpoint"] = preset.endpoint;
  if (preset.current_mode) json["current_mode"] = *preset.current_mode;
  if (preset.enabled) json["enabled"] = *preset.enabled;
  json["modes"] = nlohmann::ordered_json::array();
  for (const PresetMode& mode : preset.modes) {
    auto controls = nlohmann::ordered_json::object();
    for (const auto& [name, value] : mode.controls)
      std::visit([&, &key = name](const auto& held) { controls[key] = held; }, value);
    json["modes"].push_back({{"name", mode.name}, {"controls", std::move(controls)}});
  }
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace orv::cli
