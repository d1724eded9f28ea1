// Presets are files that people edit and send around: whatever is in them, reading ends with a
// whole preset or with a reason, and a preset that was read is written and read back unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "cli/offline/preset.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orv::cli;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  PresetError error;
  const std::optional<Preset> preset = ReadPreset(text, error);
  if (!preset) {
    if (error.line == 0 || error.reason.empty()) std::abort();
    return 0;
  }
  PresetError again;
  if (ReadPreset(WritePreset(*preset), again) != preset) std::abort();
  return 0;
}
