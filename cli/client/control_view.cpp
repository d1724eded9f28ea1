#include "cli/client/control_view.h"

#include <algorithm>

#include "cli/show/failure.h"
#include "cli/show/scale.h"
#include "cli/show/select.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

std::optional<std::int32_t> Position(const std::vector<std::string>& choices,
                                     const std::string& text) {
  const auto last = std::find(choices.rbegin(), choices.rend(), text);
  if (last == choices.rend()) return std::nullopt;
  return static_cast<std::int32_t>(choices.rend() - last - 1);
}

// What the component would make of a stored text.
std::optional<std::int32_t> NumberOf(const std::string& text, const ControlFacts& facts) {
  if (const auto position = Position(facts.choices, text)) return position;
  const std::int32_t number = ORVQVTValue("", boost::any(text)).ToLong();
  if (number == -1 && text != "-1") return std::nullopt;
  return number;
}

ControlView View(const Catalog& catalog, const Control& control, const std::string& stored) {
  ControlView view;
  view.name = control.name();
  view.facts = catalog.Describe(view.name);
  view.display = control.DisplayName();
  view.minimum = control.Minimum();
  view.maximum = control.Maximum();
  view.scale = control.Scale();
  const std::optional<std::int32_t> number = NumberOf(stored, view.facts);
  view.value = control.Value();
  if (!view.value) view.value = number;
  view.numeric = number && view.value;
  view.text = view.numeric
                  ? ValueText(*view.value, view.scale, view.facts.factor, view.facts.choices)
                  : stored;
  return view;
}

std::string RangeText(const ControlView& view) {
  if (!view.facts.choices.empty()) {
    std::string text;
    for (const std::string& choice : view.facts.choices)
      text += (text.empty() ? "" : " | ") + choice;
    constexpr std::size_t kWidest = 48;
    if (text.size() <= kWidest) return text;
    return std::to_string(view.facts.choices.size()) + " choices: " + view.facts.choices.front() +
           " ... " + view.facts.choices.back();
  }
  if (view.minimum == view.maximum) return "";
  return NumberText(view.minimum, view.scale, view.facts.factor) + " to " +
         NumberText(view.maximum, view.scale, view.facts.factor);
}

}  // namespace

ORVAPOControlType ParseListName(const std::string& name) {
  if (name == "private") return kORVAPO_Cont_Private;
  if (name == "default") return kORVAPO_Cont_Default;
  if (name == "public") return kORVAPO_Cont_Public;
  UsageFailure("no list named \"" + name + "\": expected public, private or default." +
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
    const std::vector<ControlView> views = ViewControls(catalog, endpoint, mode, list);
    if (const ControlView* view = FindView(views, name)) return *view;
    for (const ControlView& view : views) names.push_back(view.name);
  }
  UsageFailure("no control named \"" + name + "\" in " + mode.name() + "." +
               Suggestion(names, name) + "\nWhat lists them: " +
               CommandLine("controls " + endpoint.number() + " --mode " + ShellWord(mode.name())));
}

Json ToJson(const ControlView& view) {
  Json json;
  json["name"] = view.name;
  json["display"] = view.display;
  json["value"] = view.value ? Json(*view.value) : Json();
  json["text"] = view.text;
  json["min"] = view.minimum;
  json["max"] = view.maximum;
  json["scale"] = ScaleWord(view.scale);
  json["choices"] = view.facts.described ? Json(view.facts.choices) : Json();
  return json;
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
    return std::to_string(value) + " is none of the positions 0 to " +
           std::to_string(choices.size() - 1) + " of \"" + view.name + "\"";
  if (view.minimum < view.maximum && (value < view.minimum || value > view.maximum)) {
    const std::string numbers =
        std::to_string(view.minimum) + " to " + std::to_string(view.maximum);
    const std::string quantities = choices.empty() ? RangeText(view) : numbers;
    return std::to_string(value) + " is outside the range of \"" + view.name + "\", " + numbers +
           (quantities == numbers ? "" : " (" + quantities + ")");
  }
  return {};
}

std::int32_t ParseValue(const ControlView& view, const std::string& text, bool force) {
  if (const auto position = Position(view.facts.choices, text)) return *position;
  for (std::size_t i = 0; i < view.facts.choices.size(); ++i)
    if (EqualsIgnoringCase(view.facts.choices[i], text)) return static_cast<std::int32_t>(i);
  const std::optional<int> number = ParseNumber(text);
  if (!number) {
    std::string message = "\"" + text + "\" is no value for \"" + view.name + "\": expected ";
    message += view.facts.choices.empty() ? "a whole number" : "a choice's position or one of";
    for (const std::string& choice : view.facts.choices) message += "\n  " + choice;
    if (view.scale == ORV_QVT_SCALE_BY100) message += " of hundredths (1250 means 12.50)";
    const std::string suggestion = Suggestion(view.facts.choices, text);
    UsageFailure(message + (suggestion.empty() ? "." : "\n" + suggestion.substr(1)));
  }
  if (const std::string fault = RangeFault(view, *number); !force && !fault.empty())
    UsageFailure(fault + ".\n--force stores it all the same.");
  return *number;
}

}  // namespace orv::cli
