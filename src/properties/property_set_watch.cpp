// The registry watch of a property set: waits for writes of the key, then reloads the image.
#include <chrono>
#include <exception>
#include <optional>

#include "properties/property_set_registry.h"

namespace orv {
namespace {

// How often a reload that waits for a lock checks the stop event.
constexpr std::chrono::milliseconds kLockRetry{5};

// Holds the lock (if there is one), or gives up if the stop event is signalled first: the thread
// that stops the watch may hold the lock while it waits for the watch to end.
class StoppableLock {
 public:
  StoppableLock(std::recursive_mutex* mutex, Event& stop) {
    if (mutex == nullptr) return;
    held_ = std::unique_lock(*mutex, std::defer_lock);
    while (!stopped_ && !held_.try_lock()) stopped_ = stop.Wait(kLockRetry);
  }
  bool stopped() const noexcept { return stopped_; }

 private:
  std::unique_lock<std::recursive_mutex> held_;
  bool stopped_ = false;
};

}  // namespace

bool ORVPropertySetRegistry::StartWatch(bool start, const std::wstring& value_name) {
  thread_.Stop(0);
  {
    const std::lock_guard guard(state_lock_);
    watch_value_name_ = start ? value_name : std::wstring();
  }
  return !start || thread_.Start(this);
}

// A reload that fails (for example because memory runs out) does not end the watch.
void ORVPropertySetRegistry::Reload(const std::wstring& value_name, Event& stop) {
  const StoppableLock owner_lock(reload_lock_, stop);
  ORVPropertySet* const set = Current().set;
  if (owner_lock.stopped() || set == nullptr) return;
  const StoppableLock set_lock(set->lock(), stop);
  if (set_lock.stopped()) return;
  try {
    LoadBinary(value_name, true, true, false);
  } catch (const std::exception&) {
  }
}

// Armed before each reload: a write that comes between the two wakes the watch once more, and then
// changes nothing.
bool ORVPropertySetRegistry::Run(ORVThreadBasic&, Event& stop) {
  std::wstring value_name;
  {
    const std::lock_guard guard(state_lock_);
    value_name = watch_value_name_;
  }
  // On the heap: the registry still refers to it if this thread is terminated.
  const auto changed = std::make_unique<Event>(Event::Kind::AutoReset);
  std::unique_ptr<RegistryKey> key;
  if (const std::shared_ptr<RegistryKey> bound = Current().key) key = bound->Duplicate();
  constexpr std::size_t kChanged = 1;
  Event* const events[] = {&stop, changed.get()};
  std::optional<std::size_t> woken = kChanged;
  while (woken == kChanged) {
    const bool armed =
        key != nullptr && key->NotifyChange(false, kNotifyLastSet, *changed) == kRegOk;
    Reload(value_name, stop);
    if (!armed) break;
    woken = WaitAny(events);
  }
  return true;
}

}  // namespace orv
