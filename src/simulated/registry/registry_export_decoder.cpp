#include <fmt/format.h>

#include <algorithm>

#include "simulated/registry/registry_export.h"

namespace orv {
namespace {

constexpr std::wstring_view kHeader5 = L"Windows Registry Editor Version 5.00";
constexpr std::wstring_view kHeader4 = L"REGEDIT4";
constexpr std::wstring_view kBlanks = L" \t";

struct RootName {
  std::wstring_view short_name;
  std::wstring_view name;
};
constexpr RootName kRoots[] = {{L"HKLM", kLocalMachineName},
                               {L"HKCU", kCurrentUserName},
                               {L"HKCR", kClassesRootName},
                               {L"HKU", L"HKEY_USERS"},
                               {L"HKCC", L"HKEY_CURRENT_CONFIG"}};

std::wstring_view TrimFront(std::wstring_view text) noexcept {  // runs twice for each byte
  while (text.starts_with(L' ') || text.starts_with(L'\t')) text.remove_prefix(1);
  return text;
}
std::wstring_view Trim(std::wstring_view text) noexcept {
  return TrimFront(text.substr(0, text.find_last_not_of(kBlanks) + 1));
}

int HexDigit(wchar_t unit) noexcept {
  if (unit >= L'0' && unit <= L'9') return unit - L'0';
  const auto folded = static_cast<wchar_t>(unit | 0x20);
  return folded >= L'a' && folded <= L'f' ? folded - L'a' + 10 : -1;
}

void WidenBytes(std::string_view bytes, std::wstring& wide) {
  wide.resize(bytes.size());
  std::ranges::transform(bytes, wide.begin(), [](char byte) {
    return static_cast<wchar_t>(static_cast<unsigned char>(byte));
  });
}

// The whole text with one element for each UTF-16 unit, or for each byte of a REGEDIT4 file that is
// not UTF-8.
std::wstring ReadText(std::string_view bytes, ExportFormat& format) {
  std::wstring text;
  if (bytes.starts_with("\xFF\xFE")) {
    format.encoding = ExportFormat::Encoding::Utf16;
    if (bytes.size() % 2 != 0) throw FileError{{}, 0, "the UTF-16 text ends within a character"};
    for (std::size_t i = 2; i < bytes.size(); i += 2) {
      const unsigned low = static_cast<unsigned char>(bytes[i]);
      const unsigned high = static_cast<unsigned char>(bytes[i + 1]);
      text.push_back(static_cast<wchar_t>(low | high << 8));
    }
    return text;
  }
  if (bytes.starts_with("\xEF\xBB\xBF")) {
    format.encoding = ExportFormat::Encoding::Utf8WithMark;
    bytes.remove_prefix(3);
  }
  WidenBytes(bytes, text);
  if (std::ranges::all_of(text, [](wchar_t unit) { return unit < 0x80; })) return text;
  std::wstring decoded = WideFromUtf8(bytes);
  const std::string encoded = Utf8FromWide(decoded);
  if (encoded == bytes) return decoded;
  if (bytes.starts_with("REGEDIT4")) return text;
  const auto broken = std::ranges::mismatch(bytes, encoded).in1;
  throw FileError{{},
                  static_cast<int>(1 + std::count(bytes.begin(), broken, '\n')),
                  "the text is neither UTF-8 nor UTF-16 with its mark"};
}

class Decoder {
 public:
  Decoder(std::wstring_view text, RegistryNode& root) : rest_(text), root_(root) {}

