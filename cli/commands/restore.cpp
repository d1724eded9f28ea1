// restore
#include "cli/client/control_view.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

struct Unrestored {
  std::string name;
  std::string wanted;
  std::string found;
};

// The public controls that do not hold their default.
std::vector<Unrestored> FindUnrestored(Catalog& catalog, const Endpoint& endpoint,
                                       const Mode& mode) {
  const ControlTexts defaults = catalog.Texts(endpoint, mode.name(), kORVAPO_Cont_Default);
  std::vector<Unrestored> unrestored;
  for (const auto& [name, text] : catalog.Texts(endpoint, mode.name(), kORVAPO_Cont_Public)) {
    const auto wanted = defaults.find(name);
    if (wanted != defaults.end() && wanted->second != text)
      unrestored.push_back({name, wanted->second, text});
  }
  return unrestored;
}

void RestoreDefaults(Context& context, const std::string& endpoint_text,
                     const std::string& mode_text) {
  const Endpoint endpoint = context.SelectEndpoint(endpoint_text);
  const ChangeLock lock = context.LockForChange(endpoint);
  const Mode mode = context.SelectMode(endpoint, mode_text);
  std::vector<Unrestored> unrestored;
  ChangeAndVerify([&] {
    mode.RestoreDefaults();
    unrestored = FindUnrestored(context.catalog(), endpoint, mode);
    return unrestored.empty();
  });
  for (const Unrestored& one : unrestored)
    ReportDifference(context, one.name, "its default, " + one.wanted, one.found);
  const auto views = ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Public);
  if (context.output.json()) return context.output.Value(ToJson(views));
  ShowControls(context.output, views);
}

}  // namespace

void AddRestoreCommand(CLI::App& app, Context& context) {
  const auto endpoint = std::make_shared<std::string>();
  const auto mode = std::make_shared<std::string>();
  CLI::App* restore = AddCommand(app, "restore", "Store a mode's defaults again",
                                 "orvctl restore 0 --mode Movie/Internal");
  restore->add_option("ENDPOINT", *endpoint, kEndpointHelp)->required();
  restore->add_option("--mode", *mode, kModeHelp);
  restore->callback([&context, endpoint, mode] { RestoreDefaults(context, *endpoint, *mode); });
}

}  // namespace orv::cli
