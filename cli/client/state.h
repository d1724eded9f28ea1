// What clients can change on an endpoint, as one value, and the differences between two of them.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "cli/client/catalog.h"
#include "cli/client/session.h"
#include "cli/show/output.h"

namespace orv::cli {

struct ModeState {
  std::string name;
  std::map<std::string, std::int32_t> controls;  // public values by control name
};

struct EndpointState {
  std::optional<std::string> current_mode;  // nothing when the stored one is unknown
  std::optional<bool> enabled;              // nothing when it cannot be read
  std::vector<ModeState> modes;             // in configuration order
};

// Nothing stands for a value that one of the states does not have.
using ChangeValue = std::variant<std::monostate, bool, std::int32_t, std::string>;

struct Change {
  enum class What { Mode, Switch, Control };
  What what = What::Control;
  std::string mode;  // empty unless a control changed
  std::string name;  // "current mode", the switch's or the control's name
  ChangeValue from;
  ChangeValue to;
};

inline constexpr char kCurrentModeName[] = "current mode";
inline constexpr char kProcessEnableName[] = "ZAPO3-Process Enable";

// Everything read afresh, through the component.
EndpointState ReadState(Catalog& catalog, const Endpoint& endpoint);

// In the order: current mode, switch, controls by mode and name. Modes and controls that `to` lacks
// have not changed.
std::vector<Change> Differences(const EndpointState& from, const EndpointState& to);

const char* WhatWord(Change::What what);
Json ToJson(const ChangeValue& value);
std::string ToText(const ChangeValue& value);

}  // namespace orv::cli
