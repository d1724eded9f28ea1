// Calls that must not stop their host with a question to its user.
#pragma once

#include <windows.h>

namespace orv {

// While this lives, what the calling thread asks of a drive without a disk, or of a file that is no
// module, fails instead of waiting for somebody to close a box. What the host chose itself stays in
// force.
class NoErrorBoxes {
 public:
  NoErrorBoxes() noexcept {
    ::SetThreadErrorMode(::GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &before_);
  }
  ~NoErrorBoxes() { ::SetThreadErrorMode(before_, nullptr); }
  NoErrorBoxes(const NoErrorBoxes&) = delete;
  NoErrorBoxes& operator=(const NoErrorBoxes&) = delete;

 private:
  DWORD before_ = 0;
};

}  // namespace orv
