#include "cli/client/control_view.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/show/failure.h"
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

ControlView View(const Catalog& catalog, const Control& control, const std::string& stored) {
  ControlView view;
  static_cast<ControlInfo&>(view) = control.Info();
  view.name = control.name();
  view.facts = catalog.Describe(view.name);
  const std::optional<std::int32_t> number = NumberOf(stored, view.facts);
  view.value = control.Value();
  if (!view.value) view.value = number;
  view.numeric = number && view.value;
  view.text = view.numeric ? ValueText(*view.value, FormOf(view)) : stored;
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

ControlView FindControl(Catalog& catalog, const Endpoint& endpoint, const Mode& mode,
                        const std::string& name) {
  std::vector<std::string> names;
  for (const ORVAPOControlType list : {kORVAPO_Cont_Public, kORVAPO_Cont_Private}) {
    const ControlTexts texts = catalog.Texts(endpoint, mode.name(), list);
    if (const auto text = texts.find(name); text != texts.end())
      if (const std::optional<Control> control = mode.Controls(list).Find(name))
        return View(catalog, *control, text->second);
    for (const auto& [other, text] : texts) names.push_back(other);
  }
  UsageFailure("no control named \"{}\" in {}.{}\nWhat lists them: {}", name, mode.name(),
               Suggestion(names, name),
               CommandLine("controls {} --mode {}", endpoint.number(), ShellWord(mode.name())));
}

Json ToJson(const ControlView& view) {
  return {{"name", view.name},
          {"display", view.display},
          {"value", view.value ? Json(*view.value) : Json()},
          {"text", view.text},
          {"unit", FormOf(view).unit},
          {"min", view.minimum},
          {"max", view.maximum},
          {"scale", ScaleWord(view.scale)},
          {"choices", view.facts.described ? Json(view.facts.choices) : Json()}};
}

Json ToJson(const std::vector<ControlView>& views) {
  Json array = Json::array();
  for (const ControlView& view : views) array.push_back(ToJson(view));
  return array;
}

void ShowControls(Output& output, const std::vector<ControlView>& views) {
  Table table({{"CONTROL"}, {"VALUE", Align::Right}, {"TEXT"}, {"RANGE"}});
  for (const ControlView& view : views)
    table.Add({Cell(view.name), view.value ? std::to_string(*view.value) : "-",
               Cell(view.text, ansi::kAccent), Cell(RangeText(view), ansi::kDim)});
  output.Show(table);
}

void ShowControl(Output& output, const ControlView& view) {
  if (output.json()) return output.Value(ToJson(view));
  ShowControls(output, {view});
}

std::string RangeFault(const ControlView& view, std::int32_t value) {
  const auto& choices = view.facts.choices;
  if (!choices.empty() && (value < 0 || static_cast<std::size_t>(value) >= choices.size()))
    return fmt::format("{} is none of the positions 0 to {} of \"{}\"", value, choices.size() - 1,
                       view.name);
  if (view.minimum >= view.maximum || (value >= view.minimum && value <= view.maximum)) return {};
  const std::string numbers = fmt::format("{} to {}", view.minimum, view.maximum);
  const std::string quantities = choices.empty() ? RangeText(view) : numbers;
  return fmt::format("{} is outside the range of \"{}\", {}{}", value, view.name, numbers,
                     quantities == numbers ? "" : fmt::format(" ({})", quantities));
}

ValueForm FormOf(const ControlView& view) {
  ValueForm form =
      FormOf(view.name, view.scale, view.facts.factor, view.maximum, view.facts.choices);
  form.current = view.value;
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
