// watch
#include <array>
#include <chrono>
#include <cstdio>

#include "cli/client/host.h"
#include "cli/client/registry.h"
#include "cli/client/state.h"
#include "cli/commands/commands.h"
#include "platform/synchronization.h"

namespace orv::cli {
namespace {

using Clock = std::chrono::steady_clock;

struct WatchArguments {
  std::string endpoint;
  std::uint32_t count = 0;               // end after so many changes; 0: never
  std::optional<std::uint32_t> seconds;  // end after so much time
};

// "2026-01-31T12:34:56.789Z"
std::string UtcNow() {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const auto day = floor<days>(now);
  const year_month_day date(day);
  const hh_mm_ss<milliseconds> time(now - day);
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
                static_cast<int>(time.subseconds().count()));
  return text;
}

std::string ForPeople(const Catalog& catalog, const Change& change, const Json& value) {
  if (value.is_number() && value.get<std::int32_t>() >= 0) {
    const ControlFacts facts = catalog.Describe(change.name);
    const auto position = value.get<std::size_t>();
    if (position < facts.choices.size()) return facts.choices[position];
  }
  return ToText(value);
}

class ChangePrinter {
 public:
  explicit ChangePrinter(Context& context) : context_(context) {}

  std::uint32_t printed() const noexcept { return sequence_; }

  void Print(const Change& change) {
    ++sequence_;
    const std::string time = UtcNow();
    Output& output = context_.output;
    if (output.json()) {
      output.JsonLine({{"seq", sequence_},
                       {"time", time},
                       {"what", change.what},
                       {"mode", change.mode.empty() ? Json() : Json(change.mode)},
                       {"name", change.name},
                       {"from", change.from},
                       {"to", change.to}});
      return;
    }
    std::string line = output.Painted(time, ansi::kDim) + "  ";
    if (!change.mode.empty()) line += Printable(change.mode) + "  ";
    line +=
        output.Painted(Printable(change.name), ansi::kBold) + ": " +
        Printable(ForPeople(context_.catalog(), change, change.from)) + " -> " +
        output.Painted(Printable(ForPeople(context_.catalog(), change, change.to)), ansi::kAccent);
    output.Line(line);
  }

 private:
  Context& context_;
  std::uint32_t sequence_ = 0;
};

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
  std::optional<Clock::time_point> end;
  if (arguments.seconds) end = Clock::now() + std::chrono::seconds(*arguments.seconds);

  // Armed before each reading: what changes after the reading wakes the next one.
  watch.Arm();
  EndpointState state = ReadState(context.catalog(), endpoint);
  context.output.Notice("Watching " + Printable(endpoint.name()) + "; Ctrl+C ends it.");
  ChangePrinter printer(context);
  std::array<Event*, 2> events = {&stop, &changed};
  while (WaitAny(events, TimeLeft(end)) == std::size_t{1}) {
    watch.Arm();
    EndpointState next = ReadState(context.catalog(), endpoint);
    for (const Change& change : Differences(state, next)) {
      printer.Print(change);
      if (arguments.count != 0 && printer.printed() == arguments.count) return;
    }
    state = std::move(next);
  }
}

}  // namespace

void AddWatchCommand(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<WatchArguments>();
  CLI::App* watch = AddCommand(
      app, "watch", "Print every change as it happens, whoever makes it",
      "orvctl watch 0\n  orvctl --json watch 0 --count 3 --for 60",
      "Watched are the current mode, the processing switch and the public values of all modes.\n"
      "Changes that follow one another closely are told as one, and a value that is back where it\n"
      "was by then is not told. With --json one object a line. Ends with Ctrl+C.");
  watch->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  watch->add_option("--count", arguments->count, "End after so many changes");
  watch->add_option("--for", arguments->seconds, "End after so many seconds");
  watch->callback([&context, arguments] { Watch(context, *arguments); });
}

}  // namespace orv::cli
