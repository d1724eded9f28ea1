// register, unregister
#include <algorithm>

#include "cli/client/registry.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

struct RegistrationArguments {
  bool with_keys = false;
  bool for_user = false;
};

std::vector<std::string> Keys(Context& context, const RegistrationArguments& arguments) {
  return RegisteredKeys(context.session().machine().registry(), arguments.for_user);
}

// "11 classes and the type library, 51 keys"
std::string Content(const std::vector<std::string>& keys) {
  constexpr std::string_view kClass = "\\CLSID\\{";
  constexpr std::string_view kLibrary = "\\TypeLib\\{";
  if (keys.empty()) return "nothing";
  std::size_t classes = 0;
  bool library = false;
  for (const std::string& key : keys) {
    const std::size_t name = key.find(kClass);
    if (name != std::string::npos)
      classes += key.find('\\', name + kClass.size()) == std::string::npos;
    library |= key.find(kLibrary) != std::string::npos && name == std::string::npos;
  }
  return fmt::format("{}{}, {}", Counted(classes, "class", "classes"),
                     library ? " and the type library" : "", Counted(keys.size(), "key"));
}

template <bool kAdd>
void ChangeRegistration(Context& context, const RegistrationArguments& arguments) {
  std::vector<std::string> keys = Keys(context, arguments);
  Require(context.session().component().SetRegistered(kAdd, arguments.for_user),
          kAdd ? "registering the component" : "removing the component's registration",
          "The registration belongs to the machine; without the right to change it, use --user.");
  const std::vector<std::string> after = Keys(context, arguments);
  if (after.empty() == kAdd) context.exit_status = kDiffering;
  if (kAdd) {
    keys = after;
    if (keys.empty())
      context.output.Notice("The component reports success, but none of its keys exists.");
  } else {
    for (const std::string& key : after) context.output.Notice("Still there: " + key);
    std::erase_if(keys, [&](const auto& key) { return std::ranges::count(after, key) != 0; });
  }
  if (context.output.json()) return context.output.Value({{"keys", keys}});
  if (arguments.with_keys)
    for (const std::string& key : keys) context.output.Line(Printable(key));
  context.output.Line(fmt::format("{} for {}: {}.", kAdd ? "Registered" : "Removed",
                                  arguments.for_user ? "the current user" : "the machine",
                                  Content(keys)));
}

}  // namespace

void AddRegistrationCommands(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<RegistrationArguments>();
  for (CLI::App* command :
       {&AddCommand(app, context, arguments, ChangeRegistration<true>,
                    {"register", "Register the component's classes and type library",
                     "orvctl register --user", "", "{keys}"}),
        &AddCommand(app, context, arguments, ChangeRegistration<false>,
                    {"unregister", "Remove the component's registration",
                     "orvctl unregister --user", "", "{keys}"})}) {
    command->add_flag(kLongOption, arguments->with_keys, "List the registry keys");
    command->add_flag("--user", arguments->for_user,
                      "For the current user instead of for the machine");
  }
}

}  // namespace orv::cli
