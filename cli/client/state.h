// What clients can change on an endpoint, as one value, and the differences of two such values.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/catalog.h"
#include "cli/client/session.h"
#include "cli/show/natural_order.h"
#include "cli/show/output.h"

namespace orv::cli {

struct ModeState {
  std::string name;
  std::map<std::string, std::int32_t, NaturalOrder> controls;  // public values by control name
};

struct EndpointState {
  std::optional<std::string> current_mode;  // nullopt if the stored one is unknown
  std::optional<bool> enabled;              // nullopt if it cannot be read
  std::vector<ModeState> modes;             // in configuration order
};

struct Change {
  std::string what;  // "mode", "switch" or "control"
  std::string mode;  // empty unless a control changed
  std::string name;  // "current mode", the switch's or the control's name
  // A mode's name, a boolean or a control's integer; null if one of the states has no value.
  Json from;
  Json to;
};

inline constexpr char kCurrentModeName[] = "current mode";
inline constexpr char kProcessEnableName[] = "ZAPO3-Process Enable";

// Reads again, through the component.
ModeState ReadModeState(Catalog& catalog, const Endpoint& endpoint, const Mode& mode);
EndpointState ReadState(Catalog& catalog, const Endpoint& endpoint);
// The same, but modes that `is_changed` does not name keep what they were in `before`.
EndpointState ReadState(Catalog& catalog, const Endpoint& endpoint, const EndpointState& before,
                        const std::function<bool(const std::string& mode)>& is_changed);

// In the order: current mode, switch, controls by mode and name. Modes and controls that `to` lacks
// have not changed.
std::vector<Change> Differences(const EndpointState& from, const EndpointState& to);

// What the endpoint and these modes of it hold now, read again, for each of the changes; null where
// there is no value.
std::vector<Json> ReadHeld(const Endpoint& endpoint, const std::vector<Mode>& modes,
                           const std::vector<Change>& changes);

// The value of the endpoint's registry key that holds what changed.
std::string ValueOf(const Change& change);

// A value of a change as text: "on", "off", "-" if there is none.
std::string ToText(const Json& value);
// The same for one of the change's values; a control's number is its choice or has its unit.
std::string ToText(const Catalog& catalog, const Change& change, const Json& value);

// {mode, name, from, to, from_text, to_text, unit}
Json ToJson(const Catalog& catalog, const Change& change);
Json ToJson(const Catalog& catalog, const std::vector<Change>& changes);

}  // namespace orv::cli
