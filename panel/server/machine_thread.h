// The thread that owns every object of the component: requests wait in a queue, changes and levels
// are found between them.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "panel/server/answer.h"
#include "platform/synchronization.h"

namespace orv::panel {

// One event for pages, encoded once.
struct PageEvent {
  std::shared_ptr<const std::string> text;
  std::string endpoint;     // only for pages that look at it, as they asked for it; empty: for all
  bool is_reading = false;  // of levels: another one follows soon
};

// "event: NAME\ndata: JSON\n\n"
std::shared_ptr<const std::string> EncodeEvent(const char* name, const cli::Json& data);

class MachineThread {
 public:
  static constexpr std::size_t kMostJobs = 64;

  struct Job {
    Work work;
    std::string client;                  // who asks, for the origin of changes
    std::function<void(Answer)> answer;  // called on the machine's thread
  };
  using Publish = std::function<void(PageEvent)>;  // likewise

  // Starts the thread and opens the machine as in this context, which has to live as long. Throws
  // what opening the machine threw. A job waits at most `lock_limit` for another program that is
  // changing its endpoint, and is refused then; meanwhile others are done.
  MachineThread(const cli::Context& like, std::chrono::milliseconds lock_limit, Publish publish);
  ~MachineThread() { Stop(); }
  MachineThread(const MachineThread&) = delete;
  MachineThread& operator=(const MachineThread&) = delete;

  // Ends the thread after the job that runs; those that wait are answered with 503, and pages are
  // ready. Nothing is taken afterwards.
  void Stop();
  // From any thread. False, without taking the job, if too many wait or the thread ends.
  bool Post(Job job);
  // Pages and the endpoints that they look at. The first page starts the watching, and the last one
  // ends it. `ready` is called when everything that changes from now on is reported, with the
  // number of the last change, and with why the machine cannot be read (empty if it can).
  using Ready = std::function<void(std::uint32_t sequence, std::string lost)>;
  void SetPages(std::size_t pages, std::set<std::string> looked_at, Ready ready = {});

 private:
  using Clock = std::chrono::steady_clock;
  // A job in the queue. What was tried in vain is put back to its place and is due again later.
  struct Entry {
    Job job;
    Clock::time_point due{};    // at once
    Clock::time_point until{};  // how long it may be put back; set by the first try
    std::string endpoint{};     // its identifier, if it was put back
  };
  class Desk;
  void Run(const cli::Context& like);
  void Serve(Desk& desk);
  // What the thread has to do next, the first of the jobs that are due among it.
  struct Orders;
  Orders Take();
  void PutBack(Orders& orders);
  // Until a job is due; nullopt: for ever.
  std::optional<std::chrono::milliseconds> TimeLeft();

  const std::chrono::milliseconds lock_limit_;
  Publish publish_;
  std::mutex lock_;  // for what is below
  std::deque<Entry> jobs_;
  std::size_t pages_ = 0;
  std::set<std::string> looked_at_;
  std::vector<Ready> ready_;
  bool ending_ = false;
  std::exception_ptr fault_;  // of opening the machine

  Event wake_{Event::Kind::AutoReset};
  Event opened_{Event::Kind::ManualReset};
  std::thread thread_;
};

}  // namespace orv::panel
