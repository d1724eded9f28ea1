#include <algorithm>
#include <array>

#include "platform/registry.h"
#include "platform/text.h"
#include "simulated/registry/registry_export.h"

namespace orv {
namespace {

constexpr std::wstring_view kHeader5 = L"Windows Registry Editor Version 5.00";
constexpr std::wstring_view kHeader4 = L"REGEDIT4";
constexpr bool IsBlank(wchar_t unit) noexcept { return unit == L' ' || unit == L'\t'; }

struct Refusal {
  int line;
  std::string reason;
};

struct RootName {
  std::wstring_view short_name;
  std::wstring_view name;
};
constexpr std::array<RootName, 5> kRoots = {{{L"HKLM", L"HKEY_LOCAL_MACHINE"},
                                             {L"HKCU", L"HKEY_CURRENT_USER"},
                                             {L"HKCR", L"HKEY_CLASSES_ROOT"},
                                             {L"HKU", L"HKEY_USERS"},
                                             {L"HKCC", L"HKEY_CURRENT_CONFIG"}}};

std::wstring_view Trim(std::wstring_view text) noexcept {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

int HexDigit(wchar_t unit) noexcept {
  if (unit >= L'0' && unit <= L'9') return unit - L'0';
  const auto folded = static_cast<wchar_t>(unit | 0x20);
  return folded >= L'a' && folded <= L'f' ? folded - L'a' + 10 : -1;
}

bool IsExactUtf8(std::string_view bytes) { return Utf8FromWide(WideFromUtf8(bytes)) == bytes; }

std::wstring WideFromBytes(std::string_view bytes) {
  std::wstring wide;
  wide.reserve(bytes.size());
  for (const char byte : bytes) wide.push_back(static_cast<unsigned char>(byte));
  return wide;
}

// Lines of a text, without their ends.
class Lines {
 public:
  explicit Lines(std::wstring_view text) noexcept : rest_(text) {}

  bool Next(std::wstring_view& line) noexcept {
    if (rest_.empty()) return false;
    const std::size_t end = rest_.find(L'\n');
    line = rest_.substr(0, end);
    rest_.remove_prefix(end == std::wstring_view::npos ? rest_.size() : end + 1);
    if (line.ends_with(L'\r')) line.remove_suffix(1);
    ++number_;
    return true;
  }
  int number() const noexcept { return number_; }

 private:
  std::wstring_view rest_;
  int number_ = 0;
};

class Decoder {
 public:
  explicit Decoder(std::wstring_view text) noexcept : lines_(text) {}

  std::vector<ExportedKey> Run() {
    ReadHeader();
    while (lines_.Next(line_)) {
      line_ = Trim(line_);
      if (line_.empty() || line_.front() == L';') continue;
      if (line_.front() == L'[')
        ReadKey();
      else
        ReadValue();
    }
    return std::move(keys_);
  }

 private:
  [[noreturn]] void Refuse(std::string reason) const {
    throw Refusal{lines_.number(), std::move(reason)};
  }

  void ReadHeader() {
    if (lines_.Next(line_)) {
      if (Trim(line_) == kHeader5) return;
      narrow_data_ = Trim(line_) == kHeader4;
      if (narrow_data_) return;
    }
    throw Refusal{
        1, "the first line must be \"Windows Registry Editor Version 5.00\" or \"REGEDIT4\""};
  }

  // The cursor is at the "[".
  void ReadKey() {
    const std::size_t close = line_.rfind(L']');
    if (close == std::wstring_view::npos) Refuse("the key has no closing bracket");
    std::wstring_view path = line_.substr(1, close - 1);
    line_.remove_prefix(close + 1);
    ExpectLineEnd("the key's closing bracket");
    ExportedKey key;
    key.deleted = path.starts_with(L'-');
    if (key.deleted) path.remove_prefix(1);
    key.path = ReadPath(path);
    if (key.deleted && key.path.find(L'\\') == std::wstring::npos)
      Refuse("a root key cannot be deleted");
    key.line = lines_.number();
    keys_.push_back(std::move(key));
  }

  std::wstring ReadPath(std::wstring_view path) const {
    const std::wstring_view root = path.substr(0, path.find(L'\\'));
    std::wstring full_path = RootPath(root);
    path.remove_prefix(root.size());
    while (!path.empty()) {
      path.remove_prefix(1);
      const std::wstring_view element = path.substr(0, path.find(L'\\'));
      if (!element.empty()) (full_path += L'\\') += element;
      path.remove_prefix(element.size());
    }
    return full_path;
  }

  std::wstring RootPath(std::wstring_view root) const {
    for (const RootName& known : kRoots) {
      if (EqualsIgnoringCase(root, known.name) || EqualsIgnoringCase(root, known.short_name))
        return std::wstring(known.name);
    }
    if (root.size() > 5 && EqualsIgnoringCase(root.substr(0, 5), L"HKEY_"))
      return std::wstring(root);
    Refuse("\"" + Utf8FromWide(root) +
           "\" is no root key; a key begins with HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER, "
           "HKEY_CLASSES_ROOT or another HKEY_ name");
  }

  void ReadValue() {
    ExportedValue value;
    if (line_.front() == L'@')
      line_.remove_prefix(1);
    else if (line_.front() == L'"')
      value.name = ReadQuoted();
    else
      Refuse("expected a key in brackets, a value's name in quotation marks, @ or a comment");
    if (keys_.empty()) Refuse("the value stands before the first key");
    if (keys_.back().deleted) Refuse("a deleted key cannot have values");
    line_ = Trim(line_);
    if (!line_.starts_with(L'=')) Refuse("expected = after the value's name");
    line_ = Trim(line_.substr(1));
    ReadData(value);
    keys_.back().values.push_back(std::move(value));
  }

  // The cursor is at the opening quotation mark and ends after the closing one.
  std::wstring ReadQuoted() {
    std::wstring text;
    std::size_t begin = 1;  // of what is not yet in `text`
    for (std::size_t i = 1; i < line_.size(); ++i) {
      const wchar_t unit = line_[i];
      if (unit != L'"' && unit != L'\\') continue;
      text += line_.substr(begin, i - begin);
      if (unit == L'"') {
        line_.remove_prefix(i + 1);
        return text;
      }
      begin = ++i;  // the character after the backslash
      if (i == line_.size() || (line_[i] != L'\\' && line_[i] != L'"'))
        Refuse("a backslash in text is written \\\\ and a quotation mark \\\"");
    }
    Refuse("the text has no closing quotation mark");
  }

  bool Take(std::wstring_view word) noexcept {
    if (!EqualsIgnoringCase(line_.substr(0, word.size()), word)) return false;
    line_.remove_prefix(word.size());
    return true;
  }

  void ExpectLineEnd(const std::string& after) const {
    const std::wstring_view rest = Trim(line_);
    if (!rest.empty() && rest.front() != L';') Refuse("unexpected text after " + after);
  }

  void ReadData(ExportedValue& value) {
    if (Take(L"-")) {
      value.deleted = true;
      ExpectLineEnd("-");
    } else if (line_.starts_with(L'"')) {
      value.type = kRegSz;
      value.bytes = RegistryTextBytes(ReadQuoted());
      ExpectLineEnd("the closing quotation mark");
    } else if (Take(L"dword:")) {
      value.type = kRegDword;
      const std::uint32_t number = ReadNumber("a dword");
      for (int shift = 0; shift < 32; shift += 8)
        value.bytes.push_back(static_cast<std::uint8_t>(number >> shift));
      ExpectLineEnd("the dword");
    } else if (Take(L"hex:")) {
      value.type = kRegBinary;
      ReadBytes(value.bytes);
    } else if (Take(L"hex(")) {
      value.type = ReadNumber("a value kind");
      if (!Take(L"):")) Refuse("expected ): after the value kind");
      ReadBytes(value.bytes);
      if (narrow_data_) WidenData(value);
    } else {
      Refuse("expected text in quotation marks, dword:, hex:, hex(N): or -");
    }
  }

  // Up to eight hexadecimal digits.
  std::uint32_t ReadNumber(const std::string& what) {
    std::uint32_t number = 0;
    std::size_t digits = 0;
    while (digits < line_.size() && HexDigit(line_[digits]) >= 0) {
      if (digits == 8) Refuse(what + " has at most 8 hexadecimal digits");
      number = number << 4 | static_cast<std::uint32_t>(HexDigit(line_[digits++]));
    }
    if (digits == 0) Refuse(what + " is written in hexadecimal digits");
    line_.remove_prefix(digits);
    return number;
  }

  // Bytes with commas between them; a backslash continues the list on the next line.
  void ReadBytes(std::vector<std::uint8_t>& bytes) {
    bytes.reserve(line_.size() / 3 + 1);
    bool expected = false;  // a comma asks for another byte
    for (SkipBlanks();; SkipBlanks()) {
      if (line_.starts_with(L'\\')) {
        ContinueOnNextLine();
        continue;
      }
      if (line_.empty() || line_.front() == L';') break;
      bytes.push_back(ReadByte());
      SkipBlanks();
      expected = line_.starts_with(L',');
      if (!expected) break;
      line_.remove_prefix(1);
    }
    if (expected) Refuse("the list ends with a comma; to continue it, end the line with \\");
    ExpectLineEnd("the list of bytes");
  }

  void ContinueOnNextLine() {
    line_.remove_prefix(1);
    ExpectLineEnd("the \\ that continues the list");
    if (!lines_.Next(line_)) Refuse("the list of bytes is cut off");
  }

  std::uint8_t ReadByte() {
    std::size_t digits = 0;
    int byte = 0;
    while (digits < std::min<std::size_t>(2, line_.size()) && HexDigit(line_[digits]) >= 0)
      byte = byte * 16 + HexDigit(line_[digits++]);
    if (digits == 0) Refuse("expected a byte in hexadecimal digits");
    line_.remove_prefix(digits);
    return static_cast<std::uint8_t>(byte);
  }

  void SkipBlanks() noexcept {
    while (!line_.empty() && IsBlank(line_.front())) line_.remove_prefix(1);
  }

  // Version 4 lists the bytes of narrow text where version 5 has those of wide text.
  static void WidenData(ExportedValue& value) {
    if (value.type != kRegSz && value.type != kRegExpandSz && value.type != kRegMultiSz) return;
    const std::string narrow(value.bytes.begin(), value.bytes.end());
    const std::wstring wide = IsExactUtf8(narrow) ? WideFromUtf8(narrow) : WideFromBytes(narrow);
    value.bytes = RegistryTextBytes(wide);
    value.bytes.resize(value.bytes.size() - 2);  // the list has its own terminators
  }

  Lines lines_;
  std::wstring_view line_;  // what is left of the present line
  bool narrow_data_ = false;
  std::vector<ExportedKey> keys_;
};

std::wstring WideFromUtf16(std::string_view bytes) {
  if (bytes.size() % 2 != 0) throw Refusal{0, "the UTF-16 text ends within a character"};
  std::wstring wide;
  wide.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const unsigned low = static_cast<unsigned char>(bytes[i]);
    const unsigned high = static_cast<unsigned char>(bytes[i + 1]);
    wide.push_back(static_cast<wchar_t>(low | high << 8));
  }
  return wide;
}

std::wstring ReadNarrowText(std::string_view bytes) {
  std::wstring wide = WideFromUtf8(bytes);
  const std::string back = Utf8FromWide(wide);
  if (back == bytes) return wide;
  if (bytes.starts_with("REGEDIT4")) return WideFromBytes(bytes);
  const auto broken = std::mismatch(bytes.begin(), bytes.end(), back.begin(), back.end()).first;
  const auto line = 1 + std::count(bytes.begin(), broken, '\n');
  throw Refusal{static_cast<int>(line), "the text is neither UTF-8 nor UTF-16 with its mark"};
}

std::wstring ReadText(std::string_view bytes, ExportFormat& format) {
  if (bytes.starts_with("\xFF\xFE")) {
    format.encoding = ExportFormat::Encoding::Utf16;
    return WideFromUtf16(bytes.substr(2));
  }
  if (bytes.starts_with("\xEF\xBB\xBF")) {
    format.encoding = ExportFormat::Encoding::Utf8WithMark;
    bytes.remove_prefix(3);
  }
  return ReadNarrowText(bytes);
}

}  // namespace

std::optional<RegistryExport> DecodeRegistryExport(std::string_view bytes, FileError& error) {
  try {
    RegistryExport content;
    const std::wstring text = ReadText(bytes, content.format);
    const std::size_t line_end = text.find(L'\n');
    content.format.crlf =
        line_end == std::wstring::npos || (line_end > 0 && text[line_end - 1] == L'\r');
    content.keys = Decoder(text).Run();
    return content;
  } catch (Refusal& refusal) {
    error.line = refusal.line;
    error.reason = std::move(refusal.reason);
    return std::nullopt;
  }
}

}  // namespace orv
