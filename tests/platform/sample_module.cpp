// A loadable module that reports its path.
#include <string>

#include "platform/dynamic_library.h"

extern "C" const wchar_t* OwnPath() {
  static const std::wstring path = orv::OwnModulePath();
  return path.c_str();
}
