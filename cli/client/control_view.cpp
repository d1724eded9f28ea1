#include "cli/client/control_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

#include "cli/show/failure.h"
#include "cli/show/names.h"
#include "cli/show/scale.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

std::optional<std::int32_t> Position(const std::vector<std::string>& choices,
                                     const std::string& text) {
  const auto last = std::find(choices.rbegin(), choices.rend(), text);
  if (last == choices.rend()) return std::nullopt;
  return static_cast<std::int32_t>(choices.rend() - last - 1);
}

// The number that the component reads from a stored text.
std::optional<std::int32_t> NumberOf(const std::string& text, const ControlFacts& facts) {
  if (const auto position = Position(facts.choices, text)) return position;
  const std::int32_t number = ORVQVTValue("", boost::any(text)).ToLong();
  if (number == -1 && text != "-1") return std::nullopt;
  return number;
}

[[noreturn]] void FailAsUnknown(const std::vector<std::string>& names, const std::string& text,
                                const Endpoint& endpoint, const Mode& mode) {
  UsageFailure(
      "no control named \"{}\" in {}.{}\nTo list them: {}", Excerpt(text), ModeLabel(mode.name()),
      Suggestion(names, text),
      CommandLine("controls {} --mode {}", endpoint.number(), ShellWord(ModeLabel(mode.name()))));
}

// Without a stored text the number that the component returns is used.
ControlView View(const Catalog& catalog, const Control& control,
                 const std::optional<std::string>& stored = {}) {
  ControlView view;
  static_cast<ControlInfo&>(view) = control.Info();
  view.name = control.name();
  view.is_private = control.is_private();
  view.facts = catalog.Describe(view.name);
  view.value = control.Value();
  const std::optional<std::int32_t> number = stored ? NumberOf(*stored, view.facts) : view.value;
  if (!view.value) view.value = number;
  view.numeric = number && view.value;
  view.text = view.numeric ? ValueText(*view.value, FormOf(view)) : stored.value_or("");
  return view;
}

std::string RangeText(const ControlView& view) {
  const auto& choices = view.facts.choices;
  if (!choices.empty()) {
    const std::string text = fmt::format("{}", fmt::join(choices, " | "));
    constexpr std::size_t kWidest = 48;
    if (text.size() <= kWidest) return text;
    return fmt::format("{} choices: {} ... {}", choices.size(), choices.front(), choices.back());
  }
  if (view.minimum == view.maximum) return "";
  const ValueForm form = FormOf(view);
  return fmt::format("{} to {}", QuantityText(view.minimum, form),
                     QuantityText(view.maximum, form));
}

}  // namespace

ORVAPOControlType ParseListName(const std::string& name) {
  if (name == "private") return kORVAPO_Cont_Private;
  if (name == "default") return kORVAPO_Cont_Default;
  if (name == "public") return kORVAPO_Cont_Public;
  UsageFailure("no list named \"{}\": expected public, private or default.{}", name,
               Suggestion({"public", "private", "default"}, name));
}

std::vector<ControlView> ViewControls(Catalog& catalog, const Endpoint& endpoint, const Mode& mode,
                                      ORVAPOControlType list) {
  const ControlList controls = mode.Controls(list);
  std::vector<ControlView> views;
  for (const auto& [name, text] : catalog.Texts(endpoint, mode.name(), list))
    if (const std::optional<Control> control = controls.Find(name))
      views.push_back(View(catalog, *control, text));
  return views;
}

const ControlView* FindView(const std::vector<ControlView>& views, const std::string& name) {
  const auto found = std::ranges::find(views, name, &ControlView::name);
  return found != views.end() ? &*found : nullptr;
}

void AddDefaults(Catalog& catalog, const Endpoint& endpoint, const Mode& mode,
                 std::vector<ControlView>& views) {
  const ControlTexts texts = catalog.Texts(endpoint, mode.name(), kORVAPO_Cont_Default);
  for (ControlView& view : views) {
    const auto text = texts.find(view.name);
    if (text == texts.end()) continue;
    view.default_value = NumberOf(text->second, view.facts);
    view.default_text =
        view.default_value ? ValueText(*view.default_value, FormOf(view)) : text->second;
  }
}

void KeepFitting(std::vector<ControlView>& views, const std::vector<std::string>& texts,
                 const Endpoint& endpoint, const Mode& mode) {
  std::vector<std::string> names;
  for (const ControlView& view : views) names.push_back(view.name);
  std::set<std::size_t> fitting;
  for (const std::string& text : texts) {
    const std::vector<std::size_t> positions = SelectByPart(names, text);
    if (positions.empty()) FailAsUnknown(names, text, endpoint, mode);
    fitting.insert(positions.begin(), positions.end());
  }
  std::vector<ControlView> kept;
  for (const std::size_t position : fitting) kept.push_back(std::move(views[position]));
  views = std::move(kept);
}

ControlFinder::ControlFinder(Catalog& catalog, const Endpoint& endpoint, const Mode& mode,
                             Naming naming)
    : catalog_(catalog),
      endpoint_(endpoint),
      mode_(mode),
      naming_(naming),
      public_(mode.Controls(kORVAPO_Cont_Public)) {}

