// Between registry exports and trees of keys.
#pragma once

#include <string>
#include <string_view>

#include "simulated/registry/registry_export.h"
#include "simulated/registry/registry_tree.h"

namespace orv {

inline constexpr std::wstring_view kLocalMachineName = L"HKEY_LOCAL_MACHINE";
inline constexpr std::wstring_view kCurrentUserName = L"HKEY_CURRENT_USER";
inline constexpr std::wstring_view kClassesRootName = L"HKEY_CLASSES_ROOT";
// The classes root is a view of this key.
inline constexpr std::wstring_view kClassesPath = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes";

// A registry with its two roots and nothing below them.
RegistryNodePtr MakeEmptyRegistry();

// Applies an export's additions and deletions in their order. Returns the export's format; nullopt,
// with line and reason, if the export is refused. Part of it may then have been applied.
std::optional<ExportFormat> ApplyExport(RegistryNode& root, std::string_view text,
                                        FileError& error);

// The tree as an export; a key is written when it has values or nothing below it,
// a root only when it has values.
std::string ExportTree(const RegistryNode& root, ExportFormat format, std::string_view comment);

}  // namespace orv
