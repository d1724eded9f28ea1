#include "cli/client/change_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <system_error>
#include <thread>

#include "cli/offline/files.h"
#include "platform/posix/file_descriptor.h"

namespace orv::cli {

struct ChangeLock::State {
  FileDescriptor file;  // closing it releases the lock
};

// The file is only locked, never written, so that no watch of the folder reports it.
ChangeLock::ChangeLock(const std::filesystem::path& machine, const std::string& registry_path,
                       std::chrono::milliseconds limit)
    : state_(std::make_unique<State>()) {
  constexpr std::chrono::milliseconds kRetry{5};
  const auto end = std::chrono::steady_clock::now() + limit;
  const std::filesystem::path name = machine / ("." + ChangeLockName(registry_path) + ".lock");
  state_->file = FileDescriptor(::open(name.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0666));
  if (!state_->file) {
    ChangeLockFailed(registry_path, PathText(name) + ": " + std::generic_category().message(errno));
  }
  while (::flock(state_->file.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR)
      ChangeLockFailed(registry_path,
                       PathText(name) + ": " + std::generic_category().message(errno));
    if (std::chrono::steady_clock::now() >= end) ChangeLockTimedOut(registry_path);
    std::this_thread::sleep_for(kRetry);
  }
}

ChangeLock::~ChangeLock() = default;

}  // namespace orv::cli
