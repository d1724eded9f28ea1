// The registry-export text format: what registry editors write and read.
//
// Understood: the headers of versions 5 and 4 ("REGEDIT4"), UTF-8 with or without byte-order mark,
// UTF-16LE with one, either line end, comments, keys and their deletion, values of every kind and
// their deletion. A REGEDIT4 file that is not UTF-8 is read byte by character.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_error.h"

namespace orv {

struct ExportedValue {
  std::wstring name;  // empty: the unnamed value
  bool deleted = false;
  std::uint32_t type = 0;
  std::vector<std::uint8_t> bytes;

  bool operator==(const ExportedValue&) const = default;
};

struct ExportedKey {
  std::wstring path;  // from the root's full name on; short root names are spelled out
  bool deleted = false;
  std::vector<ExportedValue> values;

  bool operator==(const ExportedKey&) const = default;
};

struct ExportFormat {
  enum class Encoding { Utf8, Utf8WithMark, Utf16 };
  Encoding encoding = Encoding::Utf8;
  bool crlf = true;

  bool operator==(const ExportFormat&) const = default;
};

struct RegistryExport {
  ExportFormat format;
  std::vector<ExportedKey> keys;

  bool operator==(const RegistryExport&) const = default;
};

// Receives the keys and values of an export in their order.
class RegistryExportSink {
 public:
  virtual ~RegistryExportSink() = default;
  // `path` starts with the root's full name. Returns why the key is refused, empty if it is not.
  virtual std::string Key(std::wstring_view path, bool deleted) = 0;
  // A value of the latest key.
  virtual void Value(ExportedValue&& value) = 0;
};

// Returns nullopt, with the line and the reason in `error`, if the text or a key is refused; the
// sink has then received what precedes it.
std::optional<ExportFormat> ReadRegistryExport(std::string_view bytes, RegistryExportSink& sink,
                                               FileError& error);
std::optional<RegistryExport> DecodeRegistryExport(std::string_view bytes, FileError& error);

// Version 5, whatever the version it came from. UTF-16 in place of UTF-8 when a name holds units
// that UTF-8 has no form for (lone surrogates).
std::string EncodeRegistryExport(const RegistryExport& content);

// Writes an export piece by piece.
class RegistryExportWriter {
 public:
  // `comment` (ASCII, may be empty) becomes a comment line after the header.
  explicit RegistryExportWriter(ExportFormat format, std::string_view comment = {});

  void Key(std::wstring_view path, bool deleted = false);
  void Value(std::wstring_view name, std::uint32_t type, std::span<const std::uint8_t> bytes);
  void DeletedValue(std::wstring_view name);

  // False when a name could not be written in the format's encoding.
  bool exact() const noexcept { return exact_; }
  std::string Take() { return std::move(out_); }

 private:
  void Put(char character);
  void Ascii(std::string_view text);
  void Text(std::wstring_view text);
  void Quoted(std::wstring_view text);
  void EndLine() { Ascii(format_.crlf ? "\r\n" : "\n"); }
  void Name(std::wstring_view name);
  void Hex(std::uint32_t type, std::span<const std::uint8_t> bytes, std::size_t column);
  bool Utf16() const noexcept { return format_.encoding == ExportFormat::Encoding::Utf16; }

  ExportFormat format_;
  std::string out_;
  bool exact_ = true;
};

}  // namespace orv
