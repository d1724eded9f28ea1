// Controls as commands show and take them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/client/catalog.h"
#include "cli/client/session.h"
#include "cli/client/state.h"
#include "cli/show/output.h"
#include "cli/show/select.h"
#include "cli/show/typed_value.h"

namespace orv::cli {

struct ControlView : ControlInfo {
  std::string name;
  bool is_private = false;
  std::optional<std::int32_t> value;
  bool numeric = true;  // false: what is stored is neither a number nor a choice
  std::string text;     // the choice, the number as a quantity, or the stored text as it is
  ControlFacts facts;
  // What the configuration file has for the control; absent unless AddDefaults was called.
  std::optional<std::string> default_text;
  std::optional<std::int32_t> default_value;  // absent also if the text is not a value
};

// "public", "private" or "default".
ORVAPOControlType ParseListName(const std::string& name);

// Every control of the list in natural order. A private control's value comes from the
// configuration file, because the component does not return it.
std::vector<ControlView> ViewControls(Catalog& catalog, const Endpoint& endpoint, const Mode& mode,
                                      ORVAPOControlType list);

// The one of this name; null if there is none.
const ControlView* FindView(const std::vector<ControlView>& views, const std::string& name);

// Looks the defaults of the mode's controls up.
void AddDefaults(Catalog& catalog, const Endpoint& endpoint, const Mode& mode,
                 std::vector<ControlView>& views);
// Keeps the controls that one of the texts, parts of names or patterns, fits. Usage failure with
// the nearest name for a text that fits none.
void KeepFitting(std::vector<ControlView>& views, const std::vector<std::string>& texts,
                 const Endpoint& endpoint, const Mode& mode);

// The public and private controls of a mode by what a user types. The component finds public ones
// by their whole names; for everything else the configuration file is read.
class ControlFinder {
 public:
  ControlFinder(Catalog& catalog, const Endpoint& endpoint, const Mode& mode,
                Naming naming = Naming::ByPart);

  // The control of this name and, by part, with this in its name or all that a pattern fits.
  // Usage failure with the names that would fit otherwise.
  std::vector<ControlView> Find(const std::string& text);

 private:
  struct Place {
    ORVAPOControlType list;
    std::string stored;
  };

  void ReadNames();

  Catalog& catalog_;
  const Endpoint& endpoint_;
  const Mode& mode_;
  Naming naming_;
  ControlList public_;
  std::vector<std::string> names_;
  std::vector<Place> places_;  // of the names
};

// Reads the values of public controls of the mode again.
void Reread(std::vector<ControlView>& views, const Mode& mode);

// The change of the control to the number; from null if what is stored is not a value.
Change ChangeOf(const Mode& mode, const ControlView& view, std::int32_t to);

Json ToJson(const ControlView& view);
Json ToJson(const std::vector<ControlView>& views);
// With a column for the defaults if they were looked up.
void ShowControls(Output& output, const std::vector<ControlView>& views);

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