  void Run() {
    ReadHeader();
    while (NextLine()) {
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
    throw FileError{{}, number_, std::move(reason)};
  }

  // Moves to the next line, without its end. Returns false if there is none.
  bool NextLine() noexcept {
    if (rest_.empty()) return false;
    ++number_;
    line_ = rest_.substr(0, rest_.find(L'\n'));
    rest_.remove_prefix(std::min(line_.size() + 1, rest_.size()));
    if (line_.ends_with(L'\r')) line_.remove_suffix(1);
    return true;
  }

  void ReadHeader() {
    const bool any = NextLine();
    narrow_data_ = any && Trim(line_) == kHeader4;
    if (narrow_data_ || (any && Trim(line_) == kHeader5)) return;
    throw FileError{
        {}, 1, "the first line must be \"Windows Registry Editor Version 5.00\" or \"REGEDIT4\""};
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
    const bool is_root = !ReadPath(path);
    if (deleted && is_root) Refuse("a root key cannot be deleted");
    state_ = deleted ? State::InDeletedKey : State::InKey;
    if (deleted) {
      RegistryNode* node = root_.Descend(path_);
      if (node != nullptr && node->parent != nullptr) node->parent->children.Remove(*node);
    } else {
      RegistryNode* ignored = nullptr;
      key_ = root_.Make(path_, ignored);
      if (key_ == nullptr)
        Refuse(fmt::format("the key is more than {} levels deep", kRegistryDepth));
    }
  }

  // Returns whether the path leads below a root.
  bool ReadPath(std::wstring_view path) {
    path_ = RootPath(path.substr(0, path.find(L'\\')));
    const std::size_t root_size = path_.size();
    path.remove_prefix(std::min(path.find(L'\\'), path.size()));
    for (auto element = NextPathElement(path); !element.empty(); element = NextPathElement(path))
      (path_ += L'\\') += element;
    return path_.size() != root_size;
  }

  std::wstring_view RootPath(std::wstring_view root) const {
    for (const RootName& known : kRoots) {
      if (EqualsIgnoringCase(root, known.name) || EqualsIgnoringCase(root, known.short_name))
        return known.name == kClassesRootName ? kClassesPath : known.name;
    }
    if (root.size() > 5 && EqualsIgnoringCase(root.substr(0, 5), L"HKEY_")) return root;
    Refuse(
        fmt::format("\"{}\" is not a root key; a key begins with HKEY_LOCAL_MACHINE, "
                    "HKEY_CURRENT_USER, HKEY_CLASSES_ROOT or another HKEY_ name",
                    Utf8FromWide(root)));
  }

  void ReadValue() {
    RegistryValue value;
    if (line_.front() == L'@')
      line_.remove_prefix(1);
    else if (line_.front() == L'"')
      value.name = ReadQuoted(text_);
    else
      Refuse("expected a key in brackets, a value's name in quotation marks, @ or a comment");
    if (state_ == State::BeforeKeys) Refuse("the value is before the first key");
    if (state_ == State::InDeletedKey) Refuse("a deleted key cannot have values");
    line_ = Trim(line_);
    if (!line_.starts_with(L'=')) Refuse("expected = after the value's name");
    line_ = Trim(line_.substr(1));
    if (Take(L"-")) {
      if (const RegistryValue* held = key_->values.Find(value.name)) key_->values.Remove(*held);
      ExpectLineEnd("-");
    } else {
      ReadData(value);
      SetValue(std::move(value));
    }
  }

  void SetValue(RegistryValue&& value) {
    if (RegistryValue* held = key_->values.Find(value.name)) {
      held->type = value.type;
      held->bytes = std::move(value.bytes);
    } else {
      key_->AddValue(std::move(value.name), value.type, std::move(value.bytes));
    }
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

  void ReadData(RegistryValue& value) {
    if (line_.starts_with(L'"')) {
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

  // Takes up to `most` hexadecimal digits and returns how many there were.
  std::size_t TakeHex(std::size_t most, std::uint32_t& number) noexcept {
    std::size_t digits = 0;
    for (number = 0; digits < std::min(most, line_.size()); ++digits) {
      const int digit = HexDigit(line_[digits]);
      if (digit < 0) break;
      number = number << 4 | static_cast<std::uint32_t>(digit);
    }
    line_.remove_prefix(digits);
    return digits;
  }

  std::uint32_t ReadNumber(const std::string& what) {
    std::uint32_t number = 0;
    const std::size_t digits = TakeHex(9, number);
    if (digits > 8) Refuse(what + " has at most 8 hexadecimal digits");
    if (digits == 0) Refuse(what + " is written in hexadecimal digits");
    return number;
  }

  // Most bytes by far are two digits and a comma. Returns a negative number for others.
  int TakeUsualByte() noexcept {
    if (line_.size() < 3 || line_[2] != L',') return -1;
    const int byte = HexDigit(line_[0]) * 16 | HexDigit(line_[1]);
    if (byte >= 0) line_.remove_prefix(3);
    return byte;
  }

  // Bytes with commas between them; a backslash continues the list on the next line.
  void ReadBytes(std::vector<std::uint8_t>& bytes) {
    bytes.reserve(line_.size() / 3 + 1);
    bool expected = false;  // a comma asks for another byte
    for (;;) {
      for (int byte; (byte = TakeUsualByte()) >= 0; expected = true)
        bytes.push_back(static_cast<std::uint8_t>(byte));
      line_ = TrimFront(line_);
      if (line_.starts_with(L'\\')) {
        ContinueOnNextLine();
        continue;
      }
      if (line_.empty() || line_.front() == L';') break;
      std::uint32_t byte = 0;
      if (TakeHex(2, byte) == 0) Refuse("expected a byte in hexadecimal digits");
      bytes.push_back(static_cast<std::uint8_t>(byte));
      line_ = TrimFront(line_);
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
    if (!NextLine()) Refuse("the list of bytes is cut off");
  }

  // Version 4 lists the bytes of narrow text where version 5 has those of wide text.
  static void WidenData(RegistryValue& value) {
    if (value.type != kRegSz && value.type != kRegExpandSz && value.type != kRegMultiSz) return;
    const std::string narrow(value.bytes.begin(), value.bytes.end());
    std::wstring wide = WideFromUtf8(narrow);
    if (Utf8FromWide(wide) != narrow) WidenBytes(narrow, wide);
    value.bytes = RegistryTextBytes(wide);
    value.bytes.resize(value.bytes.size() - 2);  // the list has its own terminators
  }

  enum class State { BeforeKeys, InKey, InDeletedKey };

  std::wstring_view rest_;  // after the present line
  RegistryNode& root_;
  int number_ = 0;
  std::wstring_view line_;  // the rest of the present line
  bool narrow_data_ = false;
  State state_ = State::BeforeKeys;
  std::wstring path_;  // of the present key
  RegistryNode* key_ = nullptr;
  std::wstring text_;  // the latest in quotation marks
};

}  // namespace

std::optional<ExportFormat> ApplyExport(RegistryNode& root, std::string_view text,
                                        FileError& error) {
  try {
    ExportFormat format;
    const std::wstring wide = ReadText(text, format);
    const std::size_t line_end = wide.find(L'\n');
    format.crlf = line_end == std::wstring::npos || (line_end != 0 && wide[line_end - 1] == L'\r');
    Decoder(wide, root).Run();
    return format;
  } catch (FileError& refusal) {
    error.line = refusal.line;
    error.reason = std::move(refusal.reason);
    return std::nullopt;
  }
}

}  // namespace orv
