#include "frame/registration_script.h"

#include <algorithm>
#include <utility>

#include "platform/text.h"

namespace orv {
namespace {

constexpr std::wstring_view kBlanks(L" \t\r\n\0", 5);
constexpr int kDeepestKey = 16;

struct BadScript {};

struct Word {
  std::wstring text;  // empty at the end, and for ''
  bool quoted = false;

  bool Is(std::wstring_view keyword) const { return !quoted && EqualsIgnoringCase(text, keyword); }
};

class Lexer {
 public:
  Lexer(std::wstring_view text, const ScriptReplacements& replacements)
      : rest_(text), replacements_(replacements) {
    Advance();
  }

  bool AtEnd() const { return word_.Is(L""); }
  bool TakeIf(std::wstring_view keyword) {
    if (!word_.Is(keyword)) return false;
    Advance();
    return true;
  }
  void Expect(std::wstring_view keyword) {
    if (!TakeIf(keyword)) throw BadScript();
  }
  // The name of a key or value, or a value's text: anything but a brace or the end.
  std::wstring TakeText() {
    if (AtEnd() || word_.Is(L"{") || word_.Is(L"}")) throw BadScript();
    std::wstring text = std::move(word_.text);
    Advance();
    return text;
  }

 private:
  void Advance() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
    const bool quoted = rest_.starts_with(L'\'');
    if (quoted) rest_.remove_prefix(1);
    const std::size_t end = quoted ? rest_.find(L'\'') : rest_.find_first_of(kBlanks);
    if (quoted && end == std::wstring_view::npos) throw BadScript();
    word_ = {Replaced(rest_.substr(0, end)), quoted};
    rest_.remove_prefix(std::min(end, rest_.size()));
    if (quoted) rest_.remove_prefix(1);
  }

  // Replacing happens inside a word, so the replacement needs no quoting.
  std::wstring Replaced(std::wstring_view word) const {
    std::wstring result;
    for (std::size_t begin; (begin = word.find(L'%')) != std::wstring_view::npos;) {
      const std::size_t end = word.find(L'%', begin + 1);
      if (end == std::wstring_view::npos) throw BadScript();
      const auto found = replacements_.find(word.substr(begin + 1, end - begin - 1));
      if (found == replacements_.end()) throw BadScript();
      result.append(word.substr(0, begin)).append(found->second);
      word.remove_prefix(end + 1);
    }
    return result.append(word);
  }

  std::wstring_view rest_;
  const ScriptReplacements& replacements_;
  Word word_;
};

// After "=".
std::wstring ReadText(Lexer& lexer) {
  lexer.Expect(L"s");
  return lexer.TakeText();
}

std::vector<ScriptKey> ReadContent(Lexer& lexer, ScriptKey* parent, int depth);

ScriptKey ReadKey(Lexer& lexer, bool in_forced_key, int depth) {
  ScriptKey key;
  if (lexer.TakeIf(L"ForceRemove"))
    key.rule = KeyRule::ForceRemove;
  else if (!lexer.TakeIf(L"NoRemove"))
    key.rule = KeyRule::Plain;
  if (key.rule == KeyRule::Plain && !in_forced_key) throw BadScript();
  key.name = lexer.TakeText();
  if (key.name.empty() || key.name.find(L'\\') != std::wstring::npos) throw BadScript();
  if (lexer.TakeIf(L"=")) key.values.push_back({{}, ReadText(lexer)});
  if (lexer.TakeIf(L"{")) key.keys = ReadContent(lexer, &key, depth + 1);
  return key;
}

// What is between braces, the closing one included.
std::vector<ScriptKey> ReadContent(Lexer& lexer, ScriptKey* parent, int depth) {
  if (depth > kDeepestKey) throw BadScript();
  const bool in_forced_key = parent != nullptr && parent->rule != KeyRule::NoRemove;
  std::vector<ScriptKey> keys;
  while (!lexer.TakeIf(L"}")) {
    if (parent != nullptr && lexer.TakeIf(L"val")) {
      std::wstring name = lexer.TakeText();
      lexer.Expect(L"=");
      parent->values.push_back({std::move(name), ReadText(lexer)});
    } else {
      keys.push_back(ReadKey(lexer, in_forced_key, depth));
    }
  }
  return keys;
}

}  // namespace

std::optional<std::vector<ScriptKey>> ParseRegistrationScript(
    std::wstring_view text, const ScriptReplacements& replacements) {
  try {
    Lexer lexer(text, replacements);
    lexer.Expect(L"HKCR");
    lexer.Expect(L"{");
    std::vector<ScriptKey> keys = ReadContent(lexer, nullptr, 0);
    if (!lexer.AtEnd()) throw BadScript();
    return keys;
  } catch (const BadScript&) {
    return std::nullopt;
  }
}

}  // namespace orv
