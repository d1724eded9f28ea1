#include "panel/server/machine_thread.h"

#include <fmt/format.h>

#include <array>
#include <chrono>

#include "panel/server/levels.h"
#include "panel/server/watcher.h"
#include "platform/com_runtime.h"

namespace orv::panel {
namespace {

using Clock = std::chrono::steady_clock;
using cli::Json;
using std::chrono::milliseconds;

// How often the list of endpoints, and a machine that was lost, are read again.
constexpr std::chrono::seconds kEndpointsInterval{1};

}  // namespace

std::shared_ptr<const std::string> EncodeEvent(const char* name, const Json& data) {
  return std::make_shared<const std::string>(fmt::format(
      "event: {}\ndata: {}\n\n", name, data.dump(-1, ' ', false, Json::error_handler_t::replace)));
}

struct MachineThread::Orders {
  std::optional<Job> job;
  bool more = false;  // jobs wait
  bool ending = false;
  std::size_t pages = 0;
  std::set<std::string> looked_at;
  std::vector<Ready> ready;
};

// What the thread works with. Members are destroyed in the reverse order: the component last.
class MachineThread::Desk {
 public:
  Desk(const cli::Context& like, const Publish& publish)
      : runner_(like),
        watcher_(runner_.context(), changed_,
                 [&publish](const char* name, const Json& data) {
                   publish({EncodeEvent(name, data), "", false});
                 }),
        levels_(runner_.context(), [&publish](const std::string& endpoint, const Json& data) {
          publish({EncodeEvent("levels", data), endpoint, data.contains("peaks")});
        }) {
    runner_.context().session();
    runner_.context().catalog();
  }

  Event& changed() noexcept { return changed_; }

  void Obey(const Orders& orders) {
    if (orders.pages == 0) {
      watcher_.Stop();
    } else if (!watcher_.running()) {
      watcher_.Start();
      next_list_ = Clock::now() + kEndpointsInterval;
    }
    for (const Ready& ready : orders.ready) ready(watcher_.sequence(), watcher_.lost());
    if (orders.looked_at == looked_at_) return;
    looked_at_ = orders.looked_at;
    levels_.LookAt(looked_at_);
    next_levels_ = Clock::now();
  }

  void Do(Job& job) {
    if (job.work.changes && changed_.Wait(milliseconds(0))) watcher_.FindChanges();
    job.answer(runner_.Run(job.work));
    if (job.work.changes)
      watcher_.FindChanges(job.work.endpoint, job.client.empty() ? "other" : job.client);
  }

  void FindChanges() { watcher_.FindChanges(); }

  // What is due by the clock.
  void Tick() {
    const Clock::time_point now = Clock::now();
    if (levels_.listening() && now >= next_levels_) {
      next_levels_ = std::max(next_levels_ + Levels::kPollInterval, now);
      levels_.Poll();
    }
    if (watcher_.running() && now >= next_list_) {
      next_list_ = now + kEndpointsInterval;
      if (watcher_.FindEndpoints()) levels_.Restart();
    }
  }
  // Until something is due; nullopt: for ever.
  std::optional<milliseconds> TimeLeft() const {
    std::optional<Clock::time_point> next;
    if (watcher_.running()) next = next_list_;
    if (levels_.listening()) next = std::min(next.value_or(next_levels_), next_levels_);
    if (!next) return std::nullopt;
    return std::max(std::chrono::ceil<milliseconds>(*next - Clock::now()), milliseconds(0));
  }

 private:
  Event changed_{Event::Kind::AutoReset};
  CommandRunner runner_;
  Watcher watcher_;
  Levels levels_;
  std::set<std::string> looked_at_;
  Clock::time_point next_levels_;
  Clock::time_point next_list_;
};

MachineThread::MachineThread(const cli::Context& like, Publish publish)
    : publish_(std::move(publish)), thread_([this, &like] { Run(like); }) {
  opened_.Wait();
  if (fault_ == nullptr) return;
  thread_.join();
  std::rethrow_exception(fault_);
}

void MachineThread::Stop() {
  {
    const std::lock_guard guard(lock_);
    ending_ = true;
  }
  if (!thread_.joinable()) return;
  wake_.Set();
  thread_.join();
  constexpr char kEnding[] = "the service is ending.";
  for (Job& job : jobs_) job.answer(ToAnswer({503, kEnding, "", 1}, true));
  jobs_.clear();
  for (const Ready& ready : ready_) ready(0, kEnding);
  ready_.clear();
}

bool MachineThread::Post(Job job) {
  {
    const std::lock_guard guard(lock_);
    if (ending_ || jobs_.size() >= kMostJobs) return false;
    jobs_.push_back(std::move(job));
  }
  wake_.Set();
  return true;
}

void MachineThread::SetPages(std::size_t pages, std::set<std::string> looked_at, Ready ready) {
  {
    const std::lock_guard guard(lock_);
    pages_ = pages;
    looked_at_ = std::move(looked_at);
    if (ready && !ending_) ready_.push_back(std::move(ready));
  }
  wake_.Set();
}

MachineThread::Orders MachineThread::Take() {
  const std::lock_guard guard(lock_);
  Orders orders;
  orders.ending = ending_;
  orders.pages = pages_;
  orders.looked_at = looked_at_;
  orders.ready.swap(ready_);
  if (!ending_ && !jobs_.empty()) {
    orders.job = std::move(jobs_.front());
    jobs_.pop_front();
  }
  orders.more = !jobs_.empty();
  return orders;
}

void MachineThread::Run(const cli::Context& like) {
  const ComRuntime runtime;
  std::optional<Desk> desk;
  try {
    desk.emplace(like, publish_);
  } catch (...) {
    fault_ = std::current_exception();
  }
  const bool is_open = desk.has_value();
  opened_.Set();
  if (is_open) Serve(*desk);
}

void MachineThread::Serve(Desk& desk) {
  std::array<Event*, 2> events = {&desk.changed(), &wake_};
  for (bool more = false;;) {
    const auto signalled = WaitAny(events, more ? milliseconds(0) : desk.TimeLeft());
    try {
      if (signalled == std::size_t{0}) desk.FindChanges();
      Orders orders = Take();
      if (orders.ending) return;
      more = orders.more;
      desk.Obey(orders);
      if (orders.job) desk.Do(*orders.job);
      desk.Tick();
    } catch (const std::exception&) {
      continue;  // without memory this round is lost
    }
  }
}

}  // namespace orv::panel
