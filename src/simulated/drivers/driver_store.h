// The memory of the drivers as all objects of a machine share it: one lock around it, kept in step
// with the file drivers.json of the machine's folder if it has one.
#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "simulated/description/fault_plan.h"
#include "simulated/drivers/driver_memory.h"
#include "simulated/shared_file.h"

namespace orv {

// One request for the purposes of misbehaviour and refusals.
struct DriverRequest {
  const char* driver;
  const char* name;             // see platform/driver_names.h
  std::uint32_t parameter = 0;  // of a "parameter" request
  bool is_get = true;

  std::string Text() const;  // "parameter 0x10014404"
  std::string Key() const;   // "skylake get parameter 0x10014404"
};

class DriverStore {
 public:
  explicit DriverStore(std::shared_ptr<FaultPlan> faults) : faults_(std::move(faults)) {}

  // Keeps the memory in a folder's file from now on. The file need not exist. Returns false, with
  // the reason, if it is refused. A linked file is locked and replaced where the link leads now.
  bool Attach(const std::filesystem::path& folder, FileError& error);

  using Body = std::function<void(DriverMemory&)>;

  // Run `body` on the present memory. False if the file cannot be read, or, with a reason, not
  // written: the memory is then as it was.
  bool Read(const std::function<void(const DriverMemory&)>& body);
  bool Change(const Body& body, std::string& reason);
  // For what a client has to set before it can read. If the file cannot be written, the change is
  // made in this process alone and lasts until the file changes; `body` may be called twice.
  bool ChangeAtLeastHere(const Body& body);

  // Keeps why a request is refused, at least in this process. `planned`: the machine's description
  // has the request fail, which was right.
  void NoteRefusal(const DriverRequest& request, const std::string& reason, bool planned = false);

  // Returns the first of a driver's rules that is due for a request, and counts the request for
  // every rule that is meant for it.
  std::optional<DriverMisbehaviour> Due(const std::vector<DriverMisbehaviour>& rules,
                                        const DriverRequest& request);

  // Keep and return the apply flag of the latest request with this key on this machine object,
  // whether the driver accepted it or not; nullopt before the first one.
  void NoteApplyFlag(const DriverRequest& request, std::uint32_t flag);
  std::optional<std::uint32_t> ApplyFlag(const std::string& key);

  // Handles of this process: devices, events.
  std::uint64_t NewHandle() noexcept { return next_handle_.fetch_add(4); }
  // Named events of this process, by their handles.
  struct Events {
    std::set<std::uint64_t> open;        // drivers know an event while it is open
    std::set<std::uint64_t> registered;  // with drivers, and not unregistered
  };
  // Runs `body` on them, under the lock.
  template <class Body>
  auto UseEvents(Body&& body) {
    const std::lock_guard guard(lock_);
    return body(events_);
  }

 private:
  bool Write(const Body& body, std::string& reason);  // under the lock

  std::shared_ptr<FaultPlan> faults_;
  std::mutex lock_;
  DriverMemory memory_;
  std::optional<SharedFile> file_;                                      // nullopt: in memory only
  std::map<std::pair<std::string, std::size_t>, std::uint32_t> calls_;  // by driver and rule
  std::map<std::string, std::uint32_t> apply_flags_;                    // by DriverRequest::Key
  std::atomic<std::uint64_t> next_handle_{0x104};
  Events events_;
};

}  // namespace orv
