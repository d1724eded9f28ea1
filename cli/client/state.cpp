#include "cli/client/state.h"

#include <algorithm>

namespace orv::cli {
namespace {

template <class Value>
ChangeValue From(const std::optional<Value>& value) {
  return value ? ChangeValue(*value) : ChangeValue();
}

const ModeState* FindMode(const EndpointState& state, const std::string& name) {
  const auto found = std::ranges::find(state.modes, name, &ModeState::name);
  return found != state.modes.end() ? &*found : nullptr;
}

void CompareControls(const ModeState* from, const ModeState& to, std::vector<Change>& changes) {
  for (const auto& [name, value] : to.controls) {
    ChangeValue before;
    if (from != nullptr) {
      const auto found = from->controls.find(name);
      if (found != from->controls.end()) before = found->second;
    }
    if (before != ChangeValue(value))
      changes.push_back({Change::What::Control, to.name, name, before, value});
  }
}

ModeState ReadMode(Catalog& catalog, const Endpoint& endpoint, const Mode& mode) {
  ModeState state{mode.name(), {}};
  const ControlList controls = mode.Controls(kORVAPO_Cont_Public);
  for (const auto& [name, text] : catalog.Texts(endpoint, mode.name(), kORVAPO_Cont_Public)) {
    const std::optional<Control> control = controls.Find(name);
    const std::optional<std::int32_t> value = control ? control->Value() : std::nullopt;
    if (value) state.controls.emplace(name, *value);
  }
  return state;
}

}  // namespace

EndpointState ReadState(Catalog& catalog, const Endpoint& endpoint) {
  EndpointState state;
  if (const std::optional<Mode> current = endpoint.CurrentMode())
    state.current_mode = current->name();
  const std::vector<Mode> modes = endpoint.Modes();
  if (!modes.empty()) state.enabled = modes.front().Enabled();
  for (const Mode& mode : modes) state.modes.push_back(ReadMode(catalog, endpoint, mode));
  return state;
}

std::vector<Change> Differences(const EndpointState& from, const EndpointState& to) {
  std::vector<Change> changes;
  if (from.current_mode != to.current_mode)
    changes.push_back(
        {Change::What::Mode, "", kCurrentModeName, From(from.current_mode), From(to.current_mode)});
  if (from.enabled != to.enabled)
    changes.push_back(
        {Change::What::Switch, "", kProcessEnableName, From(from.enabled), From(to.enabled)});
  for (const ModeState& mode : to.modes) CompareControls(FindMode(from, mode.name), mode, changes);
  return changes;
}

const char* WhatWord(Change::What what) {
  switch (what) {
    case Change::What::Mode:
      return "mode";
    case Change::What::Switch:
      return "switch";
    case Change::What::Control:
      break;
  }
  return "control";
}

Json ToJson(const ChangeValue& value) {
  return std::visit(
      [](const auto& held) -> Json {
        if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::monostate>) {
          return nullptr;
        } else {
          return held;
        }
      },
      value);
}

std::string ToText(const ChangeValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<std::int32_t>(&value)) return std::to_string(*number);
  if (const auto* on = std::get_if<bool>(&value)) return *on ? "on" : "off";
  return "-";
}

}  // namespace orv::cli
