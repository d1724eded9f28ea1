#include "frame/registrar.h"

#include <utility>

#include "platform/text.h"

namespace orv {
namespace {

constexpr std::uint32_t kScriptAccess = kKeyRead | kKeyWrite | kKeyWow64_64;

}  // namespace

ClassesPlace PlaceOfClasses(bool per_user) {
  if (per_user) return {RegRoot::CurrentUser, L"Software\\Classes"};
  return {RegRoot::ClassesRoot, {}};
}

std::wstring JoinKeyPath(const std::wstring& path, std::wstring_view name) {
  std::wstring joined = path;
  if (!joined.empty()) joined.push_back(L'\\');
  return joined.append(name);
}

void Registrar::AddReplacement(std::wstring name, std::wstring value) {
  replacements_.insert_or_assign(std::move(name), std::move(value));
}

HRESULT Registrar::Register(std::string_view script) {
  return Run(script, &Registrar::RegisterContent);
}

HRESULT Registrar::Unregister(std::string_view script) {
  return Run(script, &Registrar::UnregisterContent);
}

HRESULT Registrar::Run(std::string_view script,
                       RegStatus (Registrar::*step)(RegRoot, const std::wstring&,
                                                    const ScriptKey&)) {
  const auto roots = ParseRegistrationScript(WideFromUtf8(script), replacements_);
  if (!roots) return kBadScript;
  for (const ScriptRoot& root : *roots) {
    ClassesPlace place{root.root, {}};
    if (root.root == RegRoot::ClassesRoot) place = PlaceOfClasses(per_user_);
    const RegStatus status = (this->*step)(place.root, place.path, root.content);
    if (status != kRegOk) return orv_apo::StatusOfSystemError(static_cast<DWORD>(status));
  }
  return S_OK;
}

// The key itself is made (or opened) only when it has values or a name, so an empty block under a
// root leaves no trace.
RegStatus Registrar::RegisterContent(RegRoot root, const std::wstring& path,
                                     const ScriptKey& content) {
  if (!content.name.empty() || !content.values.empty()) {
    std::unique_ptr<RegistryKey> key;
    RegStatus status = registry_.CreateKey(root, path, kScriptAccess, key, nullptr);
    if (status != kRegOk) return status;
    for (const ScriptValue& value : content.values) {
      status = key->SetValue(value.name, value.type, value.bytes.data(),
                             static_cast<std::uint32_t>(value.bytes.size()));
      if (status != kRegOk) return status;
    }
  }
  for (const ScriptKey& child : content.keys) {
    const RegStatus status = RegisterKey(root, JoinKeyPath(path, child.name), child);
    if (status != kRegOk) return status;
  }
  return kRegOk;
}

RegStatus Registrar::RegisterKey(RegRoot root, const std::wstring& path, const ScriptKey& key) {
  if (key.rule == KeyRule::Delete || key.rule == KeyRule::ForceRemove) {
    const RegStatus status = DeleteTree(root, path);
    if (status != kRegOk || key.rule == KeyRule::Delete) return status;
  }
  return RegisterContent(root, path, key);
}

RegStatus Registrar::UnregisterContent(RegRoot root, const std::wstring& path,
                                       const ScriptKey& content) {
  for (const ScriptKey& child : content.keys) {
    const RegStatus status = UnregisterKey(root, JoinKeyPath(path, child.name), child);
    if (status != kRegOk) return status;
  }
  for (const ScriptValue& value : content.values) {
    if (value.name.empty()) continue;  // a default value goes with its key, or stays with it
    std::unique_ptr<RegistryKey> key;
    RegStatus status = registry_.OpenKey(root, path, kKeySetValue | kKeyWow64_64, key);
    if (status == kRegOk) status = key->DeleteValue(value.name);
    if (status != kRegOk && status != kRegNotFound) return status;
  }
  return kRegOk;
}

RegStatus Registrar::UnregisterKey(RegRoot root, const std::wstring& path, const ScriptKey& key) {
  if (key.rule == KeyRule::Delete) return kRegOk;
  if (key.rule == KeyRule::ForceRemove) return DeleteTree(root, path);
  const RegStatus status = UnregisterContent(root, path, key);
  if (status != kRegOk || key.rule == KeyRule::NoRemove || HasSubKeys(root, path)) return status;
  return DeleteTree(root, path);
}

RegStatus Registrar::DeleteTree(RegRoot root, const std::wstring& path) {
  const RegStatus status = registry_.DeleteTree(root, path);
  return status == kRegNotFound ? kRegOk : status;
}

bool Registrar::HasSubKeys(RegRoot root, const std::wstring& path) {
  std::unique_ptr<RegistryKey> key;
  if (registry_.OpenKey(root, path, kKeyRead | kKeyWow64_64, key) != kRegOk) return false;
  std::wstring name;
  return key->EnumSubKey(0, name) == kRegOk;
}

}  // namespace orv
