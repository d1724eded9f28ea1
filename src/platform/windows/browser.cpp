#include "platform/browser.h"

#include <windows.h>
// Needs what the header above declares.
#include <shellapi.h>

#include "platform/text.h"

namespace orv {

bool OpenInBrowser(const std::string& address) {
  constexpr INT_PTR kLastFailure = 32;
  return reinterpret_cast<INT_PTR>(::ShellExecuteW(nullptr, L"open", WideFromUtf8(address).c_str(),
                                                   nullptr, nullptr, SW_SHOWNORMAL)) > kLastFailure;
}

}  // namespace orv
