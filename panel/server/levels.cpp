#include "panel/server/levels.h"

namespace orv::panel {
namespace {

using cli::Json;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kReportInterval{33};
constexpr std::chrono::seconds kSilenceTime{1};
constexpr int kPartsOfDb = 10;  // which is more than a picture shows

std::vector<cli::Band> BandsOf(cli::Context& context, const cli::Endpoint& endpoint) {
  std::vector<cli::Band> bands = cli::ThirdOctaveBands();
  cli::FitToStream(bands, context.session().StreamOf(endpoint).sample_rate);
  return bands;
}

}  // namespace

class Levels::Listener {
 public:
  Listener(cli::Context& context, const cli::Endpoint& endpoint)
      : reader_(endpoint, BandsOf(context, endpoint)) {}

  // The data of an event if one is due.
  std::optional<Json> Poll() {
    reader_.Poll();
    const Clock::time_point now = Clock::now();
    if (now < next_) return std::nullopt;
    next_ = std::max(next_ + kReportInterval, now);
    const cli::LevelReading reading = reader_.Take();
    if (!reading.IsSilent()) last_sound_ = now;
    const bool silent = now - last_sound_ >= kSilenceTime;
    if (silent && silent_) return std::nullopt;
    silent_ = silent;
    Json data = silent ? Json{{"silent", true}} : cli::ToJson(reading, reader_.bands(), kPartsOfDb);
    if (data == last_) return std::nullopt;
    last_ = data;
    return data;
  }

 private:
  cli::LevelReader reader_;
  Clock::time_point next_ = Clock::now() + kReportInterval;
  Clock::time_point last_sound_ = Clock::now();
  bool silent_ = false;
  Json last_;
};

Levels::Levels(cli::Context& context, Report report)
    : context_(context), report_(std::move(report)) {}
Levels::~Levels() = default;

void Levels::LookAt(const std::set<std::string>& endpoints) {
  looked_at_ = endpoints;
  std::erase_if(listeners_, [&](const auto& one) { return !endpoints.contains(one.first); });
  for (const std::string& name : endpoints) {
    if (listeners_.contains(name)) continue;
    try {
      listeners_[name] = std::make_unique<Listener>(context_, context_.SelectEndpoint(name));
    } catch (const std::exception& failure) {
      listeners_.erase(name);
      report_(name, {{"message", failure.what()}});
    }
  }
}

void Levels::Restart() {
  listeners_.clear();
  LookAt(std::set<std::string>(looked_at_));
}

void Levels::Poll() {
  for (auto one = listeners_.begin(); one != listeners_.end();) {
    try {
      if (const std::optional<Json> data = one->second->Poll()) report_(one->first, *data);
      ++one;
    } catch (const std::exception& failure) {
      report_(one->first, {{"message", failure.what()}});
      one = listeners_.erase(one);
    }
  }
}

}  // namespace orv::panel
