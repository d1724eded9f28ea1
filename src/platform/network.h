// What differs between systems for a program that listens on a port.
#pragma once

namespace orv {

// Whether the option to use a port again only means that connections of an ended program do not
// keep it. Elsewhere they never do, and the option lets two programs have one port.
#ifdef _WIN32
inline constexpr bool kTakesPortsAgain = false;
#else
inline constexpr bool kTakesPortsAgain = true;
#endif

}  // namespace orv
