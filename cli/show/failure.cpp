#include "cli/show/failure.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <boost/algorithm/string/replace.hpp>
#include <cstdint>
#include <filesystem>

namespace orv::cli {
namespace {

struct StatusWords {
  HRESULT status;
  const char* words;
};

// The words are the beginning of the status's row in docs/objects.md.
constexpr std::array kStatusWords = {
    StatusWords{E_FAIL, "refused"},
    StatusWords{E_POINTER, "an argument is null"},
    StatusWords{E_INVALIDARG, "not a valid argument"},
    StatusWords{E_OUTOFMEMORY, "out of memory"},
    StatusWords{E_NOTIMPL, "not available"},
    StatusWords{E_NOINTERFACE, "the object has no such interface"},
    StatusWords{E_ACCESSDENIED, "access denied"},
    StatusWords{E_UNEXPECTED, "not ready"},
    StatusWords{CLASS_E_CLASSNOTAVAILABLE, "the class is unknown"},
    StatusWords{orv_apo::kNotFound, "not found"},
    StatusWords{orv_apo::kNotInitialized, "the system was not initialised"},
    StatusWords{orv_apo::kAborted, "abandoned half way"},
    StatusWords{static_cast<HRESULT>(0x88890003), "no loopback stream from this device"},
    StatusWords{static_cast<HRESULT>(0x88890004), "the device is gone"},
    StatusWords{static_cast<HRESULT>(0x88890008), "samples of an unknown form"},
    StatusWords{orv_apo::StatusOfSystemError(2), "file or key not found"},
    StatusWords{orv_apo::StatusOfSystemError(29), "the change cannot be written"},
    StatusWords{orv_apo::StatusOfSystemError(31), "the device does not work"},
    StatusWords{orv_apo::StatusOfSystemError(112), "the disk is full"},
};

// The global options of this run.
std::string& GlobalOptions() {
  static std::string words;
  return words;
}

}  // namespace

const char* MeaningOf(ExitStatus status) {
  static constexpr const char* kMeanings[] = {
      "Done",
      "Refused by the component, a driver or the system; the message on standard error names the "
      "request, the status and its meaning",
      "The command line is wrong; the message names what is expected, the nearest known name and "
      "the help page",
      "Done, but what was read back, compared or checked differs, or the output cannot be written"};
  return kMeanings[status];
}

std::string StatusText(HRESULT status) {
  const auto bits = static_cast<std::uint32_t>(status);
  const auto known = std::ranges::find(kStatusWords, status, &StatusWords::status);
  std::string words = FAILED(status) ? "failed" : "done";
  if (known != kStatusWords.end())
    words = known->words;
  else if ((bits & 0xFFFF0000) == 0x80070000)
    words = fmt::format("system error {}", bits & 0xFFFF);
  return fmt::format("0x{:08X} ({})", bits, words);
}

void UsageFailure(const std::string& message) { throw Failure(kUsage, message); }

void ComponentFailure(const std::string& asked, HRESULT status, const std::string& remedy) {
  std::string message = asked + ": " + StatusText(status);
  if (!remedy.empty()) message += "\n" + remedy;
  throw Failure(kRefused, message);
}

std::string ShellWord(const std::string& text) {
  constexpr char kPlain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./:";
  if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) return text;
  // The shell of a system with backslashes in its paths does not escape with them and does not know
  // single quotes.
  constexpr bool kBackslashesInPaths = std::filesystem::path::preferred_separator == '\\';
  if (kBackslashesInPaths || text.find_first_of("\"$`!\\") == std::string::npos)
    return '"' + text + '"';
  return "'" + boost::replace_all_copy(text, "'", "'\\''") + "'";
}

void UseGlobalOptions(const std::string& words) { GlobalOptions() = words; }

std::string CommandLine(const std::string& words) {
  const std::string& options = GlobalOptions();
  return "orvctl " + (options.empty() ? "" : options + " ") + words;
}

}  // namespace orv::cli
