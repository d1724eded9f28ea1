// diff
#include <algorithm>
#include <set>

#include "cli/client/control_view.h"
#include "cli/client/state.h"
#include "cli/commands/commands.h"
#include "cli/offline/preset.h"
#include "cli/show/names.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

struct DiffArguments {
  std::string a;
  std::string b;
  std::vector<std::string> modes;
};

bool IsPreset(const std::string& side) {
  return side == "-" || side.ends_with(".json") || side.find_first_of("/\\") != std::string::npos;
}

// The number that a preset's value means; the text itself if it is none of the choices.
Json NumberOf(const Catalog& catalog, const std::string& control, const PresetValue& value) {
  if (const auto* number = std::get_if<std::int32_t>(&value)) return *number;
  const auto& text = std::get<std::string>(value);
  const auto& choices = catalog.Describe(control).choices;
  const auto choice = std::find(choices.rbegin(), choices.rend(), text);
  if (choice == choices.rend()) return text;
  return static_cast<std::int32_t>(choices.rend() - choice - 1);
}

// One side of the comparison.
struct Side {
  std::string name;
  std::optional<std::string> current_mode;
  std::optional<bool> enabled;
  using Values = std::map<std::string, Json, NaturalOrder>;
  std::vector<std::pair<std::string, Values>> modes;

  const Values* Find(const std::string& mode) const {
    const auto found =
        std::ranges::find_if(modes, [&](const auto& one) { return one.first == mode; });
    return found != modes.end() ? &found->second : nullptr;
  }

  // Leaves one mode, and what does not belong to a mode out.
  void Select(const std::string& mode) {
    std::vector<std::string> names;
    for (const auto& [known, values] : modes) names.push_back(ModeLabel(known));
    const std::size_t position = SelectOrFail(names, ModeLabel(mode), "mode");
    modes = {std::move(modes[position])};
    name += ", " + ModeLabel(modes.front().first);
    current_mode.reset();
    enabled.reset();
  }
};

Side ReadSide(Context& context, const std::string& text) {
  Side side;
  if (IsPreset(text)) {
    const Preset preset = ReadPresetFile(text);
    side.name = text == "-" ? "standard input" : text;
    if (!preset.endpoint.empty()) side.name += " (" + preset.endpoint + ")";
    side.current_mode = preset.current_mode;
    side.enabled = preset.enabled;
    for (const PresetMode& mode : preset.modes) {
      Side::Values& values = side.modes.emplace_back(mode.name, Side::Values()).second;
      for (const auto& [name, value] : mode.controls)
        values.emplace(name, NumberOf(context.catalog(), name, value));
    }
    return side;
  }
  const Endpoint endpoint = context.SelectEndpoint(text);
  const EndpointState state = ReadState(context.catalog(), endpoint);
  side.name = endpoint.name();
  side.current_mode = state.current_mode;
  side.enabled = state.enabled;
  for (const ModeState& mode : state.modes)
    side.modes.emplace_back(mode.name, Side::Values(mode.controls.begin(), mode.controls.end()));
  return side;
}

// The differences as changes from A to B; null where a side has no such control. Modes that only
// one side has go to `unmatched`.
std::vector<Change> Compare(const Side& a, const Side& b, std::vector<std::string>& unmatched) {
  std::vector<Change> differences;
  const auto compare = [&](Change change) {
    if (change.from != change.to) differences.push_back(std::move(change));
  };
  // A preset without them does not differ.
  if (a.current_mode && b.current_mode)
    compare({"mode", "", kCurrentModeName, *a.current_mode, *b.current_mode});
  if (a.enabled && b.enabled) compare({"switch", "", kProcessEnableName, *a.enabled, *b.enabled});
  for (const auto& [mode, values] : a.modes) {
    const Side::Values* others = b.Find(mode);
    if (others == nullptr) {
      unmatched.push_back(fmt::format("Only {} has the mode {}.", a.name, ModeLabel(mode)));
      continue;
    }
    Side::Values all = values;
    all.insert(others->begin(), others->end());
    const auto value = [](const Side::Values& side, const std::string& name) {
      const auto found = side.find(name);
      return found != side.end() ? found->second : Json();
    };
    for (const auto& [name, any] : all)
      compare({"control", mode, name, value(values, name), value(*others, name)});
  }
  for (const auto& [mode, values] : b.modes)
    if (a.Find(mode) == nullptr)
      unmatched.push_back(fmt::format("Only {} has the mode {}.", b.name, ModeLabel(mode)));
  return differences;
}

