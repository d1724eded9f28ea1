// eq import, eq export
#include <fmt/format.h>

#include <algorithm>
#include <functional>

#include "cli/client/band_controls.h"
#include "cli/client/dsp_objects.h"
#include "cli/client/state.h"
#include "cli/commands/apply_changes.h"
#include "cli/commands/commands.h"
#include "cli/commands/response_view.h"
#include "cli/dsp/push.h"
#include "cli/offline/files.h"
#include "cli/show/names.h"
#include "cli/show/scale.h"
#include "platform/driver_names.h"

namespace orv::cli {
namespace {

struct EqArguments : ModeArguments {
  std::string file;
  std::string channel = "both";
  bool dry_run = false;
  bool push = false;
};

using ControlValues = std::map<std::string, std::int32_t>;

bool IsChosen(const EqArguments& arguments, const char* channel) {
  return arguments.channel == "both" || arguments.channel == channel;
}

ModeBands RequireBands(const std::vector<ControlView>& views, const Mode& mode) {
  ModeBands bands = FindBands(views);
  if (bands.suite.empty())
    throw Failure(kRefused,
                  ModeLabel(mode.name()) + " has no public controls of a parametric equaliser.");
  return bands;
}

struct ListedPreamp {
  double wanted_db = 0;
  std::string control;  // empty if it is not applied
  std::int32_t value = 0;
  std::string reason;  // why not
};

// What an import makes of a list.
struct Import {
  ControlValues controls;
  std::vector<Misfit> misfits;
  std::optional<ListedPreamp> preamp;
  std::optional<HighPassValues> high_pass;
  std::vector<BandValues> left;
  std::vector<BandValues> right;
};

class Importer {
 public:
  Importer(const EqualiserList& list, const ModeBands& bands, const EqArguments& arguments)
      : list_(list), bands_(bands), arguments_(arguments) {}

  Import Plan() {
    for (const EqualiserList::Problem& problem : list_.problems)
      import_.misfits.push_back(
          {problem.line, "line", std::nullopt, std::nullopt, "not understood: " + problem.reason});
    PlanHighPass();
    import_.left = PlanChannel("left", ListChannel::Left, bands_.left);
    import_.right = PlanChannel("right", ListChannel::Right, bands_.right);
    PlanPreamp();
    std::ranges::stable_sort(import_.misfits, {}, &Misfit::line);
    return std::move(import_);
  }

 private:
  // Both channels may take the same line.
  void AddMisfit(const Misfit& misfit) {
    const bool known = std::ranges::any_of(import_.misfits, [&](const Misfit& other) {
      return other.line == misfit.line && other.reason == misfit.reason;
    });
    if (!known) import_.misfits.push_back(misfit);
  }

  std::vector<BandValues> PlanChannel(const char* name, ListChannel channel,
                                      const ChannelBands& bands) {
    if (!IsChosen(arguments_, name)) return {};
    std::vector<ListFilter> filters = FiltersFor(channel);
    if (filters.empty()) return bands.values;  // the list is for the other channel
    if (bands_.high_pass) std::erase_if(filters, IsHighPass);
    std::vector<Misfit> misfits;
    std::vector<BandValues> values = FitFilters(filters, bands.ranges, bands.values, misfits);
    for (const Misfit& misfit : misfits) AddMisfit(misfit);
    import_.controls.merge(ControlsOf(bands, values));
    return values;
  }

  std::vector<ListFilter> FiltersFor(ListChannel channel) const {
    std::vector<ListFilter> filters;
    for (const ListFilter& filter : list_.filters)
      if (filter.channel == ListChannel::Both || filter.channel == channel)
        filters.push_back(filter);
    return filters;
  }
  static bool IsHighPass(const ListFilter& filter) {
    return filter.type == ListFilterType::HighPass;
  }

