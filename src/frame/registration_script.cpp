#include "frame/registration_script.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/text.h"

namespace orv {
namespace {

constexpr int kDeepestKey = 64;

struct BadScript {};

struct Token {
  std::wstring text;
  bool quoted = false;
  bool end = false;

  bool Is(std::wstring_view word) const {
    return !end && !quoted && EqualsIgnoringCase(text, word);
  }
};

bool IsBlank(wchar_t unit) {
  return unit == L' ' || unit == L'\t' || unit == L'\r' || unit == L'\n' || unit == L'\0';
}

class Lexer {
 public:
  Lexer(std::wstring_view text, const ScriptReplacements& replacements)
      : text_(text), replacements_(replacements) {
    Advance();
  }

  const Token& current() const { return token_; }

  Token Take() {
    Token taken = std::exchange(token_, {});
    Advance();
    return taken;
  }
  bool TakeIf(std::wstring_view word) {
    if (!token_.Is(word)) return false;
    Advance();
    return true;
  }
  // A key name, value name or value: anything but a brace or the end.
  std::wstring TakeName() {
    if (token_.end || token_.Is(L"{") || token_.Is(L"}")) throw BadScript();
    return Take().text;
  }

 private:
  void Advance() {
    while (position_ < text_.size() && IsBlank(text_[position_])) ++position_;
    token_ = {};
    if (position_ == text_.size()) {
      token_.end = true;
    } else if (text_[position_] == L'\'') {
      token_ = {Replaced(Quoted()), true, false};
    } else {
      const std::size_t begin = position_;
      while (position_ < text_.size() && !IsBlank(text_[position_])) ++position_;
      token_ = {Replaced(text_.substr(begin, position_ - begin)), false, false};
    }
  }

  std::wstring Quoted() {
    std::wstring result;
    for (++position_; position_ < text_.size(); ++position_) {
      if (text_[position_] == L'\'') {
        ++position_;
        if (position_ == text_.size() || text_[position_] != L'\'') return result;
      }
      result.push_back(text_[position_]);
    }
    throw BadScript();
  }

  // Replacing happens inside a word, so what is put in needs no quoting.
  std::wstring Replaced(std::wstring_view word) const {
    std::wstring result;
    while (!word.empty()) {
      const std::size_t begin = word.find(L'%');
      result += word.substr(0, begin);
      if (begin == std::wstring_view::npos) break;
      const std::size_t end = word.find(L'%', begin + 1);
      if (end == std::wstring_view::npos) throw BadScript();
      const std::wstring_view name = word.substr(begin + 1, end - begin - 1);
      if (name.empty()) {
        result.push_back(L'%');
      } else {
        const auto found = replacements_.find(name);
        if (found == replacements_.end()) throw BadScript();
        result += found->second;
      }
      word.remove_prefix(end + 1);
    }
    return result;
  }

