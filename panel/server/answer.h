// What the service answers, and how a command's end becomes an answer.
#pragma once

#include <string>

#include "cli/client/context.h"
#include "panel/server/routes.h"

namespace orv::panel {

inline constexpr char kJsonType[] = "application/json; charset=utf-8";
inline constexpr char kTextType[] = "text/plain; charset=utf-8";

struct Answer {
  int status = 200;  // of HTTP
  std::string type = kJsonType;
  std::string body;
  std::string headers;  // lines of their own, each with its end
};

// {"error": {"message", "exit_status"}}; text for what is not below /api/.
Answer ToAnswer(const Refusal& refusal, bool is_api);

// The commands of the machine's thread: one context whose session is kept.
class CommandRunner {
 public:
  // A machine and endpoints as in this context, which is not used afterwards.
  explicit CommandRunner(const cli::Context& like);
  CommandRunner(const CommandRunner&) = delete;
  CommandRunner& operator=(const CommandRunner&) = delete;

  cli::Context& context() noexcept { return context_; }
  // 200 if the command is done, also if something differs (its exit status is a header then), 400
  // if its words are wrong, 409 if the machine refused it, 500 for a fault of this program.
  Answer Run(const Work& work);

 private:
  void Reset(const Work& work);

  std::ostringstream results_;
  std::ostringstream notices_;
  std::istringstream input_;
  cli::Output output_{results_, notices_};
  cli::Context context_{output_};
};

}  // namespace orv::panel
