// Controls as commands show and take them.
#pragma once

#include <string>
#include <vector>

#include "cli/client/catalog.h"
#include "cli/client/session.h"
#include "cli/show/output.h"
#include "cli/show/typed_value.h"

namespace orv::cli {

struct ControlView : ControlInfo {
  std::string name;
  std::optional<std::int32_t> value;
  bool numeric = true;  // false: what is stored is neither a number nor a choice
  std::string text;     // the choice, the number as a quantity, or the stored text as it is
  ControlFacts facts;
};

// "public", "private" or "default".
ORVAPOControlType ParseListName(const std::string& name);

// Every control of the list in name order. A private control's value comes from the configuration
// file, because the component does not return it.
std::vector<ControlView> ViewControls(Catalog& catalog, const Endpoint& endpoint, const Mode& mode,
                                      ORVAPOControlType list);

// The one of this name; null if there is none.
const ControlView* FindView(const std::vector<ControlView>& views, const std::string& name);

// A control of the mode, public ones first. Usage failure with the nearest name if there is none.
ControlView FindControl(Catalog& catalog, const Endpoint& endpoint, const Mode& mode,
                        const std::string& name);

Json ToJson(const ControlView& view);
Json ToJson(const std::vector<ControlView>& views);
void ShowControls(Output& output, const std::vector<ControlView>& views);
// As a table, or as its JSON value.
void ShowControl(Output& output, const ControlView& view);

// How the control's values look, and its present one.
ValueForm FormOf(const ControlView& view);

using ValueReader = std::int32_t (*)(const ValueForm& form, std::string_view text);
// What the reader (ReadTypedValue or ReadRawValue) makes of the text. Usage failure if the number
// is out of range, unless `force`.
std::int32_t ParseValue(const ControlView& view, const std::string& text, ValueReader read,
                        bool force);

// Why the integer does not fit the control; empty if it does.
std::string RangeFault(const ControlView& view, std::int32_t value);

}  // namespace orv::cli
