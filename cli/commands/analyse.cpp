// analyse
#include <chrono>
#include <cmath>

#include "cli/client/host.h"
#include "cli/commands/commands.h"
#include "cli/show/analysis_view.h"
#include "cli/show/scale.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

constexpr CommandText kAnalyseText = {
    "analyse", "Show live peaks and a spectrum of what an endpoint plays",
    "orvctl analyse 0\n  orvctl --json analyse 0 --once --frequencies 100,1000,10000",
    "The spectrum is shown in third-octave bands, each with its highest bin, unless frequencies "
    "are named. Rows with the same bins show one level and are marked; in the live picture \"=50\" "
    "marks a band with the same bins as 50 Hz. Without a terminal, a line a second. Ends with "
    "Ctrl+C.",
    "{peaks, spectrum: [{channel, frequency, db, same_bins_as}]}; silence is null"};

using Clock = std::chrono::steady_clock;

constexpr std::size_t kPeakChannels = 8;

struct AnalyseArguments : EndpointArguments {
  std::vector<std::string> frequencies;  // lists with commas, in Hz
  bool once = false;
  std::optional<double> seconds;  // end after this time
};

// The highest levels since the last reading, in dB.
struct Reading {
  explicit Reading(std::size_t bands)
      : peaks(kPeakChannels, LevelMeter::kSilence),
        spectrum(kSpectrumChannels, std::vector<float>(bands, LevelMeter::kSilence)) {}

  std::vector<float> peaks;
  std::vector<std::vector<float>> spectrum;  // by channel and band
};

// Reads the levels of an endpoint until interrupted, or until the time is over.
class Listener {
 public:
  Listener(const Endpoint& endpoint, std::vector<Band> bands, std::optional<double> seconds)
      : bands_(std::move(bands)), reading_(bands_.size()), end_(EndAfter(seconds)) {
    Require(endpoint.object()->get_AnalysisData(analysis_.Put()), "listening to " + endpoint.name(),
            "Its sound cannot be captured; another program may hold the device, or it has just "
            "been unplugged.");
    for (const Band& band : bands_)
      points_.insert(points_.end(), band.points.begin(), band.points.end());
    levels_.resize(points_.size());
  }

  const std::vector<Band>& bands() const noexcept { return bands_; }

  void Poll() {
    for (std::size_t channel = 0; channel < kSpectrumChannels; ++channel) {
      Require(analysis_->GetSpectralData(static_cast<USHORT>(channel),
                                         static_cast<USHORT>(points_.size()), points_.data(),
                                         levels_.data()),
              "reading the spectrum", "");
      auto level = levels_.begin();
      for (std::size_t band = 0; band < bands_.size(); ++band) {
        float& highest = reading_.spectrum[channel][band];
        for (std::size_t i = 0; i < bands_[band].points.size(); ++i)
          highest = std::max(highest, *level++);
      }
    }
    float peaks[kPeakChannels];
    Require(analysis_->GetPeaks(peaks), "reading the peaks", "");
    for (std::size_t c = 0; c < kPeakChannels; ++c)
      reading_.peaks[c] = std::max(reading_.peaks[c], peaks[c]);
  }
  // Waits for the next poll. False at the end.
  bool Wait() {
    // The engine keeps about two packets of 10 ms for a listener.
    constexpr std::chrono::milliseconds kPollInterval{15};
    return !stop_.Wait(kPollInterval) && (!end_ || Clock::now() < *end_);
  }

  Reading Take() { return std::exchange(reading_, Reading(bands_.size())); }

 private:
  std::vector<Band> bands_;
  ComPtr<IAnalysisData> analysis_;
  std::vector<ULONG> points_;
  std::vector<float> levels_;
  Reading reading_;
  Event stop_{Event::Kind::ManualReset};
  StopOnSignal signals_{stop_};
  std::optional<Clock::time_point> end_;
};

// Silence has no level: null.
Json LevelJson(float level) { return std::isfinite(level) ? Json(level) : Json(); }

Json ReadingJson(const Reading& reading, const std::vector<Band>& bands) {
  Json peaks = Json::array();
  for (const float peak : reading.peaks) peaks.push_back(LevelJson(peak));
  Json spectrum = Json::array();
  for (std::size_t channel = 0; channel < reading.spectrum.size(); ++channel) {
    for (std::size_t band = 0; band < bands.size(); ++band) {
      Json entry = {{"channel", channel},
                    {"frequency", bands[band].frequency},
                    {"db", LevelJson(reading.spectrum[channel][band])}};
      if (bands[band].same_bins_as) entry["same_bins_as"] = *bands[band].same_bins_as;
      spectrum.push_back(std::move(entry));
    }
  }
  return {{"peaks", std::move(peaks)}, {"spectrum", std::move(spectrum)}};
}

