// Presets are files that users edit and exchange: reading any content ends with a whole preset or
// with a reason, and a preset that was read is written and read back unchanged.
#include "cli/offline/preset.h"
#include "fuzzer.h"

namespace orv::fuzz {

void Run(std::span<const std::uint8_t> bytes) {
  cli::PresetError error;
  const std::optional<cli::Preset> preset = cli::ReadPreset(TextOf(bytes), error);
  if (!preset) return Require(error.line != 0 && !error.reason.empty());
  Require(cli::ReadPreset(cli::WritePreset(*preset), error) == preset);
}

}  // namespace orv::fuzz
