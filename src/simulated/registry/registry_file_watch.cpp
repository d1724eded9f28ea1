#include "simulated/registry/registry_file_watch.h"

namespace orv {

RegistryFileWatch::RegistryFileWatch(std::function<void()> on_change)
    : on_change_(std::move(on_change)) {}

std::unique_ptr<RegistryFileWatch> RegistryFileWatch::Start(const std::filesystem::path& folder,
                                                            std::function<void()> on_change) {
  std::unique_ptr<RegistryFileWatch> watch(new RegistryFileWatch(std::move(on_change)));
  std::string reason;
  watch->folder_watch_ = FolderWatch::Start(folder, watch->changed_, reason);
  if (watch->folder_watch_ == nullptr) return nullptr;
  watch->thread_ = Thread::Start([raw = watch.get()] { return raw->Run(); });
  return watch->thread_ == nullptr ? nullptr : std::move(watch);
}

RegistryFileWatch::~RegistryFileWatch() {
  stop_.Set();
  while (thread_ != nullptr && !thread_->Wait(std::chrono::seconds(60))) {
  }
}

std::uint32_t RegistryFileWatch::Run() noexcept {
  Event* const events[] = {&stop_, &changed_};
  for (;;) {
    const auto signalled = WaitAny(events);
    if (!signalled || *signalled == 0) return 0;
    try {
      on_change_();
    } catch (const std::bad_alloc&) {
      changed_.Set();  // tried again; the change is not lost
    } catch (...) {
      // The next change is another occasion; an exception must not end the process.
    }
  }
}

}  // namespace orv
