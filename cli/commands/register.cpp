// register, unregister
#include <algorithm>

#include "cli/client/registry.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

void ChangeRegistration(Context& context, bool add, bool for_user) {
  Session& session = context.session();
  Registry& registry = session.machine().registry();
  const std::vector<std::string> before = RegisteredKeys(registry, for_user);
  const HRESULT status = session.component().SetRegistered(add, for_user);
  Require(status, add ? "registering the component" : "removing the component's registration",
          "The registration belongs to the machine; without the right to change it, use --user.");
  std::vector<std::string> keys = RegisteredKeys(registry, for_user);
  if (!add) {
    std::vector<std::string> removed;
    for (const std::string& key : before)
      if (std::find(keys.begin(), keys.end(), key) == keys.end()) removed.push_back(key);
    for (const std::string& key : keys) context.output.Notice("Still there: " + key);
    if (!keys.empty()) context.exit_status = kDiffering;
    keys = std::move(removed);
  } else if (keys.empty()) {
    context.output.Notice("The component reports success, but none of its keys exists.");
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
        [&context, for_user, is_register] { ChangeRegistration(context, is_register, *for_user); });
  };
  add("register", "Register the component's classes and type library", true);
  add("unregister", "Remove the component's registration", false);
}

}  // namespace orv::cli
