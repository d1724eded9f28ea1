#include "cli/client/change_lock.h"

#include <fmt/format.h>

#include <cstdint>

#include "platform/text.h"

namespace orv::cli {

std::string ChangeLock::NameOf(const std::string& registry_path) {
  std::uint64_t hash = 0xCBF29CE484222325U;  // FNV-1a
  for (const wchar_t unit : ToUpperAscii(WideFromUtf8(registry_path)))
    hash = (hash ^ static_cast<std::uint32_t>(unit)) * 0x100000001B3U;
  return fmt::format("orvctl-{:016x}", hash);
}

ChangeLock::ChangeLock(const std::filesystem::path& machine, const std::string& registry_path,
                       std::chrono::milliseconds limit) {
  std::string reason;
  held_ = Acquire(machine, NameOf(registry_path), limit, reason);
  if (held_ != nullptr) return;
  if (reason.empty()) {
    throw Taken(kRefused,
                "another orvctl is still changing {}; nothing was changed.\n"
                "Try again when it has ended.",
                registry_path);
  }
  throw Failure(kRefused,
                "{} cannot be locked: {}.\n"
                "Nothing was changed. What examines the machine: {}",
                registry_path, reason, CommandLine("doctor"));
}

}  // namespace orv::cli