// The first two channels, and the others up to the last one with sound.
std::size_t ShownChannels(const std::vector<float>& peaks) {
  std::size_t shown = peaks.size();
  while (shown > kSpectrumChannels && !std::isfinite(peaks[shown - 1])) --shown;
  return shown;
}

void ShowReading(Context& context, const Reading& reading, const std::vector<Band>& bands) {
  Table peaks({{"CHANNEL"}, {"PEAK", Align::Right}});
  for (std::size_t c = 0; c < ShownChannels(reading.peaks); ++c)
    peaks.Add({ChannelName(c), LevelText(reading.peaks[c])});
  context.output.Show(peaks);
  context.output.Line("");
  Table spectrum({{"FREQUENCY", Align::Right}, {"L", Align::Right}, {"R", Align::Right}, {""}});
  for (std::size_t band = 0; band < bands.size(); ++band) {
    const auto& same = bands[band].same_bins_as;
    spectrum.Add({HertzText(bands[band].frequency), LevelText(reading.spectrum[0][band]),
                  LevelText(reading.spectrum[1][band]),
                  Cell(same ? "same bins as " + HertzText(*same) : "", ansi::kDim)});
  }
  context.output.Show(spectrum);
}

std::string PeakLine(const Reading& reading, const std::vector<Band>& bands) {
  std::string line;
  for (std::size_t c = 0; c < ShownChannels(reading.peaks); ++c)
    line += fmt::format("{} {}   ", ChannelName(c), LevelText(reading.peaks[c]));
  const auto loudest = std::ranges::max_element(reading.spectrum[0]);
  if (!std::isfinite(*loudest)) return line + "silence";
  const Band& band = bands[static_cast<std::size_t>(loudest - reading.spectrum[0].begin())];
  return line + fmt::format("loudest at {}: {}", HertzText(band.frequency), LevelText(*loudest));
}

void ListenOnce(Context& context, Listener& listener) {
  do {
    listener.Poll();
  } while (listener.Wait());
  listener.Poll();
  const Reading reading = listener.Take();
  if (context.output.json()) return context.output.Value(ReadingJson(reading, listener.bands()));
  ShowReading(context, reading, listener.bands());
}

void PrintLines(Context& context, Listener& listener) {
  constexpr std::chrono::seconds kLineInterval{1};
  const auto print = [&] {
    const Reading reading = listener.Take();
    if (context.output.json())
      context.output.JsonLine(ReadingJson(reading, listener.bands()));
    else
      context.output.Line(PeakLine(reading, listener.bands()));
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

void Update(AnalysisPicture& picture, const Reading& reading, double seconds) {
  picture.peaks.resize(std::max(picture.peaks.size(), ShownChannels(reading.peaks)));
  for (std::size_t c = 0; c < picture.peaks.size(); ++c)
    picture.peaks[c].Update(reading.peaks[c], seconds);
  for (std::size_t channel = 0; channel < kSpectrumChannels; ++channel)
    for (std::size_t band = 0; band < picture.bands.size(); ++band)
      picture.spectrum[channel][band].Update(reading.spectrum[channel][band], seconds);
}

void ShowLive(Context& context, Terminal& terminal, const std::string& title, Listener& listener) {
  constexpr int kPollsPerFrame = 3;
  AnalysisPicture picture{title, {}, listener.bands(), {}};
  picture.spectrum.assign(kSpectrumChannels, std::vector<LevelMeter>(picture.bands.size()));
  TerminalSize shown_size{0, 0};
  Clock::time_point shown = Clock::now();
  int polls = 0;
  do {
    listener.Poll();
    if (++polls % kPollsPerFrame != 0) continue;
    const Clock::time_point now = Clock::now();
    Update(picture, listener.Take(), std::chrono::duration<double>(now - shown).count());
    shown = now;
    const TerminalSize size = terminal.Size();
    const auto lines = DrawAnalysis(picture, size, context.output);
    if (!terminal.Write(FrameText(lines, size != shown_size))) return;
    shown_size = size;
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
  Listener listener(endpoint, ChooseBands(frequencies, context.session().SampleRate(endpoint)),
                    seconds);
  if (arguments.once) return ListenOnce(context, listener);
  // Text is printed before and after only; in between the screen belongs to the picture.
  const auto terminal = context.output.json() ? nullptr : Terminal::Take();
  if (terminal != nullptr) return ShowLive(context, *terminal, endpoint.name(), listener);
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
