// What the service answers, and how a command's end becomes an answer.
#pragma once

#include <optional>
#include <sstream>
#include <string>

#include "cli/client/context.h"
#include "cli/client/watched_endpoint.h"
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
  // Opens the machine as in this context, which is not used afterwards. Throws what that throws.
  explicit CommandRunner(const cli::Context& like);
  CommandRunner(const CommandRunner&) = delete;
  CommandRunner& operator=(const CommandRunner&) = delete;

  cli::Context& context() noexcept { return context_; }
  cli::MachineCheck& check() noexcept { return *check_; }
  // 200 if the command is done, also if something differs (its exit status is a header then), 400
  // if its words are wrong, 409 if the machine refused it, 503 if the machine cannot be read, 500
  // for a fault of this program. nullopt, without having done anything, if another program is
  // changing the endpoint and the work may wait.
  std::optional<Answer> Run(const Work& work, bool may_wait);
  // The identifier of the endpoint that the work is about; empty if there is none.
  std::string EndpointOf(const Work& work);

 private:
  void Reset(const Work& work);

  std::ostringstream results_;
  std::ostringstream notices_;
  std::istringstream input_;
  cli::Output output_{results_, notices_};
  cli::Context context_{output_};
  std::optional<cli::MachineCheck> check_;
};

}  // namespace orv::panel