  // The mode's own high-pass takes those of the list, if they are the same for both channels. One
  // that is off switches it off.
  void PlanHighPass() {
    if (!bands_.high_pass) return;
    std::vector<ListFilter> sides[2] = {FiltersFor(ListChannel::Left),
                                        FiltersFor(ListChannel::Right)};
    for (std::vector<ListFilter>& side : sides) std::erase_if(side, std::not_fn(IsHighPass));
    if (sides[0].empty() && sides[1].empty()) return;
    const ListFilter first = (sides[0].empty() ? sides[1] : sides[0]).front();
    for (std::vector<ListFilter>& side : sides)
      std::erase_if(side, [](const ListFilter& filter) { return !filter.on; });
    const bool is_on = !sides[0].empty() || !sides[1].empty();
    const auto alike = [](const ListFilter& a, const ListFilter& b) {
      return a.frequency == b.frequency && a.q == b.q;
    };
    if (arguments_.channel != "both" || !std::ranges::equal(sides[0], sides[1], alike)) {
      const char* const name = ListTypeName(first);
      if (!is_on) return;
      AddMisfit({first.line, name, std::nullopt, std::nullopt,
                 fmt::format("{} is not applied: \"{}\" is for both channels", name,
                             bands_.high_pass.frequency->name)});
      return;
    }
    if (is_on) {
      const auto values = FitHighPass(sides[0], bands_.high_pass.ranges, import_.misfits);
      if (!values) return;
      import_.controls[bands_.high_pass.frequency->name] = values->frequency;
      import_.controls[bands_.high_pass.order->name] = values->order;
      import_.high_pass = values;
    }
    import_.controls[bands_.high_pass.enable->name] = is_on ? 1 : 0;
  }

  void PlanPreamp() {
    if (list_.preamps.empty()) return;
    const ListPreamp& first = list_.preamps.front();
    ListedPreamp& preamp = import_.preamp.emplace();
    preamp.wanted_db = first.gain_db;
    const bool differ = std::ranges::any_of(
        list_.preamps, [&](const ListPreamp& other) { return other.gain_db != first.gain_db; });
    if (bands_.preamp == nullptr) {
      preamp.reason = "the mode has no public control for it";
    } else if (arguments_.channel != "both") {
      preamp.reason = fmt::format("\"{}\" is for both channels", bands_.preamp->name);
    } else if (differ) {
      preamp.reason =
          fmt::format("the list has several, and \"{}\" is for both channels", bands_.preamp->name);
    } else {
      preamp.control = bands_.preamp->name;
      preamp.value =
          FitLevel(first.line, "Preamp", first.gain_db, bands_.preamp_range, import_.misfits);
      import_.controls[preamp.control] = preamp.value;
      return;
    }
    if (first.gain_db != 0)
      import_.misfits.push_back(
          {first.line, "Preamp", first.gain_db, std::nullopt,
           fmt::format("Preamp {} dB is not applied: {}", first.gain_db, preamp.reason)});
  }

