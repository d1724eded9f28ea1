// How a command ends when it does not end well: what people read, and the exit status scripts see.
#pragma once

#include <stdexcept>
#include <string>

#include "orv_apo/com.h"

namespace orv::cli {

enum ExitStatus {
  kDone = 0,
  kRefused = 1,    // the component, a driver or a file said no
  kUsage = 2,      // the command line is wrong
  kDiffering = 3,  // done, but what was read back, compared or checked differs
};

class Failure : public std::runtime_error {
 public:
  Failure(ExitStatus exit_status, const std::string& message)
      : std::runtime_error(message), exit_status_(exit_status) {}
  ExitStatus exit_status() const noexcept { return exit_status_; }

 private:
  ExitStatus exit_status_;
};

// "0x80070490 (not found)".
std::string StatusText(HRESULT status);

[[noreturn]] void UsageFailure(const std::string& message);
// What was asked for, the status with its meaning, and what to do about it.
[[noreturn]] void ComponentFailure(const std::string& asked, HRESULT status,
                                   const std::string& remedy);

// Throws ComponentFailure for a negative status.
inline void Require(HRESULT status, const std::string& asked, const std::string& remedy) {
  if (FAILED(status)) ComponentFailure(asked, status, remedy);
}

}  // namespace orv::cli
