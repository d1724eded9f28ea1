// analyse
#include <chrono>
#include <cmath>

#include "cli/client/host.h"
#include "cli/client/level_reader.h"
#include "cli/commands/commands.h"
#include "cli/show/scale.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

constexpr CommandText kAnalyseText = {
    "analyse", "Show live peaks and a spectrum of what an endpoint plays",
    "orvctl analyse 0\n  orvctl --json analyse 0 --once --frequencies 100,1000,10000",
    "The spectrum is shown in third-octave bands, each with its highest bin, unless frequencies "
    "are named. Rows with the same bins show one level and are marked; in the live picture \"=50\" "
    "marks a band with the same bins as 50 Hz. Keys: q ends, space freezes the picture, + and - "
    "change the range. Without a terminal, a line a second. Ends with Ctrl+C, too.",
    "{peaks, spectrum: [{channel, frequency, db, same_bins_as}]}; silence is null"};

using Clock = std::chrono::steady_clock;

struct AnalyseArguments : EndpointArguments {
  std::vector<std::string> frequencies;  // lists with commas, in Hz
  bool once = false;
  std::optional<double> seconds;  // end after this time
};

// Reads the levels of an endpoint until interrupted, or until the time is over.
class Listener : public LevelReader {
 public:
  Listener(const Endpoint& endpoint, std::size_t channels, std::vector<Band> bands,
           std::optional<double> seconds)
      : LevelReader(endpoint, std::move(bands)), channels_(channels), end_(EndAfter(seconds)) {}

  std::size_t channels() const noexcept { return channels_; }  // of the stream
  // Those whose peaks the component has.
  std::size_t ReportedChannels() const { return std::min(channels_, LevelReading::kPeaks); }
  // Waits for the next poll. False at the end.
  bool Wait() { return !stop_.Wait(kPollInterval) && (!end_ || Clock::now() < *end_); }

 private:
  std::size_t channels_;
  Event stop_{Event::Kind::ManualReset};
  StopOnSignal signals_{stop_};
  std::optional<Clock::time_point> end_;
};

void ShowReading(Context& context, const LevelReading& reading, const Listener& listener) {
  Table peaks({{"CHANNEL"}, {"PEAK", Align::Right}});
  for (std::size_t c = 0; c < listener.ReportedChannels(); ++c)
    peaks.Add({ChannelName(c, listener.channels()), LevelText(reading.peaks[c])});
  context.output.Show(peaks);
  context.output.Line("");
  Table spectrum({{"FREQUENCY", Align::Right}, {"L", Align::Right}, {"R", Align::Right}, {""}});
  for (std::size_t i = 0; i < listener.bands().size(); ++i) {
    const Band& band = listener.bands()[i];
    const auto& same = band.same_bins_as;
    spectrum.Add({HertzText(band.frequency), LevelText(reading.spectrum[0][i]),
                  LevelText(reading.spectrum[1][i]),
                  Cell(same ? "same bins as " + HertzText(*same) : "", ansi::kDim)});
  }
  context.output.Show(spectrum);
  if (listener.channels() > kSpectrumChannels)
    context.output.Notice(fmt::format(
        "The stream has {} channels; the component has the peaks of the first {} and the spectrum "
        "of the first {}.",
        listener.channels(), listener.ReportedChannels(), kSpectrumChannels));
}

std::string PeakLine(const LevelReading& reading, const Listener& listener) {
  if (reading.IsSilent()) return "silence";
  std::string line;
  for (std::size_t c = 0; c < listener.ReportedChannels(); ++c)
    line +=
        fmt::format("{} {}   ", ChannelName(c, listener.channels()), LevelText(reading.peaks[c]));
  const auto loudest = std::ranges::max_element(reading.spectrum[0]);
  if (!std::isfinite(*loudest)) return line + "no spectrum";
  const auto& band =
      listener.bands()[static_cast<std::size_t>(loudest - reading.spectrum[0].begin())];
  return line + fmt::format("loudest at {}: {}", HertzText(band.frequency), LevelText(*loudest));
}

void ListenOnce(Context& context, Listener& listener) {
  do {
    listener.Poll();
  } while (listener.Wait());
  listener.Poll();
  const LevelReading reading = listener.Take();
  if (context.output.json()) return context.output.Value(ToJson(reading, listener.bands()));
  ShowReading(context, reading, listener);
}

void PrintLines(Context& context, Listener& listener) {
  constexpr std::chrono::seconds kLineInterval{1};
  const auto print = [&] {
    const LevelReading reading = listener.Take();
    if (context.output.json())
      context.output.JsonLine(ToJson(reading, listener.bands()));
    else
      context.output.Line(PeakLine(reading, listener));
  };
  Clock::time_point next = Clock::now() + kLineInterval;
  do {
    listener.Poll();
    if (Clock::now() < next) continue;
    next += kLineInterval;
    print();
  } while (listener.Wait());
  print();
}

// The live picture: what was read, the user's keys, and what the terminal shows.
class LiveView {
 public:
  LiveView(const Output& output, const std::string& title, const Listener& listener)
      : style_{output.colour(), OutputShowsUtf8()} {
    picture_.title = title;
    picture_.channels = listener.channels();
    picture_.bands = listener.bands();
    picture_.peaks.resize(listener.ReportedChannels());
    picture_.spectrum.assign(std::min(kSpectrumChannels, listener.channels()),
                             std::vector<LevelMeter>(picture_.bands.size()));
  }