  const EqualiserList& list_;
  const ModeBands& bands_;
  const EqArguments& arguments_;
  Import import_;
};

EqualiserList ReadList(const std::string& file, std::istream* standard_input) {
  EqualiserList list = ReadEqualiserList(ReadWholeFile(file, kEqualiserListLimit, standard_input));
  if (!list.filters.empty()) return list;
  std::string message = (file == "-" ? "the list" : file) + " has no filters; nothing was changed.";
  for (const EqualiserList::Problem& problem : list.problems)
    message += fmt::format("\n  line {}: {}", problem.line, Printable(problem.reason));
  throw Failure(kRefused, message);
}

// The changes that store the values, in the order of the controls.
std::vector<Change> Store(Context& context, const Endpoint& endpoint, const Mode& mode,
                          const std::vector<ControlView>& views, const ControlValues& controls,
                          bool dry_run) {
  std::vector<Change> changes;
  for (const ControlView& view : views) {
    const auto wanted = controls.find(view.name);
    if (wanted == controls.end() || view.value == wanted->second) continue;
    changes.push_back(ChangeOf(mode, view, wanted->second));
  }
  return MakeChanges(context, endpoint, {mode}, changes,
                     {.command = "eq import", .dry_run = dry_run});
}

PushOutcome Push(Context& context, const Endpoint& endpoint, const Mode& mode) {
  DspReadback readback(context.session().machine(), endpoint.id());
  const std::string driver = FindDriver(endpoint);
  if (driver == kQualcommDriver) {
    const QualcommDsp dsp(endpoint);
    const DspPlan plan = PlanQualcommMode(DspControls(driver, mode, kORVAPO_Cont_Public),
                                          static_cast<std::uint32_t>(dsp.FormFactor()));
    return RunPush(readback, plan, [&] { return dsp.WriteControls(mode); });
  }
  const IntelDsp dsp(endpoint);
  const DspPlan plan = PlanMode(driver, IntelControls(mode, kORVAPO_Cont_Public), "", 0, &readback);
  return RunPush(readback, plan, [&] { return dsp.WriteControls(mode, "", false); });
}

void ShowBands(Output& output, const ModeBands& bands, const Import& import) {
  constexpr const char* kTypes[] = {"peaking", "low shelf", "high shelf"};
  Table table({{"BAND"},
               {"CHANNEL"},
               {"TYPE"},
               {"FREQUENCY", Align::Right},
               {"GAIN", Align::Right},
               {"LIST'S Q", Align::Right},
               {"Q FACTOR", Align::Right}});
  const auto add = [&](std::size_t i, const char* channel, const std::vector<BandValues>& values,
                       const ChannelBands& place) {
    const BandValues& band = values[i];
    const BandRanges& ranges = place.ranges[i];
    if (!band.enabled && band.gain == 0) return;
    const bool known = band.type >= 0 && band.type < static_cast<int>(std::size(kTypes));
    const std::optional<ListFilter> listed = FilterOfBand(band, ranges);
    table.Add({std::to_string(i), channel, known ? kTypes[band.type] : "unknown",
               HertzText(band.frequency / ranges.frequency.steps),
               Cell(Decimals(band.gain / ranges.gain.steps, 1) + " dB", ansi::kAccent),
               listed && listed->q ? Decimals(*listed->q, 2) : "-",
               Decimals(band.q / ranges.q.steps, 2)});
  };
  const std::size_t count = std::max(import.left.size(), import.right.size());
  for (std::size_t i = 0; i < count; ++i) {
    const bool both =
        i < import.left.size() && i < import.right.size() && import.left[i] == import.right[i];
    if (i < import.left.size()) add(i, both ? "both" : "left", import.left, bands.left);
    if (i < import.right.size() && !both) add(i, "right", import.right, bands.right);
  }
  if (!table.empty()) output.Show(table);
  if (import.high_pass)
    output.Line(
        fmt::format("High-pass: {}, order {}",
                    HertzText(import.high_pass->frequency / bands.high_pass.ranges.frequency.steps),
                    import.high_pass->order));
  if (import.preamp && !import.preamp->control.empty())
    output.Line(fmt::format("Preamplification: {} = {} dB", import.preamp->control,
                            import.preamp->value / bands.preamp_range.steps));
}

std::string MisfitText(const Misfit& misfit) {
  return fmt::format("line {}: {}", misfit.line, Printable(misfit.reason));
}

Json MisfitsJson(const std::vector<Misfit>& misfits) {
  const auto number = [](const std::optional<double>& value) {
    return value ? Json(*value) : Json();
  };
  Json array = Json::array();
  for (const Misfit& misfit : misfits)
    array.push_back({{"line", misfit.line},
                     {"what", misfit.what},
                     {"wanted", number(misfit.wanted)},
                     {"set", number(misfit.set)},
                     {"reason", misfit.reason}});
  return array;
}

void ShowImport(Context& context, const EqArguments& arguments, const Mode& mode,
                const ModeBands& bands, const Import& import, const std::vector<Change>& changes) {
  Output& output = context.output;
  output.Line(output.Painted(Printable(ModeLabel(mode.name())), ansi::kBold));
  ShowBands(output, bands, import);
  if (!import.misfits.empty()) output.Line("Did not fit:");
  for (const Misfit& misfit : import.misfits)
    output.Line("  " + output.Painted(MisfitText(misfit), ansi::kBad));
  output.Line(ChangesText(changes.size(), arguments.dry_run));
}

Json PreampJson(const Import& import, const ModeBands& bands) {
  if (!import.preamp) return nullptr;
  const bool applied = !import.preamp->control.empty();
  return {{"wanted_db", import.preamp->wanted_db},
          {"control", applied ? Json(import.preamp->control) : Json()},
          {"set_db", applied ? Json(import.preamp->value / bands.preamp_range.steps) : Json()}};
}

void ImportList(Context& context, const EqArguments& arguments) {
  const EqualiserList list = ReadList(arguments.file, context.input);
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  if (arguments.push && FindDriver(endpoint).empty())
    throw Failure(kRefused, "no DSP driver answers for " + endpoint.name() +
                                ", so --push cannot be done; nothing was changed.");
  std::optional<ChangeLock> lock;
  if (!arguments.dry_run) lock.emplace(context.LockForChange(endpoint));
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const auto views = ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Public);
  const ModeBands bands = RequireBands(views, mode);
  const Import import = Importer(list, bands, arguments).Plan();
  const std::vector<Change> changes =
      Store(context, endpoint, mode, views, import.controls, arguments.dry_run);
  if (!import.misfits.empty()) context.exit_status = kDiffering;
  Output& output = context.output;
  if (!output.json()) ShowImport(context, arguments, mode, bands, import, changes);
  std::optional<PushOutcome> outcome;
  if (arguments.push) {
    outcome = Push(context, endpoint, mode);
    SettlePush(context, *outcome, "writing " + mode.name() + " into the DSP of " + endpoint.name(),
               "The bands are stored in the mode; -v shows what the driver refused.");
  }
  if (output.json()) {
    return output.Value({{"mode", mode.name()},
                         {"dry_run", arguments.dry_run},
                         {"changes", ToJson(context.catalog(), changes)},
                         {"misfits", MisfitsJson(import.misfits)},
                         {"preamp", PreampJson(import, bands)},
                         {"push", outcome ? ToJson(*outcome) : Json()}});
  }
  if (outcome) {
    WarnOfDifferences(context, *outcome);
    output.Line(VerdictText(*outcome));
  }
  const std::string channel = arguments.channel == "both" ? "" : arguments.channel;
  ShowFilters(output, FiltersOf(context, endpoint, mode, channel,
                                arguments.dry_run ? import.controls : ControlValues()));
}

// The bands of one channel as filters. `notes` receives what a list cannot hold.
std::vector<ListFilter> ListedFilters(const ModeBands& bands, const ChannelBands& channel,
                                      std::vector<std::string>& notes) {
  std::vector<ListFilter> filters;
  for (std::size_t i = 0; i < channel.values.size(); ++i) {
    BandValues band = channel.values[i];
    const std::string name = channel.stems[i];
    if (!band.enabled && band.gain != 0) {
      notes.push_back(name + (bands.ignores_enable
                                  ? "Enable is off, but the DSP runs the band: the list has it on."
                                  : "Enable is off: an import of the list sets its gain to 0 dB."));
      band.enabled = bands.ignores_enable;
    }
    const std::optional<ListFilter> filter = FilterOfBand(band, channel.ranges[i]);
    if (!filter) {
      notes.push_back(name + "is neither a peaking filter nor a shelf; the list has a free place.");
      filters.push_back({0, ListChannel::Both, false, ListFilterType::None, 0, 0, {}, {}});
    } else {
      filters.push_back(*filter);
    }
  }
  return filters;
}

EqualiserList ListOf(const ModeBands& bands, const EqArguments& arguments,
                     std::vector<std::string>& notes) {
  EqualiserList list;
  if (bands.preamp != nullptr && bands.preamp->value)
    list.preamps.push_back({0, ListChannel::Both, *bands.preamp->value / bands.preamp_range.steps});
  const ModeBands::HighPass& high_pass = bands.high_pass;
  const bool one = arguments.channel != "both";
  if (!one && high_pass && high_pass.order->value && high_pass.frequency->value) {
    list.filters =
        FiltersOfHighPass({*high_pass.frequency->value, *high_pass.order->value}, high_pass.ranges);
    for (ListFilter& filter : list.filters) filter.on = high_pass.enable->value != 0;
  }
  const auto add = [&](std::vector<ListFilter> filters, ListChannel channel) {
    for (ListFilter& filter : filters) {
      filter.channel = channel;
      list.filters.push_back(filter);
    }
  };
  const bool alike = bands.left == bands.right;
  if (IsChosen(arguments, "left"))
    add(ListedFilters(bands, bands.left, notes),
        one || alike ? ListChannel::Both : ListChannel::Left);
  if (IsChosen(arguments, "right") && (one || !alike))
    add(ListedFilters(bands, bands.right, notes), one ? ListChannel::Both : ListChannel::Right);
  return list;
}

Json FiltersJson(const std::vector<ListFilter>& filters) {
  constexpr const char* kChannels[] = {"both", "left", "right"};
  Json array = Json::array();
  for (const ListFilter& filter : filters)
    array.push_back({{"channel", kChannels[static_cast<std::size_t>(filter.channel)]},
                     {"on", filter.on},
                     {"type", ListTypeName(filter)},
                     {"frequency", filter.frequency},
                     {"gain_db", filter.gain_db},
                     {"q", filter.q ? Json(*filter.q) : Json()}});
  return array;
}

void ExportList(Context& context, const EqArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const auto views = ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Public);
  const ModeBands bands = RequireBands(views, mode);
  std::vector<std::string> notes;
  const EqualiserList list = ListOf(bands, arguments, notes);
  for (const std::string& note : notes) context.output.Notice(note);
  if (!notes.empty()) context.exit_status = kDiffering;
  const ControlView* const order = bands.high_pass.order;
  if (bands.high_pass && bands.high_pass.enable->value != 0 && order->value.value_or(0) % 2 != 0)
    context.output.Notice(
        fmt::format("{} is {}, which a list cannot have: it is without the high-pass.", order->name,
                    *order->value));
  const std::string text =
      fmt::format("# {}, {}\n", Printable(endpoint.name()), Printable(ModeLabel(mode.name()))) +
      WriteEqualiserList(list);
  if (!arguments.file.empty()) ReplaceFile(arguments.file, text);
  if (context.output.json()) {
    return context.output.Value(
        {{"mode", mode.name()},
         {"preamp_db", list.preamps.empty() ? Json() : Json(list.preamps.front().gain_db)},
         {"filters", FiltersJson(list.filters)}});
  }
  if (arguments.file.empty()) return context.output.Raw(text);
  context.output.Line(Counted(list.filters.size(), "filter") + " in " + arguments.file + ".");
}

