// The user's browser.
#pragma once

#include <string>

namespace orv {

// Shows the address in the browser that the user's desktop starts, without waiting for it. False if
// the system has none or does not start it.
bool OpenInBrowser(const std::string& address);

}  // namespace orv
