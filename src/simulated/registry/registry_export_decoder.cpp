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

// Lines of a text in one of the encodings, without their ends.
class Lines {
 public:
  enum class Encoding { Utf8, SingleBytes, Utf16 };

  Lines(std::string_view text, Encoding encoding) noexcept : rest_(text), encoding_(encoding) {}

  // `line` is valid until the next call. Returns false at the end.
  bool Next(std::wstring_view& line) {
    if (rest_.empty()) return false;
    ++number_;
    const bool ended = encoding_ == Encoding::Utf16 ? TakeUtf16() : TakeNarrow();
    line = line_;
    const bool crlf = line.ends_with(L'\r');
    if (crlf) line.remove_suffix(1);
    if (number_ == 1) crlf_ = crlf || !ended;
    return true;
  }
  int number() const noexcept { return number_; }
  // Whether the first line ends with a carriage return and a line feed.
  bool crlf() const noexcept { return crlf_; }

 private:
  bool TakeNarrow() {
    const std::size_t end = rest_.find('\n');
    const std::string_view bytes = rest_.substr(0, end);
    const bool ended = end != std::string_view::npos;
    rest_.remove_prefix(bytes.size() + ended);
    line_.resize(bytes.size());
    std::transform(bytes.begin(), bytes.end(), line_.begin(), [](char byte) {
      return static_cast<wchar_t>(static_cast<unsigned char>(byte));
    });
    if (encoding_ == Encoding::SingleBytes || IsAscii(bytes)) return ended;
    line_ = WideFromUtf8(bytes);
    if (Utf8FromWide(line_) != bytes)
      throw Refusal{number_, "the text is neither UTF-8 nor UTF-16 with its mark"};
    return ended;
  }

  bool TakeUtf16() {
    line_.clear();
    for (; !rest_.empty(); rest_.remove_prefix(2)) {
      const unsigned low = static_cast<unsigned char>(rest_[0]);
      const unsigned high = static_cast<unsigned char>(rest_[1]);
      line_.push_back(static_cast<wchar_t>(low | high << 8));
      if (line_.back() != L'\n') continue;
      line_.pop_back();
      rest_.remove_prefix(2);
      return true;
    }
    return false;
  }

  static bool IsAscii(std::string_view bytes) noexcept {
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
  }

  std::string_view rest_;
  Encoding encoding_;
  std::wstring line_;
  int number_ = 0;
  bool crlf_ = true;
};

class Decoder {
 public:
  Decoder(Lines& lines, RegistryExportSink& sink) noexcept : lines_(lines), sink_(sink) {}

  void Run() {
    ReadHeader();
    while (lines_.Next(line_)) {
      line_ = Trim(line_);
      if (line_.empty() || line_.front() == L';') continue;
      if (line_.front() == L'[')
        ReadKey();
      else
        ReadValue();
    }
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
    const bool deleted = path.starts_with(L'-');
    if (deleted) path.remove_prefix(1);
    ReadPath(path);
    if (deleted && path_.find(L'\\') == std::wstring::npos) Refuse("a root key cannot be deleted");
    std::string reason = sink_.Key(path_, deleted);
    if (!reason.empty()) Refuse(std::move(reason));
    state_ = deleted ? State::InDeletedKey : State::InKey;
  }

  void ReadPath(std::wstring_view path) {
    const std::wstring_view root = path.substr(0, path.find(L'\\'));
    path_ = RootPath(root);
    path.remove_prefix(root.size());
    while (!path.empty()) {
      path.remove_prefix(1);
      const std::wstring_view element = path.substr(0, path.find(L'\\'));
      if (!element.empty()) (path_ += L'\\') += element;
      path.remove_prefix(element.size());
    }
  }

  std::wstring_view RootPath(std::wstring_view root) const {
    for (const RootName& known : kRoots) {
      if (EqualsIgnoringCase(root, known.name) || EqualsIgnoringCase(root, known.short_name))
        return known.name;
    }
    if (root.size() > 5 && EqualsIgnoringCase(root.substr(0, 5), L"HKEY_")) return root;
    Refuse("\"" + Utf8FromWide(root) +
           "\" is no root key; a key begins with HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER, "
           "HKEY_CLASSES_ROOT or another HKEY_ name");
  }

  void ReadValue() {
    ExportedValue value;
    if (line_.front() == L'@')
      line_.remove_prefix(1);
    else if (line_.front() == L'"')
      value.name = ReadQuoted(text_);
    else
      Refuse("expected a key in brackets, a value's name in quotation marks, @ or a comment");
    if (state_ == State::BeforeKeys) Refuse("the value stands before the first key");
    if (state_ == State::InDeletedKey) Refuse("a deleted key cannot have values");
    line_ = Trim(line_);
    if (!line_.starts_with(L'=')) Refuse("expected = after the value's name");
    line_ = Trim(line_.substr(1));
    ReadData(value);
    sink_.Value(std::move(value));
  }

  // The cursor is at the opening quotation mark and ends after the closing one. The result is in
  // `text`.
  const std::wstring& ReadQuoted(std::wstring& text) {
    text.clear();
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
      value.bytes = RegistryTextBytes(ReadQuoted(text_));
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

  enum class State { BeforeKeys, InKey, InDeletedKey };

  Lines& lines_;
  RegistryExportSink& sink_;
  std::wstring_view line_;  // the rest of the present line
  bool narrow_data_ = false;
  State state_ = State::BeforeKeys;
  std::wstring path_;  // of the present key
  std::wstring text_;  // the latest in quotation marks
};

Lines OpenText(std::string_view bytes, ExportFormat& format) {
  if (bytes.starts_with("\xFF\xFE")) {
    format.encoding = ExportFormat::Encoding::Utf16;
    bytes.remove_prefix(2);
    if (bytes.size() % 2 != 0) throw Refusal{0, "the UTF-16 text ends within a character"};
    return {bytes, Lines::Encoding::Utf16};
  }
  if (bytes.starts_with("\xEF\xBB\xBF")) {
    format.encoding = ExportFormat::Encoding::Utf8WithMark;
    bytes.remove_prefix(3);
  }
  const bool narrow = bytes.starts_with("REGEDIT4") && !IsExactUtf8(bytes);
  return {bytes, narrow ? Lines::Encoding::SingleBytes : Lines::Encoding::Utf8};
}

class ExportCollector final : public RegistryExportSink {
 public:
  explicit ExportCollector(std::vector<ExportedKey>& keys) : keys_(keys) {}

  std::string Key(std::wstring_view path, bool deleted) override {
    keys_.push_back({std::wstring(path), deleted, {}});
    return {};
  }
  void Value(ExportedValue&& value) override { keys_.back().values.push_back(std::move(value)); }

 private:
  std::vector<ExportedKey>& keys_;
};

}  // namespace

std::optional<ExportFormat> ReadRegistryExport(std::string_view bytes, RegistryExportSink& sink,
                                               FileError& error) {
  try {
    ExportFormat format;
    Lines lines = OpenText(bytes, format);
    Decoder(lines, sink).Run();
    format.crlf = lines.crlf();
    return format;
  } catch (Refusal& refusal) {
    error.line = refusal.line;
    error.reason = std::move(refusal.reason);
    return std::nullopt;
  }
}

std::optional<RegistryExport> DecodeRegistryExport(std::string_view bytes, FileError& error) {
  RegistryExport content;
  ExportCollector collector(content.keys);
  const auto format = ReadRegistryExport(bytes, collector, error);
  if (!format) return std::nullopt;
  content.format = *format;
  return content;
}

}  // namespace orv
