#include "cli/client/registered_keys.h"

#include <array>

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
  std::wstring prefix;  // within the root
  const char* name;
};

Hive HiveFor(bool for_user) {
  return for_user ? Hive{RegRoot::CurrentUser, L"Software\\Classes\\",
                         "HKEY_CURRENT_USER\\Software\\Classes\\"}
                  : Hive{RegRoot::ClassesRoot, {}, "HKEY_CLASSES_ROOT\\"};
}

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
  const Hive hive = HiveFor(for_user);
  std::vector<std::string> keys;
  for (const CLSID* clsid : kClasses)
    CollectTree(registry, hive, L"CLSID\\" + GuidText(*clsid), keys);
  CollectTree(registry, hive, L"TypeLib\\" + GuidText(LIBID_ORV_APO2011_ControllerLib), keys);
  return keys;
}

}  // namespace orv::cli
