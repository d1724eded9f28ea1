// Presets: an endpoint's public values, current mode and switch as readable JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace orv::cli {

inline constexpr int kPresetVersion = 1;
inline constexpr std::size_t kPresetSizeLimit = 16U << 20;  // bytes

// A number, or the text of one of the control's choices.
using PresetValue = std::variant<std::int32_t, std::string>;

struct PresetMode {
  std::string name;
  std::vector<std::pair<std::string, PresetValue>> controls;  // no name twice

  bool operator==(const PresetMode&) const = default;
};

struct Preset {
  std::string endpoint;  // where it was saved, for the user
  std::optional<std::string> current_mode;
  std::optional<bool> enabled;
  std::vector<PresetMode> modes;  // no name twice

  bool operator==(const Preset&) const = default;
};

struct PresetError {
  std::size_t line = 0;  // 1-based
  std::string reason;
};

// Returns nullopt, with the first fault in `error`, for broken JSON, another version, unknown
// members, values of the wrong kind and names that occur twice.
std::optional<Preset> ReadPreset(std::string_view text, PresetError& error);

// Throws Failure for a file ("-" is standard input) that cannot be read or is not a preset.
Preset ReadPresetFile(const std::string& path);

// Ends with a line feed. ReadPreset returns the same preset; bytes that are not UTF-8 come back as
// replacement characters.
std::string WritePreset(const Preset& preset);

}  // namespace orv::cli
