// analyse
#include <charconv>
#include <chrono>
#include <cmath>

#include "cli/client/host.h"
#include "cli/commands/commands.h"
#include "cli/show/analysis_view.h"
#include "cli/show/scale.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kPeakChannels = 8;
// The engine keeps about two packets of 10 ms for a listener.
constexpr std::chrono::milliseconds kPollInterval{15};
constexpr int kPollsPerFrame = 3;
constexpr std::chrono::milliseconds kOnceDuration{300};
constexpr std::chrono::seconds kLineInterval{1};

struct AnalyseArguments {
  std::string endpoint;
  std::vector<std::string> frequencies;  // lists with commas, in Hz
  bool once = false;
  std::optional<double> seconds;  // end after so much time
};

// The highest levels since the last reading, in dB.
struct Reading {
  explicit Reading(std::size_t bands)
      : peaks(kPeakChannels, LevelMeter::kNothing),
        spectrum(kSpectrumChannels, std::vector<float>(bands, LevelMeter::kNothing)) {}

  std::vector<float> peaks;
  std::vector<std::vector<float>> spectrum;  // by channel and band
};

class Listener {
 public:
  Listener(const Endpoint& endpoint, std::vector<Band> bands)
      : bands_(std::move(bands)), reading_(bands_.size()) {
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
      const float* level = levels_.data();
      for (std::size_t band = 0; band < bands_.size(); ++band) {
        float& highest = reading_.spectrum[channel][band];
        for (std::size_t i = 0; i < bands_[band].points.size(); ++i, ++level)
          highest = std::max(highest, *level);
      }
    }
    float peaks[kPeakChannels];
    Require(analysis_->GetPeaks(peaks), "reading the peaks", "");
    for (std::size_t c = 0; c < kPeakChannels; ++c)
      reading_.peaks[c] = std::max(reading_.peaks[c], peaks[c]);
  }

  Reading Take() { return std::exchange(reading_, Reading(bands_.size())); }

 private:
  std::vector<Band> bands_;
  ComPtr<IAnalysisData> analysis_;
  std::vector<ULONG> points_;
  std::vector<float> levels_;
  Reading reading_;
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

// Channels that were heard, and the first two.
std::size_t ShownChannels(const std::vector<float>& peaks) {
  std::size_t shown = kSpectrumChannels;
  for (std::size_t c = 0; c < peaks.size(); ++c)
    if (std::isfinite(peaks[c])) shown = std::max(shown, c + 1);
  return shown;
}

Cell SharedBins(const Band& band) {
  if (!band.same_bins_as) return Cell("");
  return Cell("same bins as " + HertzText(*band.same_bins_as), ansi::kDim);
}

void ShowReading(Context& context, const Reading& reading, const std::vector<Band>& bands) {
  Table peaks({{"CHANNEL"}, {"PEAK", Align::Right}});
  for (std::size_t c = 0; c < ShownChannels(reading.peaks); ++c)
    peaks.Add({ChannelName(c), LevelText(reading.peaks[c])});
  context.output.Show(peaks);
  context.output.Line("");
  Table spectrum({{"FREQUENCY", Align::Right}, {"L", Align::Right}, {"R", Align::Right}, {""}});
  for (std::size_t band = 0; band < bands.size(); ++band) {
    spectrum.Add({HertzText(bands[band].frequency), LevelText(reading.spectrum[0][band]),
                  LevelText(reading.spectrum[1][band]), SharedBins(bands[band])});
  }
  context.output.Show(spectrum);
}

std::string PeakLine(const Reading& reading, const std::vector<Band>& bands) {
  std::string line;
  for (std::size_t c = 0; c < ShownChannels(reading.peaks); ++c)
    line += ChannelName(c) + " " + LevelText(reading.peaks[c]) + "   ";
  std::size_t loudest = 0;
  for (std::size_t band = 0; band < bands.size(); ++band)
    if (reading.spectrum[0][band] > reading.spectrum[0][loudest]) loudest = band;
  if (!std::isfinite(reading.spectrum[0][loudest])) return line + "silence";
  return line + "loudest at " + HertzText(bands[loudest].frequency) + ": " +
         LevelText(reading.spectrum[0][loudest]);
}

// Until interrupted, or until the time is over.
class Run {
 public:
  explicit Run(std::optional<double> seconds) {
    if (seconds)
      end_ = Clock::now() +
             std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(*seconds));
  }
  // False at the end.
  bool Wait(std::chrono::milliseconds time) {
    return !stop_.Wait(time) && (!end_ || Clock::now() < *end_);
  }

 private:
  Event stop_{Event::Kind::ManualReset};
  StopOnSignal signals_{stop_};
  std::optional<Clock::time_point> end_;
};

