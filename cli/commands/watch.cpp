// watch
#include <fmt/chrono.h>

#include <array>
#include <chrono>

#include "cli/client/host.h"
#include "cli/client/registry.h"
#include "cli/client/state.h"
#include "cli/commands/commands.h"
#include "platform/synchronization.h"

namespace orv::cli {
namespace {

constexpr CommandText kWatchText = {
    "watch", "Print every change as it happens, made by any program",
    "orvctl watch 0\n  orvctl --json watch 0 --count 3 --for 60",
    "Watches the current mode, the processing switch and the public values of all modes. Changes "
    "that follow one another closely are reported together, and a value that has returned by then "
    "is not reported. Ends with Ctrl+C.",
    "one object a line, {seq, time, what, mode, name, from, to}; seq counts up by one, time is "
    "UTC, "
    "what is mode, switch or control"};

using Clock = std::chrono::steady_clock;

struct WatchArguments : EndpointArguments {
  std::uint32_t count = 0;        // end after so many changes; 0: never
  std::optional<double> seconds;  // end after this time
};

// "2026-01-31T12:34:56.789Z"
std::string UtcNow() {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(system_clock::to_time_t(now)),
                     now.time_since_epoch().count() % 1000);
}

// The control's choice instead of its number.
std::string ValueText(const Catalog& catalog, const Change& change, const Json& value) {
  if (value.is_number() && value.get<std::int32_t>() >= 0) {
    const ControlFacts facts = catalog.Describe(change.name);
    const auto position = value.get<std::size_t>();
    if (position < facts.choices.size()) return Printable(facts.choices[position]);
  }
  return Printable(ToText(value));
}

void Print(Context& context, std::uint32_t sequence, const Change& change) {
  const std::string time = UtcNow();
  Output& output = context.output;
  if (output.json()) {
    return output.JsonLine({{"seq", sequence},
                            {"time", time},
                            {"what", change.what},
                            {"mode", change.mode.empty() ? Json() : Json(change.mode)},
                            {"name", change.name},
                            {"from", change.from},
                            {"to", change.to}});
  }
  const std::string mode = change.mode.empty() ? "" : Printable(change.mode) + "  ";
  const std::string to = ValueText(context.catalog(), change, change.to);
  output.Line(fmt::format("{}  {}{}: {} -> {}", output.Painted(time, ansi::kDim), mode,
                          output.Painted(Printable(change.name), ansi::kBold),
                          ValueText(context.catalog(), change, change.from),
                          output.Painted(to, ansi::kAccent)));
}

std::optional<std::chrono::milliseconds> TimeLeft(const std::optional<Clock::time_point>& end) {
  if (!end) return std::nullopt;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end - Clock::now());
  return std::max(left, std::chrono::milliseconds(0));
}

void Watch(Context& context, const WatchArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  Event stop(Event::Kind::ManualReset);
  Event changed(Event::Kind::AutoReset);
  const StopOnSignal signals(stop);
  KeyWatch watch(context.session().machine().registry(), endpoint.RegistryPath(), changed);
  const std::optional<Clock::time_point> end = EndAfter(arguments.seconds);

  // Armed before each reading, so that a change after the reading starts the next one.
  watch.Arm();
  EndpointState state = ReadState(context.catalog(), endpoint);
  context.output.Notice("Watching " + Printable(endpoint.name()) + "; Ctrl+C ends it.");
  std::uint32_t printed = 0;
  std::array<Event*, 2> events = {&stop, &changed};
  while (WaitAny(events, TimeLeft(end)) == std::size_t{1}) {
    watch.Arm();
    EndpointState next = ReadState(context.catalog(), endpoint);
    for (const Change& change : Differences(state, next)) {
      Print(context, ++printed, change);
      if (printed == arguments.count) return;
    }
    state = std::move(next);
  }
}

}  // namespace

void AddWatchCommand(CLI::App& app, Context& context) {
  auto [watch, arguments] = AddCommand(app, context, Watch, kWatchText);
  watch.add_option("--count", arguments.count, "End after this many changes")
      ->check(WholeNumberWithin(0, std::numeric_limits<std::int32_t>::max(), "COUNT"));
  watch.add_option("--for", arguments.seconds, "End after this time")
      ->check(NumberWithin(0, 4294967295, "a number of seconds from 0 to 4294967295", "SECONDS"));
}

}  // namespace orv::cli
