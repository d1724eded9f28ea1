// Registry exports of any content: reading ends with a tree of keys or a reason, and a tree written
// out and read again is the same text.
#include "fuzzer.h"
#include "simulated/registry/registry_export.h"

namespace orv::fuzz {

void Run(std::span<const std::uint8_t> bytes) {
  FileError error;
  const RegistryNodePtr root = MakeEmptyRegistry();
  const auto format = ApplyExport(*root, TextOf(bytes), error);
  if (!format) return Require(!error.reason.empty());
  const std::string text = ExportTree(*root, *format, "change 1");
  const RegistryNodePtr copy = MakeEmptyRegistry();
  Require(ApplyExport(*copy, text, error).has_value());
  Require(ExportTree(*copy, *format, "change 1") == text);
}

}  // namespace orv::fuzz