void ShowDifferences(Context& context, const Side& a, const Side& b,
                     const std::vector<Change>& differences) {
  Output& output = context.output;
  const Catalog& catalog = context.catalog();
  if (output.json()) {
    Json array = Json::array();
    for (const Change& change : differences) {
      const Json json = ToJson(catalog, change);
      array.push_back({{"mode", json["mode"]},
                       {"name", json["name"]},
                       {"a", json["from"]},
                       {"b", json["to"]},
                       {"a_text", json["from_text"]},
                       {"b_text", json["to_text"]},
                       {"unit", json["unit"]}});
    }
    return output.Value(array);
  }
  output.Line("A: " + Printable(a.name));
  output.Line("B: " + Printable(b.name));
  Table table({{"MODE"}, {"CONTROL"}, {"A"}, {"B"}});
  for (const Change& change : differences)
    table.Add({ModeLabel(change.mode), change.name, ToText(catalog, change, change.from),
               Cell(ToText(catalog, change, change.to), ansi::kAccent)});
  if (!table.empty()) output.Show(table);
  output.Line(Counted(differences.size(), "difference") + ".");
}

void Diff(Context& context, const DiffArguments& arguments) {
  if (arguments.b.empty() && arguments.modes.size() != 2)
    UsageFailure(
        "B is missing: expected another endpoint or preset, or two modes (--mode M --mode N).");
  if (arguments.modes.size() > 2) UsageFailure("expected --mode twice at most, for A and for B.");
  if (arguments.a == "-" && arguments.b == "-")
    UsageFailure("only one side can be standard input.");
  Side a = ReadSide(context, arguments.a);
  Side b = arguments.b.empty() ? a : ReadSide(context, arguments.b);
  if (!arguments.modes.empty()) {
    a.Select(arguments.modes.front());
    b.Select(arguments.modes.back());
    b.modes.front().first = a.modes.front().first;  // two modes are compared whatever their names
  }
  std::vector<std::string> unmatched;
  const std::vector<Change> differences = Compare(a, b, unmatched);
  for (const std::string& line : unmatched) context.output.Notice(Printable(line));
  if (!differences.empty() || !unmatched.empty()) context.exit_status = kDiffering;
  ShowDifferences(context, a, b, differences);
}

}  // namespace

void AddDiffCommand(CLI::App& app, Context& context) {
  auto [diff, arguments] = AddCommand(
      app, context, Diff,
      {"diff", "Show what differs between endpoints, modes or presets",
       "orvctl diff 0 evening.json\n  orvctl diff 0 1 --mode Music/Internal\n"
       "  orvctl diff 0 --mode Movie/Internal --mode Music/Internal",
       "A and B are endpoints or presets: \"-\" (standard input), and what ends in .json "
       "or has a slash in it, is a preset. Modes are compared by name. Exit status 3 if something "
       "differs. Machines are compared by a preset of one of them:\n\n"
       "  orvctl --machine bench save 0 - | orvctl diff 0 -",
       "an array of {mode, name, a, b, a_text, b_text, unit}"});
  diff.add_option("A", arguments.a, "An endpoint, as in other commands, or a preset")->required();
  diff.add_option("B", arguments.b, "The other one (default: A, with two modes)");
  diff.add_option("--mode", arguments.modes, "Only this mode; twice: A's mode and B's")
      ->allow_extra_args(false);
}

}  // namespace orv::cli
