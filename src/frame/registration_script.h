// The registration script language, text to tree.
//
//   HKCR {
//     NoRemove CLSID {
//       ForceRemove {34296A83-...} = s 'Name' {
//         InprocServer32 = s '%MODULE%' { val ThreadingModel = s 'Both' }
//       }
//     }
//   }
//
// Words are parted by blanks; 'quoted text' may hold blanks, '' stands for one quote. Keywords and
// roots (HKCR, HKCU, HKLM and their long names) are found without regard to letter case, quoted
// words are never keywords. Value kinds: s text, d number (decimal, or hexadecimal after &H), b
// bytes as hexadecimal digits, m texts parted by \0. %NAME% is replaced, %% is one percent sign.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry.h"

namespace orv {

struct ScriptValue {
  std::wstring name;  // empty: the key's default value
  std::uint32_t type = kRegSz;
  std::vector<std::uint8_t> bytes;
};

enum class KeyRule {
  Plain,        // unregistering removes the key unless something else lies below it
  ForceRemove,  // registering starts it afresh, unregistering removes all of it
  NoRemove,     // stays
  Delete,       // registering deletes it
};

struct ScriptKey {
  KeyRule rule = KeyRule::Plain;
  std::wstring name;
  std::vector<ScriptValue> values;
  std::vector<ScriptKey> keys;
};

struct ScriptRoot {
  RegRoot root = RegRoot::ClassesRoot;
  ScriptKey content;  // without a name
};

using ScriptReplacements = std::map<std::wstring, std::wstring, std::less<>>;

// Nothing when the text breaks the language's rules.
std::optional<std::vector<ScriptRoot>> ParseRegistrationScript(
    std::wstring_view text, const ScriptReplacements& replacements);

}  // namespace orv
