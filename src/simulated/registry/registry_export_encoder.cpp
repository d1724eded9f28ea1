#include <algorithm>

#include "platform/registry.h"
#include "platform/text.h"
#include "simulated/registry/registry_export.h"

namespace orv {
namespace {

constexpr std::size_t kLastColumn = 76;  // a hexadecimal list is continued after this column

bool IsHighSurrogate(wchar_t unit) noexcept { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(wchar_t unit) noexcept { return unit >= 0xDC00 && unit < 0xE000; }

bool SurrogatesArePaired(std::wstring_view text) noexcept {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsLowSurrogate(text[i])) return false;
    if (!IsHighSurrogate(text[i])) continue;
    if (++i == text.size() || !IsLowSurrogate(text[i])) return false;
  }
  return true;
}

// Returns the text of a string value that reads back as exactly these bytes; nullopt if none does.
std::optional<std::wstring> ExactText(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < 2 || bytes.size() % 2 != 0) return std::nullopt;
  std::wstring text;
  text.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); i += 2)
    text.push_back(static_cast<wchar_t>(bytes[i] | (bytes[i + 1] << 8)));
  if (text.back() != L'\0') return std::nullopt;
  text.pop_back();
  const auto never_in_text = [](wchar_t unit) {
    return unit == L'\0' || unit == L'\r' || unit == L'\n';
  };
  if (std::any_of(text.begin(), text.end(), never_in_text) || !SurrogatesArePaired(text))
    return std::nullopt;
  return text;
}

void AppendHex(std::string& text, std::uint32_t number, int digits) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
    text.push_back(kDigits[(number >> shift) & 0xF]);
}

std::string HexPrefix(std::uint32_t type) {
  if (type == kRegBinary) return "hex:";
  int digits = 1;
  while (digits < 8 && (type >> (4 * digits)) != 0) ++digits;
  std::string prefix = "hex(";
  AppendHex(prefix, type, digits);
  return prefix + "):";
}

}  // namespace

RegistryExportWriter::RegistryExportWriter(ExportFormat format, std::string_view comment)
    : format_(format) {
  if (format_.encoding == ExportFormat::Encoding::Utf8WithMark) out_ = "\xEF\xBB\xBF";
  if (Utf16()) out_ = "\xFF\xFE";
  Ascii("Windows Registry Editor Version 5.00");
  EndLine();
  if (comment.empty()) return;
  Ascii("; ");
  Ascii(comment);
  EndLine();
}

void RegistryExportWriter::Put(char character) {
  out_.push_back(character);
  if (Utf16()) out_.push_back('\0');
}

void RegistryExportWriter::Ascii(std::string_view text) {
  if (!Utf16()) {
    out_.append(text);
    return;
  }
  for (const char character : text) Put(character);
}

void RegistryExportWriter::Text(std::wstring_view text) {
  if (Utf16()) {
    for (const wchar_t unit : text) {
      out_.push_back(static_cast<char>(unit & 0xFF));
      out_.push_back(static_cast<char>((unit >> 8) & 0xFF));
    }
    return;
  }
  exact_ = exact_ && SurrogatesArePaired(text);
  out_ += Utf8FromWide(text);
}

void RegistryExportWriter::Quoted(std::wstring_view text) {
  Put('"');
  while (!text.empty()) {
    const auto escaped = std::find_if(text.begin(), text.end(),
                                      [](wchar_t unit) { return unit == L'\\' || unit == L'"'; });
    const auto plain = static_cast<std::size_t>(escaped - text.begin());
    Text(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) break;
    Put('\\');
    Put(static_cast<char>(text.front()));
    text.remove_prefix(1);
  }
  Put('"');
}

void RegistryExportWriter::Key(std::wstring_view path, bool deleted) {
  EndLine();
  Ascii(deleted ? "[-" : "[");
  Text(path);
  Ascii("]");
  EndLine();
}

void RegistryExportWriter::Name(std::wstring_view name) {
  if (name.empty())
    Put('@');
  else
    Quoted(name);
  Put('=');
}

void RegistryExportWriter::Value(std::wstring_view name, std::uint32_t type,
                                 std::span<const std::uint8_t> bytes) {
  Name(name);
  const auto text = type == kRegSz ? ExactText(bytes) : std::nullopt;
  if (text) {
    Quoted(*text);
  } else if (type == kRegDword && bytes.size() == 4) {
    std::string number = "dword:";
    for (std::size_t i = 4; i-- > 0;) AppendHex(number, bytes[i], 2);
    Ascii(number);
  } else {
    Hex(type, bytes, name.empty() ? 2 : name.size() + 3);
  }
  EndLine();
}

void RegistryExportWriter::DeletedValue(std::wstring_view name) {
  Name(name);
  Put('-');
  EndLine();
}

void RegistryExportWriter::Hex(std::uint32_t type, std::span<const std::uint8_t> bytes,
                               std::size_t column) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const std::string prefix = HexPrefix(type);
  const std::string_view next_line = format_.crlf ? "\\\r\n  " : "\\\n  ";
  column += prefix.size();
  // Room for the worst case: three characters a byte, and the line ends.
  std::string list(prefix.size() + 3 * bytes.size() + next_line.size() * (bytes.size() / 24 + 2),
                   '\0');
  char* end = std::copy(prefix.begin(), prefix.end(), list.data());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i != 0 && column > kLastColumn) {
      end = std::copy(next_line.begin(), next_line.end(), end);
      column = 2;
    }
    *end++ = kDigits[bytes[i] >> 4];
    *end++ = kDigits[bytes[i] & 0xF];
    if (i + 1 != bytes.size()) *end++ = ',';
    column += 3;
  }
  Ascii({list.data(), static_cast<std::size_t>(end - list.data())});
}

std::string EncodeRegistryExport(const RegistryExport& content) {
  RegistryExportWriter writer(content.format);
  for (const ExportedKey& key : content.keys) {
    writer.Key(key.path, key.deleted);
    for (const ExportedValue& value : key.values) {
      if (value.deleted)
        writer.DeletedValue(value.name);
      else
        writer.Value(value.name, value.type, value.bytes);
    }
  }
  if (writer.exact()) return writer.Take();
  RegistryExport wide = content;
  wide.format.encoding = ExportFormat::Encoding::Utf16;
  return EncodeRegistryExport(wide);
}

}  // namespace orv
