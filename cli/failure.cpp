#include "cli/failure.h"

#include <array>
#include <cstdio>

namespace orv::cli {
namespace {

struct StatusWords {
  HRESULT status;
  const char* words;
};

constexpr std::array kStatusWords = {
    StatusWords{S_OK, "done"},
    StatusWords{S_FALSE, "nothing to answer"},
    StatusWords{E_FAIL, "refused"},
    StatusWords{E_POINTER, "no place for the answer"},
    StatusWords{E_INVALIDARG, "not a valid argument"},
    StatusWords{E_OUTOFMEMORY, "out of memory"},
    StatusWords{E_NOTIMPL, "not available on this machine"},
    StatusWords{E_NOINTERFACE, "the object lacks this interface"},
    StatusWords{E_ACCESSDENIED, "access denied"},
    StatusWords{E_UNEXPECTED, "the component is not ready"},
    StatusWords{CLASS_E_CLASSNOTAVAILABLE, "the component does not offer this class"},
    StatusWords{orv_apo::kNotFound, "no such mode or control"},
    StatusWords{orv_apo::kNotInitialized, "the system was not initialised"},
    StatusWords{orv_apo::kAlreadyInitialized, "the system was initialised before"},
    StatusWords{orv_apo::kAborted, "abandoned half-way"},
    StatusWords{orv_apo::StatusOfSystemError(2), "file or key not found"},
};

}  // namespace

std::string StatusText(HRESULT status) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(status));
  for (const StatusWords& entry : kStatusWords)
    if (entry.status == status) return std::string(code) + " (" + entry.words + ")";
  return std::string(code) + (FAILED(status) ? " (failed)" : " (done)");
}

void UsageFailure(const std::string& message) { throw Failure(kUsage, message); }

void ComponentFailure(const std::string& asked, HRESULT status, const std::string& remedy) {
  std::string message = asked + ": " + StatusText(status);
  if (!remedy.empty()) message += "\n" + remedy;
  throw Failure(kRefused, message);
}

}  // namespace orv::cli
