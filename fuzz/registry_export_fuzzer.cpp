// Registry exports from anywhere: reading never fails badly, and what was read is written so that
// it reads back the same, also through a tree of keys.

#include <cstdlib>

#include "simulated/registry/registry_tree_export.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

// A tree written out and read again is the same text: nothing is lost on the way to the disk.
void CheckTree(const orv::RegistryExport& content) {
  orv::FileError error;
  const orv::RegistryNodePtr root = orv::MakeEmptyRegistry();
  if (!orv::ApplyExport(*root, content, error)) return;
  const std::string text = orv::ExportTree(*root, content.format, "change 1");
  const auto again = orv::DecodeRegistryExport(text, error);
  Require(again.has_value());
  const orv::RegistryNodePtr copy = orv::MakeEmptyRegistry();
  Require(orv::ApplyExport(*copy, *again, error));
  Require(orv::ExportTree(*copy, content.format, "change 1") == text);
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
  CheckTree(*content);
  return 0;
}
