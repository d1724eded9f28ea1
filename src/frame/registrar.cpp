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
  return Run(script, &Registrar::RegisterKey);
}

HRESULT Registrar::Unregister(std::string_view script) {
  return Run(script, &Registrar::UnregisterKey);
}

HRESULT Registrar::Run(std::string_view script,
                       RegStatus (Registrar::*step)(const std::wstring&, const ScriptKey&)) {
  const auto keys = ParseRegistrationScript(WideFromUtf8(script), replacements_);
  if (!keys) return kBadScript;
  for (const ScriptKey& key : *keys) {
    const RegStatus status = (this->*step)(JoinKeyPath(classes_.path, key.name), key);
    if (status != kRegOk) return orv_apo::StatusOfSystemError(static_cast<DWORD>(status));
  }
  return S_OK;
}

RegStatus Registrar::RegisterKey(const std::wstring& path, const ScriptKey& key) {
  RegStatus status = key.rule == KeyRule::ForceRemove ? DeleteTree(path) : kRegOk;
  std::unique_ptr<RegistryKey> opened;
  if (status == kRegOk)
    status = registry_.CreateKey(classes_.root, path, kScriptAccess, opened, nullptr);
  for (const ScriptValue& value : key.values) {
    if (status != kRegOk) return status;
    const std::vector<std::uint8_t> bytes = RegistryTextBytes(value.text);
    status = opened->SetValue(value.name, kRegSz, bytes.data(),
                              static_cast<std::uint32_t>(bytes.size()));
  }
  for (const ScriptKey& child : key.keys) {
    if (status != kRegOk) return status;
    status = RegisterKey(JoinKeyPath(path, child.name), child);
  }
  return status;
}

RegStatus Registrar::UnregisterKey(const std::wstring& path, const ScriptKey& key) {
  if (key.rule == KeyRule::ForceRemove) return DeleteTree(path);
  RegStatus status = kRegOk;
  for (const ScriptKey& child : key.keys) {
    if (status != kRegOk) break;
    status = UnregisterKey(JoinKeyPath(path, child.name), child);
  }
  return status;
}

RegStatus Registrar::DeleteTree(const std::wstring& path) {
  const RegStatus status = registry_.DeleteTree(classes_.root, path);
  return status == kRegNotFound ? kRegOk : status;
}

}  // namespace orv
