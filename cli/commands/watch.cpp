// watch
#include <algorithm>
#include <chrono>
#include <memory>

#include "cli/client/host.h"
#include "cli/client/watched_endpoint.h"
#include "cli/commands/commands.h"
#include "cli/show/clock.h"
#include "cli/show/names.h"
#include "platform/child_process.h"
#include "platform/synchronization.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

constexpr CommandText kWatchText = {
    "watch", "Print every change as it happens, made by any program",
    "orvctl watch\n  orvctl --json watch 0 --count 3 --for 60\n"
    "  orvctl watch 0 --count 1 --exec 'echo \"$ORV_NAME is $ORV_TO_TEXT\"'",
    "Watches the current mode, the processing switch and the public values of all modes, of one "
    "endpoint or of all. Changes that follow one another closely are reported together, and a "
    "value that has returned by then is not reported. --exec runs a command for each change, one "
    "at a time, with ORV_SEQ, ORV_TIME, ORV_ENDPOINT, ORV_WHAT, ORV_MODE, ORV_NAME, ORV_FROM, "
    "ORV_TO, ORV_FROM_TEXT, ORV_TO_TEXT and ORV_UNIT in its environment. Ends with Ctrl+C.",
    "one object a line, {seq, time, endpoint, what, mode, name, from, to, from_text, to_text, "
    "unit}; seq counts up by one, time is UTC, what is mode, switch or control"};

using Clock = std::chrono::steady_clock;

struct WatchArguments {
  std::string endpoint;           // empty: all
  std::string command;            // run on each change
  bool utc = false;               // whole UTC times in text lines
  std::uint32_t count = 0;        // end after so many changes; 0: never
  std::optional<double> seconds;  // end after this time
};

// What a script gets for a value.
std::string PlainText(const Json& value) {
  return value.is_null() ? "" : value.is_string() ? value.get<std::string>() : value.dump();
}

// Reports changes, to the user and to the command of --exec.
class Reporter {
 public:
  Reporter(Context& context, const WatchArguments& arguments)
      : context_(context), arguments_(arguments) {}

  // False after the last one that was asked for.
  bool Report(const Endpoint& endpoint, const Change& change) {
    const WallTime now = std::chrono::system_clock::now();
    Json json = {{"seq", ++count_},
                 {"time", UtcText(now)},
                 {"endpoint", endpoint.name()},
                 {"what", change.what}};
    json.update(ToJson(context_.catalog(), change));
    if (context_.output.json())
      context_.output.JsonLine(json);
    else
      Print(now, change, json);
    if (!arguments_.command.empty()) Run(json);
    return count_ != arguments_.count;
  }

 private:
  void Print(WallTime now, const Change& change, const Json& json) {
    Output& output = context_.output;
    const std::string time = arguments_.utc ? UtcText(now) : LocalClock(now, Precision::Seconds);
    std::string line = output.Painted(time, ansi::kDim) + "  ";
    if (arguments_.endpoint.empty()) line += Printable(json["endpoint"].get<std::string>()) + "  ";
    if (!change.mode.empty()) line += ModeLabel(change.mode) + "  ";
    // The switch has the name of the command that changes it.
    const std::string name = change.what == "switch" ? "enable" : Printable(change.name);
    output.Line(line + output.Painted(name, ansi::kBold) + ": " +
                Printable(json["from_text"].get<std::string>()) + " -> " +
                output.Painted(Printable(json["to_text"].get<std::string>()), ansi::kAccent));
  }

  void Run(const Json& json) const {
    EnvironmentVariables variables;
    for (const auto& [key, value] : json.items())
      variables.emplace_back("ORV_" + Utf8FromWide(ToUpperAscii(WideFromUtf8(key))),
                             PlainText(value));
    std::string reason;
    // With --json standard output has no other text.
    const std::optional<int> status =
        RunInShell(arguments_.command, variables,
                   context_.output.json() ? ShellOutput::ToErrors : ShellOutput::Shared, reason);
    if (!status)
      context_.output.Notice("orvctl: --exec: the shell cannot be started: " + reason);
    else if (*status != 0)
      context_.output.Notice(fmt::format(
          "orvctl: --exec: the command ended with status {} for change {}.", *status, count_));
  }

