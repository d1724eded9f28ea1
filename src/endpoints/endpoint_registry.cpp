#include "endpoints/endpoint_registry.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace orv {

std::wstring ReadKeyText(Registry& registry, const std::wstring& path, const wchar_t* name) {
  std::unique_ptr<RegistryKey> key;
  std::uint32_t type = 0;
  std::vector<std::uint8_t> bytes;
  if (registry.OpenKey(RegRoot::LocalMachine, path, kQueryAccess, key) != kRegOk ||
      ReadValue(*key, name, type, bytes) != kRegOk || (type != kRegSz && type != kRegExpandSz))
    return {};
  return RegistryText(bytes.data(), bytes.size()).value_or(std::wstring());
}

std::wstring ProcessingKeyPath(Registry& registry, const std::wstring& guid_text) {
  const std::wstring properties = EndpointKeyPath(true, guid_text, kPropertiesSubkey);
  std::wstring path = ReadKeyText(registry, properties, kApoKeyPathValue);
  if (path.empty()) {
    const std::wstring fallback = ReadKeyText(registry, properties, kFallbackKeyPathValue);
    if (!fallback.empty()) path = ReadKeyText(registry, fallback, kApoKeyPathValue);
  }
  return path.empty() ? kDefaultApoKey + (L'\\' + guid_text) : path;
}

}  // namespace orv