void ListenOnce(Context& context, Listener& listener, Run& run) {
  const Clock::time_point end = Clock::now() + kOnceDuration;
  do {
    listener.Poll();
  } while (run.Wait(kPollInterval) && Clock::now() < end);
  listener.Poll();
  const Reading reading = listener.Take();
  if (context.output.json()) return context.output.Value(ReadingJson(reading, listener.bands()));
  ShowReading(context, reading, listener.bands());
}

void PrintLines(Context& context, Listener& listener, Run& run) {
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
  } while (run.Wait(kPollInterval));
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

void ShowLive(Context& context, Terminal& terminal, const std::string& title, Listener& listener,
              Run& run) {
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
  } while (run.Wait(kPollInterval));
}

std::vector<std::uint32_t> ParseFrequencies(const std::vector<std::string>& lists) {
  std::vector<std::uint32_t> frequencies;
  for (const std::string& list : lists) {
    for (const std::string& element : SplitList(list, "the list")) {
      const char* const last = element.data() + element.size();
      const auto [end, error] = std::from_chars(element.data(), last, frequencies.emplace_back());
      if (error != std::errc() || end != last)
        UsageFailure("\"" + element + "\" in the list \"" + list +
                     "\" is not a whole frequency in Hz.");
    }
  }
  constexpr std::size_t kMostFrequencies = 1000;
  if (frequencies.size() > kMostFrequencies)
    UsageFailure("expected at most " + std::to_string(kMostFrequencies) + " frequencies.");
  return frequencies;
}

std::vector<Band> ChooseBands(const std::vector<std::uint32_t>& frequencies,
                              std::uint32_t sample_rate) {
  for (const std::uint32_t frequency : frequencies) {
    if (IsInBand(frequency, sample_rate)) continue;
    UsageFailure("a frequency of " + std::to_string(frequency) +
                 " Hz is not in the stream: expected one above 0 Hz and below " +
                 HertzText(sample_rate / 2.0) + ".");
  }
  std::vector<Band> bands =
      frequencies.empty() ? ThirdOctaveBands() : SingleFrequencies(frequencies);
  FitToStream(bands, sample_rate);
  return bands;
}

// The library's own comparisons let pass what is not a number.
CLI::Validator ListeningTime() {
  constexpr double kLongest = 1e6;
  return CLI::Validator(
      [](const std::string& text) {
        double seconds = 0;
        if (CLI::detail::lexical_cast(text, seconds) && seconds > 0 && seconds <= kLongest)
          return std::string();
        return "\"" + text + "\" is not a number of seconds above 0, up to a million";
      },
      "", "");
}

void Analyse(Context& context, const AnalyseArguments& arguments) {
  const std::vector<std::uint32_t> frequencies = ParseFrequencies(arguments.frequencies);
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  Listener listener(endpoint, ChooseBands(frequencies, context.session().SampleRate(endpoint)));
  Run run(arguments.seconds);
  if (arguments.once) return ListenOnce(context, listener, run);
  // What there is to tell is told before and after; in between the screen belongs to the picture.
  const auto terminal = context.output.json() ? nullptr : Terminal::Take();
  if (terminal != nullptr) return ShowLive(context, *terminal, endpoint.name(), listener, run);
  PrintLines(context, listener, run);
}

}  // namespace

void AddAnalyseCommand(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<AnalyseArguments>();
  CLI::App* analyse = AddCommand(
      app, "analyse", "Peaks and spectrum of what an endpoint plays, live",
      "orvctl analyse 0\n  orvctl --json analyse 0 --once --frequencies 100,1000,10000",
      "The spectrum is shown in third-octave bands, each with its highest bin, unless frequencies\n"
      "are asked for. Rows with the same bins show one level and are marked; in the live picture\n"
      "\"=50\" marks a band with the same bins as 50 Hz. Without a terminal, a line a second.\n"
      "--once listens for 0.3 seconds and gives the highest levels; with --json\n"
      "silence is null. Ends with Ctrl+C.");
  analyse->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  analyse->add_option("--frequencies", arguments->frequencies, "Frequencies in Hz, with commas")
      ->allow_extra_args(false);
  analyse->add_flag("--once", arguments->once, "One reading instead of a live view");
  analyse->add_option("--for", arguments->seconds, "End after so many seconds")
      ->check(ListeningTime());
  analyse->callback([&context, arguments] { Analyse(context, *arguments); });
}

}  // namespace orv::cli
