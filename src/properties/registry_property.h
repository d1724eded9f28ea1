// One property as one registry value, and back.
#pragma once

#include <boost/any.hpp>
#include <string>

#include "platform/registry.h"

namespace orv {

// Numbers become long, bytes signed bytes, text (the first one of a list) wide text. Returns
// false and leaves `value` unchanged if the registry value is missing, malformed or of another
// type.
bool ReadRegistryProperty(RegistryKey& key, const std::wstring& name, boost::any& value);

// Integers and bool become REG_DWORD, bytes REG_BINARY, the rest REG_SZ; what is empty becomes the
// number 0. False when it could not be written or has no known kind.
bool WriteRegistryProperty(RegistryKey& key, const std::wstring& name, const boost::any& value);

}  // namespace orv
