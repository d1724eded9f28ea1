#include "panel/server/answer.h"

#include <fmt/format.h>

#include <boost/algorithm/string/replace.hpp>
#include <filesystem>

#include "cli/client/dsp_objects.h"
#include "cli/commands/run.h"
#include "platform/driver_names.h"

namespace orv::panel {
namespace {

using cli::Json;

// The text as the value of a header.
std::string Escaped(const std::string& text) {
  constexpr std::size_t kMost = 2048;
  std::string escaped;
  for (const char c : text.substr(0, kMost)) {
    const auto byte = static_cast<unsigned char>(c);
    const bool is_plain = byte >= 0x20 && byte < 0x7F && c != '%';
    escaped += is_plain ? std::string(1, c) : fmt::format("%{:02X}", byte);
  }
  return escaped;
}

// Lines for the user, without the end of the last one.
std::string TakeNotices(std::ostringstream& stream) {
  std::string text = stream.str();
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

// The driver that the endpoint has, as the second word of "dsp".
std::string DriverWord(cli::Context& context, const std::string& endpoint) {
  const std::string driver = cli::FindDriver(context.SelectEndpoint(endpoint));
  if (driver.empty())
    throw cli::Failure(cli::kRefused,
                       "no DSP driver answers for this endpoint.\nWhat examines it: {}",
                       cli::CommandLine("doctor " + cli::ShellWord(endpoint)));
  return driver == kQualcommDriver ? "qualcomm" : "intel";
}

// What commands name as a way out that they have as an option, and what a request has.
constexpr std::pair<std::string_view, std::string_view> kWaysOut[] = {
    {"\n--force stores it anyway.", ""},
    {"--force takes back", "The body {\"force\": true} takes back"},
    {"or --raw ", "or the number "}};

std::string AsOfRequest(std::string message) {
  for (const auto& [option, way_out] : kWaysOut) boost::replace_all(message, option, way_out);
  return message;
}

int StatusOf(cli::ExitStatus exit_status) { return exit_status == cli::kUsage ? 400 : 409; }

}  // namespace

Answer ToAnswer(const Refusal& refusal, bool is_api) {
  Answer answer;
  answer.status = refusal.status;
  if (!refusal.allow.empty()) answer.headers = fmt::format("Allow: {}\r\n", refusal.allow);
  if (!is_api) {
    answer.type = kTextType;
    answer.body = refusal.message + "\n";
    return answer;
  }
  const Json error = {{"message", refusal.message}, {"exit_status", refusal.exit_status}};
  answer.body = Json{{"error", error}}.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  return answer;
}

CommandRunner::CommandRunner(const cli::Context& like) {
  context_.session_options = like.session_options;
  // Those who ask do not know where this program was started.
  std::filesystem::path& machine = context_.session_options.machine;
  if (!machine.empty()) machine = std::filesystem::absolute(machine);
  context_.config_type = like.config_type;
  // The work of others does not wait for a lock.
  context_.lock_limit = std::chrono::milliseconds(0);
  context_.naming = cli::Naming::Whole;
  context_.input = &input_;
  check_.emplace(context_.session().machine_folder());
  context_.catalog();
}

void CommandRunner::Reset(const Work& work) {
  results_.str("");
  notices_.str("");
  input_.clear();
  input_.str(work.input);
  output_.UseJson(!work.text);
  context_.gesture = work.gesture;
}

std::optional<Answer> CommandRunner::Run(const Work& work, bool may_wait) {
  Reset(work);
  try {
    if (const std::string& fault = check_->Fault(); !fault.empty())
      return ToAnswer({503, fault, "", cli::kRefused}, true);
    Words words = work.words;
    if (work.kind == Work::Kind::Push)
      words.insert(words.begin() + 1, DriverWord(context_, work.endpoint));
    cli::RunWords(context_, words);
    Answer answer;
    if (work.text) answer.type = kTextType;
    answer.body = results_.str();
    if (context_.exit_status != cli::kDone)
      answer.headers =
          fmt::format("Orvctl-Exit-Status: {}\r\n", static_cast<int>(context_.exit_status));
    if (const std::string notices = TakeNotices(notices_); !notices.empty())
      answer.headers += fmt::format("Orvctl-Notices: {}\r\n", Escaped(notices));
    return answer;
  } catch (const cli::Failure& failure) {
    if (may_wait && dynamic_cast<const cli::ChangeLock::Taken*>(&failure) != nullptr)
      return std::nullopt;
    std::string message = TakeNotices(notices_);
    if (!message.empty()) message += "\n";
    message = AsOfRequest(message + failure.what());
    return ToAnswer({StatusOf(failure.exit_status()), message, "", failure.exit_status()}, true);
  } catch (const std::exception& fault) {
    return ToAnswer({500, fault.what(), "", cli::kRefused}, true);
  }
}

std::string CommandRunner::EndpointOf(const Work& work) {
  try {
    return context_.SelectEndpoint(work.endpoint).id();
  } catch (const std::exception&) {
    return {};
  }
}

}  // namespace orv::panel
