#include <fmt/format.h>

#include <algorithm>
#include <span>

#include "simulated/registry/registry_export.h"

namespace orv {
namespace {

constexpr std::size_t kLastColumn = 76;  // a hexadecimal list is continued after this column

bool HasUtf8Form(std::wstring_view text) {
  return std::ranges::all_of(text, [](wchar_t unit) { return unit < 0xD800; }) ||
         WideFromUtf8(Utf8FromWide(text)) == text;
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
  if (!IsStorableName(text) || !HasUtf8Form(text)) return std::nullopt;
  return text;
}

class TreeWriter {
 public:
  TreeWriter(ExportFormat format, std::string_view comment) : format_(format) {
    if (format_.encoding == ExportFormat::Encoding::Utf8WithMark) out_ += "\xEF\xBB\xBF";
    if (Utf16()) out_ += "\xFF\xFE";
    Line("Windows Registry Editor Version 5.00");
    Line(fmt::format("; {}", comment));
  }

  void Write(const RegistryNode& node) {
    const std::size_t parent_length = path_.size();
    const bool is_root = path_.empty();
    if (!is_root) path_ += L'\\';
    path_ += node.name;
    if (!node.values.empty() || (node.children.empty() && !is_root)) {
      Line("");
      Ascii("[");
      Text(path_);
      Line("]");
      for (const auto& value : node.values) Value(*value);
    }
    for (const auto& child : node.children) Write(*child);
    path_.resize(parent_length);
  }

  // False if a name could not be written in the format's encoding.
  bool exact() const noexcept { return exact_; }
  std::string Take() { return std::move(out_); }

 private:
  bool Utf16() const noexcept { return format_.encoding == ExportFormat::Encoding::Utf16; }

  void Ascii(std::string_view text) {
    if (!Utf16()) {
      out_.append(text);
      return;
    }
    for (const char character : text) (out_ += character) += '\0';
  }
  void Line(std::string_view text) {
    Ascii(text);
    Ascii(format_.crlf ? "\r\n" : "\n");
  }

  void Text(std::wstring_view text) {
    if (!Utf16()) {
      exact_ = exact_ && HasUtf8Form(text);
      out_ += Utf8FromWide(text);
      return;
    }
    for (const wchar_t unit : text) {
      out_.push_back(static_cast<char>(unit & 0xFF));
      out_.push_back(static_cast<char>((unit >> 8) & 0xFF));
    }
  }

  void Quoted(std::wstring_view text) {
    Ascii("\"");
    for (;;) {
      const std::size_t plain = std::min(text.find_first_of(L"\\\""), text.size());
      Text(text.substr(0, plain));
      text.remove_prefix(plain);
      if (text.empty()) break;
      Ascii(text.front() == L'"' ? "\\\"" : "\\\\");
      text.remove_prefix(1);
    }
    Ascii("\"");
  }

  void Value(const RegistryValue& value) {
    if (value.name.empty())
      Ascii("@");
    else
      Quoted(value.name);
    Ascii("=");
    const auto& bytes = value.bytes;
    if (const auto text = value.type == kRegSz ? ExactText(bytes) : std::nullopt)
      Quoted(*text);
    else if (value.type == kRegDword && bytes.size() == 4)
      Ascii(fmt::format("dword:{:02x}{:02x}{:02x}{:02x}", bytes[3], bytes[2], bytes[1], bytes[0]));
    else
      Hex(value.type, bytes, value.name.empty() ? 2 : value.name.size() + 3);
    Line("");
  }

  // Most of a large export is such lists, so the digits are written without a library.
  void Hex(std::uint32_t type, std::span<const std::uint8_t> bytes, std::size_t column) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const std::string prefix = type == kRegBinary ? "hex:" : fmt::format("hex({:x}):", type);
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

  ExportFormat format_;
  std::string out_;
  std::wstring path_;
  bool exact_ = true;
};

}  // namespace

std::string ExportTree(const RegistryNode& root, ExportFormat format, std::string_view comment) {
  TreeWriter writer(format, comment);
  for (const auto& child : root.children) writer.Write(*child);
  if (writer.exact()) return writer.Take();
  format.encoding = ExportFormat::Encoding::Utf16;
  return ExportTree(root, format, comment);
}

}  // namespace orv
