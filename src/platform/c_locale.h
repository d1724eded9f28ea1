// The C locale as text conversion sees it.
#pragma once

namespace orv {

// True while LC_CTYPE is "C" (or "POSIX"), where bytes and characters map one to one.
bool InDefaultLocale() noexcept;

}  // namespace orv
