#include "cli/client/change_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <system_error>
#include <thread>

#include "platform/posix/file_descriptor.h"

namespace orv::cli {

// The file is only locked, never written, so that no watch of the folder reports it.
std::shared_ptr<void> ChangeLock::Acquire(const std::filesystem::path& machine,
                                          const std::string& name, std::chrono::milliseconds limit,
                                          std::string& reason) {
  constexpr std::chrono::milliseconds kRetry{5};
  const auto end = std::chrono::steady_clock::now() + limit;
  const std::filesystem::path file = machine / ("." + name + ".lock");
  const auto lock = std::make_shared<FileDescriptor>(
      ::open(file.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0666));  // closing it releases the lock
  while (!*lock || ::flock(lock->get(), LOCK_EX | LOCK_NB) != 0) {
    if (!*lock || (errno != EWOULDBLOCK && errno != EINTR)) {
      reason = file.string() + ": " + std::generic_category().message(errno);
      return nullptr;
    }
    if (std::chrono::steady_clock::now() >= end) return nullptr;
    std::this_thread::sleep_for(kRetry);
  }
  return lock;
}

}  // namespace orv::cli