  std::wstring_view text_;
  const ScriptReplacements& replacements_;
  std::size_t position_ = 0;
  Token token_;
};

unsigned DigitOf(wchar_t unit, unsigned base) {
  unsigned digit = base;
  const wchar_t folded = FoldAscii(unit);
  if (folded >= L'0' && folded <= L'9') digit = static_cast<unsigned>(folded - L'0');
  if (FoldAscii(L'a') <= folded && folded <= FoldAscii(L'f'))
    digit = static_cast<unsigned>(folded - FoldAscii(L'a')) + 10;
  if (digit >= base) throw BadScript();
  return digit;
}

std::vector<std::uint8_t> NumberBytes(std::wstring_view text) {
  unsigned base = 10;
  if (text.size() > 2 && EqualsIgnoringCase(text.substr(0, 2), L"&H")) {
    base = 16;
    text.remove_prefix(2);
  }
  if (text.empty()) throw BadScript();
  std::uint64_t number = 0;
  for (const wchar_t unit : text) {
    number = number * base + DigitOf(unit, base);
    if (number > std::numeric_limits<std::uint32_t>::max()) throw BadScript();
  }
  std::vector<std::uint8_t> bytes;
  for (unsigned shift = 0; shift < 32; shift += 8)
    bytes.push_back(static_cast<std::uint8_t>(number >> shift));
  return bytes;
}

std::vector<std::uint8_t> HexBytes(std::wstring_view digits) {
  if (digits.size() % 2 != 0) throw BadScript();
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(
        static_cast<std::uint8_t>(DigitOf(digits[i], 16) * 16 + DigitOf(digits[i + 1], 16)));
  }
  return bytes;
}

std::vector<std::uint8_t> TextListBytes(std::wstring_view text) {
  std::vector<std::uint8_t> bytes;
  const auto append = [&bytes](std::wstring_view part) {
    const std::vector<std::uint8_t> stored = RegistryTextBytes(part);
    bytes.insert(bytes.end(), stored.begin(), stored.end());
  };
  while (!text.empty()) {
    const std::size_t end = text.find(L"\\0");
    // An empty text would end the list.
    if (end != 0) append(text.substr(0, end));
    text.remove_prefix(end == std::wstring_view::npos ? text.size() : end + 2);
  }
  append({});
  return bytes;
}

// After "=": a kind letter and its text.
ScriptValue ReadValue(Lexer& lexer, std::wstring name) {
  const Token kind = lexer.Take();
  const std::wstring text = lexer.TakeName();
  if (kind.Is(L"s")) return {std::move(name), kRegSz, RegistryTextBytes(text)};
  if (kind.Is(L"d")) return {std::move(name), kRegDword, NumberBytes(text)};
  if (kind.Is(L"b")) return {std::move(name), kRegBinary, HexBytes(text)};
  if (kind.Is(L"m")) return {std::move(name), kRegMultiSz, TextListBytes(text)};
  throw BadScript();
}

std::wstring TakeKeyName(Lexer& lexer) {
  std::wstring name = lexer.TakeName();
  if (name.empty() || name.find(L'\\') != std::wstring::npos) throw BadScript();
  return name;
}

void ReadContent(Lexer& lexer, ScriptKey& parent, int depth);

ScriptKey ReadKey(Lexer& lexer, int depth) {
  ScriptKey key;
  if (lexer.TakeIf(L"Delete")) {
    key.rule = KeyRule::Delete;
    key.name = TakeKeyName(lexer);
    return key;
  }
  if (lexer.TakeIf(L"ForceRemove")) {
    key.rule = KeyRule::ForceRemove;
  } else if (lexer.TakeIf(L"NoRemove")) {
    key.rule = KeyRule::NoRemove;
  }
  key.name = TakeKeyName(lexer);
  if (lexer.TakeIf(L"=")) key.values.push_back(ReadValue(lexer, {}));
  if (lexer.TakeIf(L"{")) ReadContent(lexer, key, depth + 1);
  return key;
}

// What stands between braces, the closing one included.
void ReadContent(Lexer& lexer, ScriptKey& parent, int depth) {
  if (depth > kDeepestKey) throw BadScript();
  while (!lexer.TakeIf(L"}")) {
    if (lexer.TakeIf(L"val")) {
      std::wstring name = lexer.TakeName();
      if (!lexer.TakeIf(L"=")) throw BadScript();
      parent.values.push_back(ReadValue(lexer, std::move(name)));
    } else {
      parent.keys.push_back(ReadKey(lexer, depth));
    }
  }
}

RegRoot TakeRoot(Lexer& lexer) {
  const Token root = lexer.Take();
  if (root.Is(L"HKCR") || root.Is(L"HKEY_CLASSES_ROOT")) return RegRoot::ClassesRoot;
  if (root.Is(L"HKCU") || root.Is(L"HKEY_CURRENT_USER")) return RegRoot::CurrentUser;
  if (root.Is(L"HKLM") || root.Is(L"HKEY_LOCAL_MACHINE")) return RegRoot::LocalMachine;
  throw BadScript();
}

}  // namespace

std::optional<std::vector<ScriptRoot>> ParseRegistrationScript(
    std::wstring_view text, const ScriptReplacements& replacements) {
  try {
    Lexer lexer(text, replacements);
    std::vector<ScriptRoot> roots;
    while (!lexer.current().end) {
      ScriptRoot root;
      root.root = TakeRoot(lexer);
      if (!lexer.TakeIf(L"{")) throw BadScript();
      ReadContent(lexer, root.content, 0);
      roots.push_back(std::move(root));
    }
    return roots;
  } catch (const BadScript&) {
    return std::nullopt;
  }
}

}  // namespace orv