constexpr char kListDetails[] =
    "A list has one filter on a line, as measuring programs write them:\n"
    "  Preamp: -6 dB\n"
    "  Filter 1: ON PK Fc 105 Hz Gain -4.5 dB Q 2.1\n"
    "  Filter 2: ON LSC Fc 80 Hz Gain 3 dB Q 0.7\n"
    "Filters after a line \"Channel: left\" or \"Channel: right\" are for that channel.";
constexpr char kImportDetails[] =
    "Filters take the mode's bands in their order, at the nearest values; quality factors are "
    "converted, so that the bands have the list's curves. High-pass filters that together are a "
    "Butterworth filter set the mode's own high-pass. Bands that are left over, and filters "
    "that are off, get 0 dB and are disabled. What does not fit is listed with its line and how "
    "far it is off (exit status 3). All values are stored and read back, or none.";
constexpr char kImportJson[] =
    "{mode, dry_run, changes, misfits: [{line, what, wanted, set, "
    "reason}], preamp: {wanted_db, control, set_db}, push}; changes are what load prints, push is "
    "what dsp "
    "intel push prints";

}  // namespace

void AddEqCommands(CLI::App& app, Context& context) {
  CLI::App& eq =
      AddGroup(app, {"eq", "Import and export equaliser lists",
                     "orvctl eq 0 import room.txt --dry-run\n  orvctl eq 0 export", kListDetails});
  const auto arguments = std::make_shared<EqArguments>();
  eq.add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  CLI::App& import = AddCommand(eq, context, arguments, ImportList,
                                {"import", "Set a mode's parametric bands from an equaliser list",
                                 "orvctl eq 0 import room.txt --mode Music/Internal --dry-run\n"
                                 "  orvctl eq 0 import room.txt --push",
                                 kImportDetails, kImportJson});
  import.add_option("FILE", arguments->file, "The list; - is standard input")->required();
  CLI::Option* dry_run =
      import.add_flag("--dry-run", arguments->dry_run, "Only show what would change");
  import.add_flag("--push", arguments->push, "Push the mode into the DSP afterwards")
      ->excludes(dry_run);
  CLI::App& write =
      AddCommand(eq, context, arguments, ExportList,
                 {"export", "Write a mode's parametric bands as an equaliser list",
                  "orvctl eq 0 export --mode Music/Internal --output room.txt",
                  "An import of the list changes nothing.",
                  "{mode, preamp_db, filters: [{channel, on, type, frequency, gain_db, q}]}"});
  write.add_option("--output", arguments->file, "Write this file (default: standard output)")
      ->type_name("FILE");
  for (CLI::App* command : {&import, &write}) {
    command->add_option("--mode", arguments->mode, kModeHelp);
    command->add_option("--channel", arguments->channel, "Which channels")
        ->capture_default_str()
        ->check(OneOf({"left", "right", "both"}));
  }
}

}  // namespace orv::cli
