// Failures: the message for the user and the exit status, with the commands that messages name.
#pragma once

#include <fmt/format.h>

#include <stdexcept>
#include <string>
#include <utility>

#include "orv_apo/com.h"

namespace orv::cli {

enum ExitStatus {
  kDone = 0,
  kRefused = 1,    // the component, a driver or the system refused the request
  kUsage = 2,      // the command line is wrong
  kDiffering = 3,  // done, but what was read back differs, or the output cannot be written
};
inline constexpr ExitStatus kExitStatuses[] = {kDone, kRefused, kUsage, kDiffering};
// For documents: a sentence without its full stop.
const char* MeaningOf(ExitStatus status);

class Failure : public std::runtime_error {
 public:
  Failure(ExitStatus exit_status, const std::string& message)
      : std::runtime_error(message), exit_status_(exit_status) {}
  // The message is a format and its arguments.
  template <class First, class... Rest>
  Failure(ExitStatus exit_status, fmt::format_string<First, Rest...> message, First&& first,
          Rest&&... rest)
      : Failure(exit_status,
                fmt::format(message, std::forward<First>(first), std::forward<Rest>(rest)...)) {}
  ExitStatus exit_status() const noexcept { return exit_status_; }

 private:
  ExitStatus exit_status_;
};

// "0x80070490 (not found)".
std::string StatusText(HRESULT status);

[[noreturn]] void UsageFailure(const std::string& message);
template <class First, class... Rest>
[[noreturn]] void UsageFailure(fmt::format_string<First, Rest...> message, First&& first,
                               Rest&&... rest) {
  throw Failure(kUsage, message, std::forward<First>(first), std::forward<Rest>(rest)...);
}
// The message is what was asked for, the status with its meaning, and what to do about it.
[[noreturn]] void ComponentFailure(const std::string& asked, HRESULT status,
                                   const std::string& remedy);

// Throws ComponentFailure for a negative status.
inline void Require(HRESULT status, const std::string& asked, const std::string& remedy) {
  if (FAILED(status)) ComponentFailure(asked, status, remedy);
}

// One word of a command line, quoted if necessary.
std::string ShellWord(const std::string& text);

// Sets the global options that CommandLine repeats; called once, before a command runs.
void UseGlobalOptions(const std::string& words);

// `words` as a command of this program, with the global options of this run, to be pasted.
std::string CommandLine(const std::string& words);
template <class First, class... Rest>
std::string CommandLine(fmt::format_string<First, Rest...> words, First&& first, Rest&&... rest) {
  return CommandLine(fmt::format(words, std::forward<First>(first), std::forward<Rest>(rest)...));
}

}  // namespace orv::cli