void ControlFinder::ReadNames() {
  if (!names_.empty()) return;
  for (const ORVAPOControlType list : {kORVAPO_Cont_Public, kORVAPO_Cont_Private}) {
    for (const auto& [name, text] : catalog_.Texts(endpoint_, mode_.name(), list)) {
      names_.push_back(name);
      places_.push_back({list, text});
    }
  }
}

std::vector<ControlView> ControlFinder::Find(const std::string& text) {
  // -1 may also be a text that only the file and the registry have.
  if (const auto control = public_.Find(text); control && control->Value().value_or(-1) != -1)
    return {View(catalog_, *control)};
  ReadNames();
  const std::vector<std::size_t> positions = SelectByPart(names_, text, naming_);
  if (positions.size() > 1 && !IsPattern(text)) FailAsAmbiguous(names_, positions, text, "control");
  std::vector<ControlView> views;
  for (const std::size_t position : positions) {
    const auto& [list, stored] = places_[position];
    const ControlList& controls = list == kORVAPO_Cont_Public ? public_ : mode_.Controls(list);
    if (const auto control = controls.Find(names_[position]))
      views.push_back(View(catalog_, *control, stored));
  }
  if (views.empty()) FailAsUnknown(names_, text, endpoint_, mode_);
  return views;
}

void Reread(std::vector<ControlView>& views, const Mode& mode) {
  const ControlList controls = mode.Controls(kORVAPO_Cont_Public);
  for (ControlView& view : views) {
    const std::optional<Control> control = controls.Find(view.name);
    const std::optional<std::int32_t> value = control ? control->Value() : std::nullopt;
    if (!value) continue;
    view.value = value;
    view.numeric = true;
    view.text = ValueText(*value, FormOf(view));
  }
}

Change ChangeOf(const Mode& mode, const ControlView& view, std::int32_t to) {
  return {"control", mode.name(), view.name, view.numeric ? Json(*view.value) : Json(), to};
}

Json ToJson(const ControlView& view) {
  const auto number = [](const std::optional<std::int32_t>& value) {
    return value ? Json(*value) : Json();
  };
  Json json = {{"name", view.name},
               {"display", view.display},
               {"value", number(view.value)},
               {"text", view.text},
               {"unit", FormOf(view).unit},
               {"min", view.minimum},
               {"max", view.maximum},
               {"scale", ScaleWord(view.scale)},
               {"choices", view.facts.described ? Json(view.facts.choices) : Json()}};
  if (view.default_text) {
    json["default"] = number(view.default_value);
    json["default_text"] = *view.default_text;
  }
  return json;
}

Json ToJson(const std::vector<ControlView>& views) {
  Json array = Json::array();
  for (const ControlView& view : views) array.push_back(ToJson(view));
  return array;
}

void ShowControls(Output& output, const std::vector<ControlView>& views) {
  const bool defaults = std::ranges::any_of(
      views, [](const ControlView& view) { return view.default_text.has_value(); });
  std::vector<Table::Column> columns = {{"CONTROL"}, {"VALUE", Align::Right}, {"TEXT"}, {"RANGE"}};
  if (defaults) columns.insert(columns.end() - 1, Table::Column{"DEFAULT"});
  Table table(columns);
  for (const ControlView& view : views) {
    std::vector<Cell> cells = {Cell(view.name), view.value ? std::to_string(*view.value) : "-",
                               Cell(view.text, ansi::kAccent)};
    if (defaults) cells.emplace_back(view.default_text.value_or("-"));
    cells.emplace_back(RangeText(view), ansi::kDim);
    table.Add(std::move(cells));
  }
  output.Show(table);
}

std::string RangeFault(const ControlView& view, std::int32_t value) {
  const auto& choices = view.facts.choices;
  if (!choices.empty() && (value < 0 || static_cast<std::size_t>(value) >= choices.size()))
    return fmt::format("{} is none of the positions 0 to {} of \"{}\"", value, choices.size() - 1,
                       view.name);
  if (view.minimum >= view.maximum || (value >= view.minimum && value <= view.maximum)) return {};
  const ValueForm form = FormOf(view);
  std::string fault =
      fmt::format("{} is outside the range of \"{}\", {} to {}", QuantityText(value, form),
                  view.name, QuantityText(view.minimum, form), QuantityText(view.maximum, form));
  if (form.steps_per_unit != 1)
    fault += fmt::format(" (stored: {}, {} to {})", value, view.minimum, view.maximum);
  return fault;
}

ValueForm FormOf(const ControlView& view) {
  ValueForm form =
      FormOf(view.name, view.scale, view.facts.factor, view.maximum, view.facts.choices);
  if (view.numeric) form.current = view.value;
  return form;
}

std::int32_t ParseValue(const ControlView& view, const std::string& text, ValueReader read,
                        bool force) {
  const std::int32_t number = read(FormOf(view), text);
  if (const std::string fault = RangeFault(view, number); !force && !fault.empty())
    UsageFailure(fault + ".\n--force stores it anyway.");
  return number;
}

}  // namespace orv::cli
