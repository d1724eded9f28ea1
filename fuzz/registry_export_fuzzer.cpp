// Registry exports from anywhere: reading never fails badly, and what was read is written so that
// it reads back the same.

#include <cstdlib>

#include "simulated/registry/registry_export.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view export_text(reinterpret_cast<const char*>(data), size);
  orv::FileError error;
  const orv::RegistryNodePtr root = orv::MakeEmptyRegistry();
  const auto format = orv::ApplyExport(*root, export_text, error);
  if (!format) {
    Require(!error.reason.empty());
    return 0;
  }
  const std::string text = orv::ExportTree(*root, *format, "change 1");
  const orv::RegistryNodePtr copy = orv::MakeEmptyRegistry();
  Require(orv::ApplyExport(*copy, text, error).has_value());
  Require(orv::ExportTree(*copy, *format, "change 1") == text);
  return 0;
}