  Context& context_;
  const WatchArguments& arguments_;
  std::uint32_t count_ = 0;
};

// Up to the next look at the machine.
std::chrono::milliseconds TimeLeft(const std::optional<Clock::time_point>& end) {
  constexpr std::chrono::milliseconds kBetweenLooks{1000};
  if (!end) return kBetweenLooks;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end - Clock::now());
  return std::clamp(left, std::chrono::milliseconds(0), kBetweenLooks);
}

// Endpoints share the events, because a wait takes only some of them.
constexpr std::size_t kChangeEvents = kMostEvents - 1;

class Watcher {
 public:
  Watcher(Context& context, const WatchArguments& arguments)
      : context_(context),
        reporter_(context, arguments),
        check_(context.session().machine_folder()),
        end_(EndAfter(arguments.seconds)) {
    events_.push_back(&stop_);
    std::vector<Endpoint> endpoints;
    if (arguments.endpoint.empty())
      endpoints = context.Endpoints();
    else
      endpoints.push_back(context.SelectEndpoint(arguments.endpoint));
    if (endpoints.empty()) throw Failure(kRefused, "the component finds no endpoint to watch.");
    for (std::size_t i = 0; i < std::min(endpoints.size(), kChangeEvents); ++i)
      events_.push_back(
          changed_.emplace_back(std::make_unique<Event>(Event::Kind::AutoReset)).get());
    for (Endpoint& endpoint : endpoints)
      watched_.push_back(std::make_unique<WatchedEndpoint>(
          context.session(), context.catalog(), std::move(endpoint),
          *changed_[watched_.size() % changed_.size()]));
    context.output.Notice("Watching " +
                          (watched_.size() == 1 ? Printable(watched_.front()->endpoint().name())
                                                : Counted(watched_.size(), "endpoint")) +
                          "; Ctrl+C ends it.");
  }

  void Run() {
    for (;;) {
      const std::optional<std::size_t> signalled = WaitAny(events_, TimeLeft(end_));
      if (signalled == std::size_t{0} || (!signalled && end_ && Clock::now() >= *end_)) return;
      ReportMachine();
      for (std::size_t i = signalled.value_or(0) - 1; signalled && i < watched_.size();
           i += changed_.size())
        if (!ReportChanges(*watched_[i])) return;
    }
  }

 private:
  bool ReportChanges(WatchedEndpoint& watched) {
    for (const Change& change : watched.FindChanges())
      if (!reporter_.Report(watched.endpoint(), change)) return false;
    return true;
  }
  void ReportMachine() {
    const std::string& fault = check_.Fault();
    if (fault == fault_) return;
    fault_ = fault;
    context_.output.Notice(fault.empty() ? "The machine can be read again."
                                         : "orvctl: " + fault + "\nStill watching.");
  }

  Context& context_;
  Reporter reporter_;
  MachineCheck check_;
  std::string fault_;  // that was reported
  std::optional<Clock::time_point> end_;
  Event stop_{Event::Kind::ManualReset};
  StopOnSignal signals_{stop_};
  std::vector<std::unique_ptr<Event>> changed_;
  std::vector<Event*> events_;  // the request to stop first
  std::vector<std::unique_ptr<WatchedEndpoint>> watched_;
};

void Watch(Context& context, const WatchArguments& arguments) { Watcher(context, arguments).Run(); }

}  // namespace

void AddWatchCommand(CLI::App& app, Context& context) {
  auto [watch, arguments] = AddCommand(app, context, Watch, kWatchText);
  watch.add_option("ENDPOINT", arguments.endpoint,
                   std::string(kEndpointHelp) + " (default: all endpoints)");
  watch.add_option("--exec", arguments.command, "Run this command of the shell on each change")
      ->type_name("COMMAND");
  watch.add_flag("--utc", arguments.utc, "Whole UTC times instead of the local time of day");
  watch.add_option("--count", arguments.count, "End after this many changes")
      ->check(WholeNumberWithin(0, std::numeric_limits<std::int32_t>::max(), "COUNT"));
  watch.add_option("--for", arguments.seconds, "End after this time")
      ->check(NumberWithin(0, 4294967295, "a number of seconds from 0 to 4294967295", "SECONDS"));
}

}  // namespace orv::cli