  // False if the user ends the view.
  bool Obey(Terminal& terminal) {
    while (const std::optional<char> key = terminal.Key()) {
      if (*key == 'q' || *key == 'Q') return false;
      if (*key == ' ') picture_.frozen = !picture_.frozen;
      if (*key == '+') picture_.floor = NarrowerFloor(picture_.floor);
      if (*key == '-') picture_.floor = WiderFloor(picture_.floor);
      if (*key == Terminal::kRedraw) shown_ = Screen();
    }
    return true;
  }

  void Update(const LevelReading& reading, double seconds) {
    constexpr double kSilenceSeconds = 1;
    if (picture_.frozen) return;
    silent_seconds_ = reading.IsSilent() ? silent_seconds_ + seconds : 0;
    picture_.silent = silent_seconds_ >= kSilenceSeconds;
    for (std::size_t c = 0; c < picture_.peaks.size(); ++c)
      picture_.peaks[c].Update(reading.peaks[c], seconds);
    for (std::size_t channel = 0; channel < picture_.spectrum.size(); ++channel)
      for (std::size_t band = 0; band < picture_.bands.size(); ++band)
        picture_.spectrum[channel][band].Update(reading.spectrum[channel][band], seconds);
  }

  // False if the terminal is closed.
  bool Show(Terminal& terminal) {
    Screen next = DrawAnalysis(picture_, terminal.Size(), style_);
    const std::string changes = ScreenChanges(shown_, next);
    shown_ = std::move(next);
    return changes.empty() || terminal.Write(changes);
  }

 private:
  PictureStyle style_;
  AnalysisPicture picture_;
  double silent_seconds_ = 0;
  Screen shown_;
};

void ShowLive(Terminal& terminal, Listener& listener, LiveView view) {
  constexpr int kPollsPerFrame = 3;
  Clock::time_point shown = Clock::now();
  int polls = 0;
  do {
    listener.Poll();
    if (!view.Obey(terminal)) return;
    if (++polls % kPollsPerFrame != 0) continue;
    const Clock::time_point now = Clock::now();
    view.Update(listener.Take(), std::chrono::duration<double>(now - shown).count());
    shown = now;
    if (!view.Show(terminal)) return;
  } while (listener.Wait());
}

std::vector<std::uint32_t> ParseFrequencies(const std::vector<std::string>& lists) {
  std::vector<std::uint32_t> frequencies;
  for (const std::string& list : lists) {
    for (const std::string& element : SplitList(list, "the list")) {
      const std::optional<int> number = ParseNumber(element);
      if (!number || *number < 0)
        UsageFailure(
            "\"{}\" in the list \"{}\" is not a whole frequency in Hz, at most 2147483647.",
            element, list);
      frequencies.push_back(static_cast<std::uint32_t>(*number));
    }
  }
  constexpr std::size_t kMostFrequencies = 1000;
  if (frequencies.size() > kMostFrequencies)
    UsageFailure("expected at most {} frequencies.", kMostFrequencies);
  return frequencies;
}

std::vector<Band> ChooseBands(const std::vector<std::uint32_t>& frequencies,
                              std::uint32_t sample_rate) {
  std::vector<Band> bands;
  for (const std::uint32_t frequency : frequencies) {
    if (!IsInBand(frequency, sample_rate))
      UsageFailure(
          "a frequency of {} Hz is not in the stream: expected one above 0 Hz and below {}.",
          frequency, HertzText(sample_rate / 2.0));
    bands.push_back({frequency, {frequency}, {}});
  }
  if (bands.empty()) bands = ThirdOctaveBands();
  FitToStream(bands, sample_rate);
  return bands;
}

void Analyse(Context& context, const AnalyseArguments& arguments) {
  constexpr double kOnceSeconds = 0.3;
  const std::vector<std::uint32_t> frequencies = ParseFrequencies(arguments.frequencies);
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  std::optional<double> seconds = arguments.seconds;
  if (arguments.once) seconds = std::min(seconds.value_or(kOnceSeconds), kOnceSeconds);
  const Session::Stream stream = context.session().StreamOf(endpoint);
  Listener listener(endpoint, stream.channels, ChooseBands(frequencies, stream.sample_rate),
                    seconds);
  if (arguments.once) return ListenOnce(context, listener);
  // Text is printed before and after only; in between the screen belongs to the picture.
  const auto terminal = context.output.json() ? nullptr : Terminal::Take();
  if (terminal != nullptr)
    return ShowLive(*terminal, listener, LiveView(context.output, endpoint.name(), listener));
  PrintLines(context, listener);
}

}  // namespace

void AddAnalyseCommand(CLI::App& app, Context& context) {
  auto [analyse, arguments] = AddCommand(app, context, Analyse, kAnalyseText);
  analyse
      .add_option("--frequencies", arguments.frequencies,
                  "Levels at these frequencies instead of third-octave bands")
      ->type_name("HZ,HZ...")
      ->allow_extra_args(false);
  analyse.add_flag("--once", arguments.once, "One reading of 0.3 seconds instead of a live view");
  analyse.add_option("--for", arguments.seconds, "End after this time")
      ->check(
          NumberWithin(kAboveZero, 1e6, "a number of seconds above 0, up to a million", "SECONDS"));
}

}  // namespace orv::cli
