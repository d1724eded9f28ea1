#include "cli/client/state.h"

#include <algorithm>

namespace orv::cli {
namespace {

template <class Value>
void Compare(const Change& change, const std::optional<Value>& from, const std::optional<Value>& to,
             std::vector<Change>& changes) {
  if (from == to) return;
  changes.push_back(change);
  if (from) changes.back().from = *from;
  if (to) changes.back().to = *to;
}

}  // namespace

ModeState ReadModeState(Catalog& catalog, const Endpoint& endpoint, const Mode& mode) {
  ModeState state{mode.name(), {}};
  const ControlList controls = mode.Controls(kORVAPO_Cont_Public);
  for (const auto& [name, text] : catalog.Texts(endpoint, mode.name(), kORVAPO_Cont_Public)) {
    const std::optional<Control> control = controls.Find(name);
    const std::optional<std::int32_t> value = control ? control->Value() : std::nullopt;
    if (value) state.controls.emplace(name, *value);
  }
  return state;
}

EndpointState ReadState(Catalog& catalog, const Endpoint& endpoint) {
  EndpointState state;
  if (const std::optional<Mode> current = endpoint.CurrentMode())
    state.current_mode = current->name();
  const std::vector<Mode> modes = endpoint.Modes();
  if (!modes.empty()) state.enabled = modes.front().Enabled();
  for (const Mode& mode : modes) state.modes.push_back(ReadModeState(catalog, endpoint, mode));
  return state;
}

std::vector<Change> Differences(const EndpointState& from, const EndpointState& to) {
  std::vector<Change> changes;
  Compare({"mode", "", kCurrentModeName, {}, {}}, from.current_mode, to.current_mode, changes);
  Compare({"switch", "", kProcessEnableName, {}, {}}, from.enabled, to.enabled, changes);
  for (const ModeState& mode : to.modes) {
    const auto former = std::ranges::find(from.modes, mode.name, &ModeState::name);
    for (const auto& [name, value] : mode.controls) {
      std::optional<std::int32_t> before;
      if (former != from.modes.end())
        if (const auto held = former->controls.find(name); held != former->controls.end())
          before = held->second;
      Compare({"control", mode.name, name, {}, {}}, before, std::optional(value), changes);
    }
  }
  return changes;
}

std::string ToText(const Json& value) {
  if (value.is_null()) return "-";
  if (value.is_boolean()) return value.get<bool>() ? "on" : "off";
  return value.is_string() ? value.get<std::string>() : value.dump();
}

}  // namespace orv::cli
