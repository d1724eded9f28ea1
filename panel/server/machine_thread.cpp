#include "panel/server/machine_thread.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "panel/server/levels.h"
#include "panel/server/watcher.h"
#include "platform/com_runtime.h"

namespace orv::panel {
namespace {

using cli::Json;
using std::chrono::milliseconds;

// How often the list of endpoints, and a machine that was lost, are read again.
constexpr std::chrono::seconds kEndpointsInterval{1};
// How often a job is tried again whose endpoint another program is changing.
constexpr milliseconds kRetryInterval{20};

milliseconds Until(std::chrono::steady_clock::time_point time) {
  const auto left = std::chrono::ceil<milliseconds>(time - std::chrono::steady_clock::now());
  return std::max(left, milliseconds(0));
}

}  // namespace

std::shared_ptr<const std::string> EncodeEvent(const char* name, const Json& data) {
  return std::make_shared<const std::string>(fmt::format(
      "event: {}\ndata: {}\n\n", name, data.dump(-1, ' ', false, Json::error_handler_t::replace)));
}

struct MachineThread::Orders {
  std::optional<Entry> entry;
  std::size_t place = 0;              // of the entry in the queue
  std::set<std::string> waiting_for;  // endpoints of the entries before it
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
        watcher_(runner_.context(), runner_.check(), changed_,
                 [&publish](const char* name, const Json& data) {
                   publish({EncodeEvent(name, data), "", false});
                 }),
        levels_(runner_.context(), [&publish](const std::string& endpoint, const Json& data) {
          publish({EncodeEvent("levels", data), endpoint, data.contains("peaks")});
        }) {}

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

  // False, without having done anything, if the job has to wait for another program, or is a change
  // that would overtake an earlier one of its endpoint.
  bool Do(Orders& orders, milliseconds lock_limit) {
    Entry& entry = *orders.entry;
    const Job& job = entry.job;
    const Clock::time_point now = Clock::now();
    if (entry.until == Clock::time_point()) entry.until = now + lock_limit;
    if (job.work.changes && changed_.Wait(milliseconds(0))) watcher_.FindChanges();
    const auto name_endpoint = [&] {
      if (entry.endpoint.empty()) entry.endpoint = runner_.EndpointOf(job.work);
    };
    if (job.work.changes && !orders.waiting_for.empty()) {
      name_endpoint();
      if (orders.waiting_for.contains(entry.endpoint)) return false;
    }
    const std::optional<Answer> answer = runner_.Run(job.work, now < entry.until);
    if (!answer) {
      name_endpoint();
      return false;
    }
    job.answer(*answer);
    if (job.work.changes)
      watcher_.FindChanges(job.work.endpoint, job.client.empty() ? "other" : job.client);
    return true;
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
    return Until(*next);
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

MachineThread::MachineThread(const cli::Context& like, milliseconds lock_limit, Publish publish)
    : lock_limit_(lock_limit), publish_(std::move(publish)), thread_([this, &like] { Run(like); }) {
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
  for (const Entry& entry : jobs_) entry.job.answer(ToAnswer({503, kEnding, "", 1}, true));
  jobs_.clear();
  for (const Ready& ready : ready_) ready(0, kEnding);
  ready_.clear();
}

bool MachineThread::Post(Job job) {
  {
    const std::lock_guard guard(lock_);
    if (ending_ || jobs_.size() >= kMostJobs) return false;
    jobs_.push_back({std::move(job)});
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
  const Clock::time_point now = Clock::now();
  const auto first =
      std::ranges::find_if(jobs_, [&](const Entry& entry) { return entry.due <= now; });
  if (ending_ || first == jobs_.end()) return orders;
  for (auto before = jobs_.begin(); before != first; ++before)
    if (!before->endpoint.empty()) orders.waiting_for.insert(before->endpoint);
  orders.place = static_cast<std::size_t>(first - jobs_.begin());
  orders.entry = std::move(*first);
  jobs_.erase(first);
  return orders;
}

void MachineThread::PutBack(Orders& orders) {
  orders.entry->due = Clock::now() + kRetryInterval;
  const std::lock_guard guard(lock_);
  jobs_.insert(jobs_.begin() + static_cast<std::ptrdiff_t>(orders.place), std::move(*orders.entry));
}

std::optional<milliseconds> MachineThread::TimeLeft() {
  const std::lock_guard guard(lock_);
  const auto next = std::ranges::min_element(jobs_, {}, &Entry::due);
  if (next == jobs_.end()) return std::nullopt;
  return Until(next->due);
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
  for (;;) {
    std::optional<milliseconds> time_left = desk.TimeLeft();
    if (const auto of_jobs = TimeLeft())
      time_left = std::min(time_left.value_or(*of_jobs), *of_jobs);
    const auto signalled = WaitAny(events, time_left);
    try {
      if (signalled == std::size_t{0}) desk.FindChanges();
      Orders orders = Take();
      if (orders.ending) return;
      desk.Obey(orders);
      if (orders.entry && !desk.Do(orders, lock_limit_)) PutBack(orders);
      desk.Tick();
    } catch (const std::exception&) {
      continue;  // without memory this round is lost
    }
  }
}

}  // namespace orv::panel
