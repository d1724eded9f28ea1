#include "cli/client/state.h"

#include <algorithm>

#include "cli/client/registry.h"
#include "cli/show/names.h"
#include "endpoints/endpoint_registry.h"
#include "platform/text.h"

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
  return ReadState(catalog, endpoint, {}, [](const std::string&) { return true; });
}

EndpointState ReadState(Catalog& catalog, const Endpoint& endpoint, const EndpointState& before,
                        const std::function<bool(const std::string& mode)>& is_changed) {
  EndpointState state;
  if (const std::optional<Mode> current = endpoint.CurrentMode())
    state.current_mode = current->name();
  const std::vector<Mode> modes = endpoint.Modes();
  if (!modes.empty()) state.enabled = modes.front().Enabled();
  for (const Mode& mode : modes) {
    const auto former = std::ranges::find(before.modes, mode.name(), &ModeState::name);
    const bool is_kept = former != before.modes.end() && !is_changed(mode.name());
    state.modes.push_back(is_kept ? *former : ReadModeState(catalog, endpoint, mode));
  }
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

std::vector<Json> ReadHeld(const Endpoint& endpoint, const std::vector<Mode>& modes,
                           const std::vector<Change>& changes) {
  std::map<std::string, ControlList> lists;
  const auto held = [&](const Change& change) -> Json {
    if (change.what == "mode") {
      const std::optional<Mode> current = endpoint.CurrentMode();
      return current ? Json(current->name()) : Json();
    }
    if (change.what == "switch") {
      const std::vector<Mode> afresh = endpoint.Modes();
      return afresh.empty() ? Json() : Json(afresh.front().Enabled());
    }
    auto list = lists.find(change.mode);
    if (list == lists.end()) {
      const auto mode = std::ranges::find(modes, change.mode, &Mode::name);
      if (mode == modes.end()) return {};
      list = lists.emplace(change.mode, mode->Controls(kORVAPO_Cont_Public)).first;
    }
    const std::optional<Control> control = list->second.Find(change.name);
    const std::optional<std::int32_t> value = control ? control->Value() : std::nullopt;
    return value ? Json(*value) : Json();
  };
  std::vector<Json> all;
  for (const Change& change : changes) all.push_back(held(change));
  return all;
}

std::string ValueOf(const Change& change) {
  if (change.what == "mode") return CurrentModeValue();
  return change.what == "switch" ? Utf8FromWide(kGlobalSettingsValue) : change.mode;
}

std::string ToText(const Json& value) {
  if (value.is_null()) return "-";
  if (value.is_boolean()) return value.get<bool>() ? "on" : "off";
  return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string ToText(const Catalog& catalog, const Change& change, const Json& value) {
  if (change.what == "mode" && value.is_string()) return ModeLabel(value.get<std::string>());
  if (change.what != "control" || !value.is_number()) return ToText(value);
  return ValueText(value.get<std::int32_t>(), catalog.FormOf(change.name));
}

Json ToJson(const Catalog& catalog, const Change& change) {
  const bool is_control = change.what == "control";
  return {{"mode", change.mode.empty() ? Json() : Json(change.mode)},
          {"name", change.name},
          {"from", change.from},
          {"to", change.to},
          {"from_text", ToText(catalog, change, change.from)},
          {"to_text", ToText(catalog, change, change.to)},
          {"unit", is_control ? catalog.FormOf(change.name).unit : ""}};
}

Json ToJson(const Catalog& catalog, const std::vector<Change>& changes) {
  Json array = Json::array();
  for (const Change& change : changes) array.push_back(ToJson(catalog, change));
  return array;
}

}  // namespace orv::cli
