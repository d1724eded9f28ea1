#include "cli/client/change_lock.h"

#include <cstdint>
#include <cstdio>

#include "cli/show/failure.h"
#include "platform/text.h"

namespace orv::cli {

std::string ChangeLockName(const std::string& registry_path) {
  std::uint64_t hash = 0xCBF29CE484222325U;  // FNV-1a
  for (const wchar_t unit : ToUpperAscii(WideFromUtf8(registry_path)))
    hash = (hash ^ static_cast<std::uint32_t>(unit)) * 0x100000001B3U;
  char name[32];
  std::snprintf(name, sizeof name, "orvctl-%016llx", static_cast<unsigned long long>(hash));
  return name;
}

void ChangeLockTimedOut(const std::string& registry_path) {
  throw Failure(kRefused, "another orvctl is still changing " + registry_path +
                              "; nothing was changed.\nTry again when it has ended.");
}

void ChangeLockFailed(const std::string& registry_path, const std::string& reason) {
  throw Failure(kRefused,
                registry_path + " cannot be locked: " + reason +
                    ".\nNothing was changed. What examines the machine: " + CommandLine("doctor"));
}

}  // namespace orv::cli
