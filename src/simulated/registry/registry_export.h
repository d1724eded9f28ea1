// Between trees of keys and the registry-export text format, which registry editors write and read.
//
// Understood: the headers of versions 5 and 4 ("REGEDIT4"), UTF-8 with or without byte-order mark,
// UTF-16LE with one, either line end, comments, keys and their deletion, values of every kind and
// their deletion. A REGEDIT4 file that is not UTF-8 is read byte by character.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/file_error.h"
#include "simulated/registry/registry_tree.h"

namespace orv {

struct ExportFormat {
  enum class Encoding { Utf8, Utf8WithMark, Utf16 };
  Encoding encoding = Encoding::Utf8;
  bool crlf = true;
};

// Applies an export's additions and deletions in their order. Returns the export's format; nullopt,
// with the line and the reason in `error`, if the export is refused. Part of it may then have been
// applied.
std::optional<ExportFormat> ApplyExport(RegistryNode& root, std::string_view text,
                                        FileError& error);

// Returns the tree as an export of version 5. A key is written if it has values or no key is below
// it, a root only if it has values. `comment` (ASCII) is a line after the header. The encoding is
// UTF-16 in place of UTF-8 if a name has units without a UTF-8 form (lone surrogates).
std::string ExportTree(const RegistryNode& root, ExportFormat format, std::string_view comment);

}  // namespace orv
