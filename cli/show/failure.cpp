#include "cli/show/failure.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace orv::cli {
namespace {

struct StatusWords {
  HRESULT status;
  const char* words;
};

// With these words the status's row of docs/objects.md begins.
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

}  // namespace

std::string StatusText(HRESULT status) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(status));
  for (const StatusWords& entry : kStatusWords)
    if (entry.status == status) return std::string(code) + " (" + entry.words + ")";
  constexpr std::uint32_t kSystemErrors = 0x80070000;
  const auto bits = static_cast<std::uint32_t>(status);
  if ((bits & 0xFFFF0000) == kSystemErrors)
    return std::string(code) + " (system error " + std::to_string(bits & 0xFFFF) + ")";
  return std::string(code) + (FAILED(status) ? " (failed)" : " (done)");
}

void UsageFailure(const std::string& message) { throw Failure(kUsage, message); }

void ComponentFailure(const std::string& asked, HRESULT status, const std::string& remedy) {
  std::string message = asked + ": " + StatusText(status);
  if (!remedy.empty()) message += "\n" + remedy;
  throw Failure(kRefused, message);
}

}  // namespace orv::cli
