#include "cli/client/registry.h"

#include <array>

#include "cli/show/failure.h"
#include "cli/show/names.h"
#include "config/mode_selector.h"
#include "endpoints/endpoint_registry.h"
#include "platform/guid_text.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

constexpr std::array kClasses = {&CLSID_ORVAPOSystem,
                                 &CLSID_ORVEndpointEnumerator,
                                 &CLSID_ORVCOMEndpointInfo,
                                 &CLSID_ORVOperatingMode,
                                 &CLSID_ORVAPOControlEnumerator,
                                 &CLSID_ORVAPOCOMControl,
                                 &CLSID_ORVAPOOpModeEnumerator,
                                 &CLSID_ORVAPOQCDSP,
                                 &CLSID_ORVAPOConfigEnumerator,
                                 &CLSID_ORVAPOConfigProperty,
                                 &CLSID_AnalysisData,
                                 &CLSID_KELAPOIntelDSP,
                                 &CLSID_RegistrySettings};

struct Hive {
  RegRoot root;
  const wchar_t* prefix;  // within the root
  const char* name;
};
constexpr Hive kMachineHive = {RegRoot::ClassesRoot, L"", "HKEY_CLASSES_ROOT\\"};
constexpr Hive kUserHive = {RegRoot::CurrentUser, L"Software\\Classes\\",
                            "HKEY_CURRENT_USER\\Software\\Classes\\"};

void CollectTree(Registry& registry, const Hive& hive, const std::wstring& path,
                 std::vector<std::string>& keys) {
  std::unique_ptr<RegistryKey> key;
  if (registry.OpenKey(hive.root, hive.prefix + path, kKeyRead | kKeyWow64_64, key) != kRegOk)
    return;
  keys.push_back(hive.name + Utf8FromWide(path));
  std::wstring name;
  for (std::uint32_t i = 0; key->EnumSubKey(i, name) == kRegOk; ++i)
    CollectTree(registry, hive, path + L"\\" + name, keys);
}

}  // namespace

std::vector<std::string> RegisteredKeys(Registry& registry, bool for_user) {
  const Hive& hive = for_user ? kUserHive : kMachineHive;
  std::vector<std::string> keys;
  for (const CLSID* clsid : kClasses)
    CollectTree(registry, hive, L"CLSID\\" + GuidText(*clsid), keys);
  CollectTree(registry, hive, L"TypeLib\\" + GuidText(LIBID_ORV_APO2011_ControllerLib), keys);
  return keys;
}

std::string CurrentModeValue() { return Utf8FromWide(ORVAPOModeSelector::kCurrentModeValue); }

std::optional<ImageBytes> ReadImage(Machine& machine, const std::string& registry_path,
                                    const std::string& value_name) {
  std::unique_ptr<RegistryKey> key;
  if (machine.registry().OpenKey(RegRoot::LocalMachine, WideFromUtf8(registry_path), kQueryAccess,
                                 key) != kRegOk)
    return std::nullopt;
  std::uint32_t type = 0;
  ImageBytes bytes;
  for (const std::wstring& name : NamesFromUtf8(value_name))
    if (ReadValue(*key, name, type, bytes) == kRegOk && type == kRegBinary) return bytes;
  return std::nullopt;
}

void KeyWatch::Arm() {
  RegStatus status = key_ != nullptr ? TryArm() : kRegKeyDeleted;
  if (status != kRegOk) {
    key_.reset();
    status = registry_.OpenKey(RegRoot::LocalMachine, WideFromUtf8(path_),
                               kKeyQueryValue | kKeyNotify | kKeyWow64_64, key_);
    if (status == kRegOk) status = TryArm();
  }
  if (status != kRegOk)
    ComponentFailure("watching HKEY_LOCAL_MACHINE\\" + path_,
                     orv_apo::StatusOfSystemError(static_cast<DWORD>(status)),
                     "What examines the key: " + CommandLine("doctor"));
}

}  // namespace orv::cli
