// register, unregister
#include <algorithm>
#include <array>

#include "cli/commands/commands.h"
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

// The component's keys that exist: its classes' and its type library's, with all below them.
std::vector<std::string> ExistingKeys(Registry& registry, bool for_user) {
  const Hive hive = HiveFor(for_user);
  std::vector<std::string> keys;
  for (const CLSID* clsid : kClasses)
    CollectTree(registry, hive, L"CLSID\\" + GuidText(*clsid), keys);
  CollectTree(registry, hive, L"TypeLib\\" + GuidText(LIBID_ORV_APO2011_ControllerLib), keys);
  return keys;
}

void Change(Context& context, bool add, bool for_user) {
  Session& session = context.session();
  Registry& registry = session.machine().registry();
  const std::vector<std::string> before = ExistingKeys(registry, for_user);
  const HRESULT status =
      add ? session.component().Register(for_user) : session.component().Unregister(for_user);
  Require(status, add ? "registering the component" : "removing the component's registration",
          "The registration belongs to the machine; without the right to change it, use --user.");
  std::vector<std::string> keys = ExistingKeys(registry, for_user);
  if (!add) {
    std::vector<std::string> removed;
    for (const std::string& key : before)
      if (std::find(keys.begin(), keys.end(), key) == keys.end()) removed.push_back(key);
    for (const std::string& key : keys) context.output.Remark("Still there: " + key);
    if (!keys.empty()) context.exit_status = kDiffering;
    keys = std::move(removed);
  } else if (keys.empty()) {
    context.output.Remark("The component reports success, but none of its keys exists.");
    context.exit_status = kDiffering;
  }
  if (context.output.json()) return context.output.Value({{"keys", keys}});
  for (const std::string& key : keys) context.output.Line(Printable(key));
  context.output.Line(Counted(keys.size(), "key") +
                      (add ? keys.size() == 1 ? " exists." : " exist." : " removed."));
}

}  // namespace

void AddRegistrationCommands(CLI::App& app, Context& context) {
  const auto for_user = std::make_shared<bool>(false);
  const auto add = [&](const char* name, const char* description, bool is_register) {
    CLI::App* command =
        AddCommand(app, name, description, "orvctl " + std::string(name) + " --user");
    command->add_flag("--user", *for_user, "For the current user instead of the machine");
    command->callback(
        [&context, for_user, is_register] { Change(context, is_register, *for_user); });
  };
  add("register", "Register the component's classes and type library", true);
  add("unregister", "Remove the component's registration", false);
}

}  // namespace orv::cli
