#include "cli/commands/apply_changes.h"

#include <algorithm>

#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

void ApplyOne(const Endpoint& endpoint, const std::vector<Mode>& modes, const Change& change,
              const Json& value) {
  if (value.is_boolean()) return modes.front().SetEnabled(value.get<bool>());
  const std::string name = value.is_string() ? value.get<std::string>() : change.mode;
  const auto mode = std::ranges::find(modes, name, &Mode::name);
  if (mode == modes.end()) return;
  if (value.is_string()) return endpoint.SetCurrentMode(*mode);
  const auto control = mode->Controls(kORVAPO_Cont_Public).Find(change.name);
  if (value.is_number() && control) control->SetValue(value.get<std::int32_t>());
}

void Undo(const Endpoint& endpoint, const std::vector<Mode>& modes, std::vector<Change> changes) {
  std::ranges::reverse(changes);
  for (const Change& change : changes) {
    try {
      ApplyOne(endpoint, modes, change, change.from);
    } catch (const Failure&) {
      continue;  // the first refusal is the one to report
    }
  }
}

}  // namespace

std::vector<Change> ApplyChanges(Catalog& catalog, const Endpoint& endpoint,
                                 const std::vector<Change>& changes, const EndpointState& target) {
  const std::vector<Mode> modes = endpoint.Modes();
  std::vector<Change> left = changes;
  std::size_t done = 0;  // of the first attempt
  ChangeAndVerify([&] {
    try {
      for (const Change& change : left) {
        ApplyOne(endpoint, modes, change, change.to);
        done = std::min(done + 1, changes.size());
      }
    } catch (const Failure&) {
      Undo(endpoint, modes, {changes.begin(), changes.begin() + static_cast<std::ptrdiff_t>(done)});
      throw;
    }
    left = Differences(ReadState(catalog, endpoint), target);
    return left.empty();
  });
  return left;
}

void ReportLeft(Context& context, const std::vector<Change>& left, std::vector<Change>& made) {
  for (const Change& one : left) {
    ReportDifference(context, one.name, ToText(one.to), ToText(one.from));
    std::erase_if(made, [&](const Change& change) {
      return change.mode == one.mode && change.name == one.name;
    });
  }
}

Json ToJson(const std::vector<Change>& changes) {
  Json array = Json::array();
  for (const Change& change : changes)
    array.push_back({{"mode", change.mode.empty() ? Json() : Json(change.mode)},
                     {"name", change.name},
                     {"from", change.from},
                     {"to", change.to}});
  return array;
}

void ShowChanges(Output& output, const std::vector<Change>& changes, bool dry_run) {
  Table table({{"MODE"}, {"NAME"}, {"FROM"}, {"TO"}});
  for (const Change& change : changes)
    table.Add(
        {change.mode, change.name, ToText(change.from), Cell(ToText(change.to), ansi::kAccent)});
  if (!table.empty()) output.Show(table);
  output.Line(Counted(changes.size(), "change") +
              (dry_run ? " to make; nothing was changed." : " made."));
}

}  // namespace orv::cli
