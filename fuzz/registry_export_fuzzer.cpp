// Registry exports from anywhere: reading never fails badly, and what was read is written so that
// it reads back the same, also through a tree of keys.

#include <cstdlib>

#include "simulated/registry/registry_tree_export.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

// A tree written out and read again is the same text: nothing is lost on the way to the disk.
void CheckTree(std::string_view export_text) {
  orv::FileError error;
  const orv::RegistryNodePtr root = orv::MakeEmptyRegistry();
  const auto format = orv::ApplyExport(*root, export_text, error);
  if (!format) return;
  const std::string text = orv::ExportTree(*root, *format, "change 1");
  const orv::RegistryNodePtr copy = orv::MakeEmptyRegistry();
  Require(orv::ApplyExport(*copy, text, error).has_value());
  Require(orv::ExportTree(*copy, *format, "change 1") == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  orv::FileError error;
  const auto content = orv::DecodeRegistryExport(text, error);
  if (!content) {
    Require(!error.reason.empty());
    return 0;
  }
  const auto again = orv::DecodeRegistryExport(orv::EncodeRegistryExport(*content), error);
  Require(again.has_value());
  Require(*again == *content);
  CheckTree(text);
  return 0;
}
