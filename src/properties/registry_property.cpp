#include "properties/registry_property.h"

#include <cstring>
#include <optional>
#include <vector>

#include "properties/property_value.h"

namespace orv {
namespace {

using Bytes = std::vector<std::uint8_t>;

bool TakeNumber(const Bytes& bytes, boost::any& value) {
  LongValue number;
  if (bytes.size() != sizeof number.value) return false;
  std::memcpy(&number.value, bytes.data(), sizeof number.value);
  value = number;
  return true;
}

bool TakeText(const Bytes& bytes, boost::any& value) {
  std::optional<std::wstring> text = RegistryText(bytes.data(), bytes.size());
  if (!text) return false;
  value = std::move(*text);
  return true;
}

// A list ends with an empty text, so its bytes end with two terminators; a lone one is an empty
// list.
bool TakeFirstText(const Bytes& bytes, boost::any& value) {
  constexpr std::size_t kUnit = 2;
  if (bytes.size() < kUnit) return false;
  if (bytes.size() > kUnit) {
    std::uint32_t last_two = 0;
    if (bytes.size() < sizeof last_two) return false;
    std::memcpy(&last_two, bytes.data() + bytes.size() - sizeof last_two, sizeof last_two);
    if (last_two != 0) return false;
  }
  return TakeText(bytes, value);
}

bool Write(RegistryKey& key, const std::wstring& name, std::uint32_t type, const void* data,
           std::size_t size) {
  return key.SetValue(name, type, data, static_cast<std::uint32_t>(size)) == kRegOk;
}

bool WriteNumber(RegistryKey& key, const std::wstring& name, std::int32_t number) {
  return Write(key, name, kRegDword, &number, sizeof number);
}

template <class ByteVector>
bool WriteBytes(RegistryKey& key, const std::wstring& name, const ByteVector& bytes) {
  if (bytes.empty()) return WriteNumber(key, name, 0);
  return Write(key, name, kRegBinary, bytes.data(), bytes.size());
}

bool WriteText(RegistryKey& key, const std::wstring& name, const std::wstring& text) {
  if (text.empty()) return WriteNumber(key, name, 0);
  const Bytes bytes = RegistryTextBytes(text);
  return Write(key, name, kRegSz, bytes.data(), bytes.size());
}

}  // namespace

bool ReadRegistryProperty(RegistryKey& key, const std::wstring& name, boost::any& value) {
  std::uint32_t type = kRegNone;
  Bytes bytes;
  if (ReadValue(key, name, type, bytes) != kRegOk) return false;
  switch (type) {
    case kRegDword:
      return TakeNumber(bytes, value);
    case kRegBinary:
      value = SignedBytes(bytes.begin(), bytes.end());
      return true;
    case kRegSz:
    case kRegExpandSz:
      return TakeText(bytes, value);
    case kRegMultiSz:
      return TakeFirstText(bytes, value);
    default:
      return false;
  }
}

bool WriteRegistryProperty(RegistryKey& key, const std::wstring& name, const boost::any& value) {
  const std::optional<PropertyKind> kind = KindOf(value);
  if (!kind) return false;
  switch (*kind) {
    case PropertyKind::Long:
    case PropertyKind::Int:
    case PropertyKind::Short:
    case PropertyKind::Bool:
      return WriteNumber(key, name, *IntegerOf(value));
    case PropertyKind::SignedBytes:
      return WriteBytes(key, name, *boost::any_cast<SignedBytes>(&value));
    case PropertyKind::UnsignedBytes:
      return WriteBytes(key, name, *boost::any_cast<UnsignedBytes>(&value));
    default:
      return WriteText(key, name, *WideTextOf(value));
  }
}

}  // namespace orv
