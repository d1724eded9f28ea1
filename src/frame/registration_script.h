// The registration scripts' language, text to tree:
//
//   HKCR {
//     NoRemove CLSID {
//       ForceRemove {34296A83-...} = s 'Name' {
//         InprocServer32 = s '%MODULE%' { val ThreadingModel = s 'Both' }
//       }
//     }
//   }
//
// Words are separated by blanks and line ends; 'quoted text' is one word, and never a keyword.
// Keywords are found without regard to letter case. %NAME% is replaced. Values are texts. A key
// without a rule is part of a ForceRemove key.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

struct ScriptValue {
  std::wstring name;  // empty: the key's default value
  std::wstring text;
};

enum class KeyRule {
  NoRemove,     // registering makes it, unregistering leaves it
  ForceRemove,  // registering makes it afresh, unregistering removes it with all that is below
  Plain,        // comes and goes with the key above
};

struct ScriptKey {
  KeyRule rule = KeyRule::NoRemove;
  std::wstring name;
  std::vector<ScriptValue> values;
  std::vector<ScriptKey> keys;
};

using ScriptReplacements = std::map<std::wstring, std::wstring, std::less<>>;

// The keys below the classes root. Returns nullopt if the text breaks the language's rules.
std::optional<std::vector<ScriptKey>> ParseRegistrationScript(
    std::wstring_view text, const ScriptReplacements& replacements);

}  // namespace orv
