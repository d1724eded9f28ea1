// Paths of the host as programs of the platform name them.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/text.h"

namespace orv {

// The host's root folder is drive Z: ("/usr/bin" gives "Z:\usr\bin").
inline std::wstring DriveZPath(std::string_view path) {
  std::wstring wide = L"Z:" + WideFromUtf8(path);
  std::ranges::replace(wide, L'/', L'\\');
  return wide;
}

}  // namespace orv
