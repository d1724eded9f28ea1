// Runs registration scripts against a registry.
#pragma once

#include <string>
#include <string_view>

#include "frame/registration_script.h"
#include "orv_apo/com.h"
#include "platform/registry.h"

namespace orv {

// Where the classes root is: itself, or the user's own classes.
struct ClassesPlace {
  RegRoot root;
  std::wstring path;  // without a trailing backslash; may be empty
};
ClassesPlace PlaceOfClasses(bool per_user);

class Registrar {
 public:
  // With `per_user` whatever a script puts under the classes root goes to the user's own classes.
  Registrar(Registry& registry, bool per_user)
      : registry_(registry), classes_(PlaceOfClasses(per_user)) {}

  void AddReplacement(std::wstring name, std::wstring value);

  // Each runs one whole script; the first registry error ends it (what was done so far stays). A
  // script that breaks the language's rules changes nothing and gives kBadScript.
  HRESULT Register(std::string_view script);
  // Keys that do not exist are ignored.
  HRESULT Unregister(std::string_view script);

  static constexpr HRESULT kBadScript = static_cast<HRESULT>(0x80020009);  // DISP_E_EXCEPTION

 private:
  HRESULT Run(std::string_view script,
              RegStatus (Registrar::*step)(const std::wstring& path, const ScriptKey& key));
  RegStatus RegisterKey(const std::wstring& path, const ScriptKey& key);
  RegStatus UnregisterKey(const std::wstring& path, const ScriptKey& key);
  RegStatus DeleteTree(const std::wstring& path);

  Registry& registry_;
  ClassesPlace classes_;
  ScriptReplacements replacements_;
};

// `path` and `name` with one backslash between them; `name` alone if the path is empty.
std::wstring JoinKeyPath(const std::wstring& path, std::wstring_view name);

}  // namespace orv
