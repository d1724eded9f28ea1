#include "platform/guid_text.h"

#include <array>

namespace orv {
namespace {

// Order of the 16 bytes in the text; the first three fields are numbers and so stand most
// significant byte first, whatever the byte order in memory.
using GuidBytes = std::array<std::uint8_t, 16>;

GuidBytes TextOrder(const GUID& guid) noexcept {
  GuidBytes bytes{};
  const auto first = static_cast<std::uint32_t>(guid.Data1);
  for (std::size_t i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(first >> (24 - 8 * i));
  bytes[4] = static_cast<std::uint8_t>(guid.Data2 >> 8);
  bytes[5] = static_cast<std::uint8_t>(guid.Data2);
  bytes[6] = static_cast<std::uint8_t>(guid.Data3 >> 8);
  bytes[7] = static_cast<std::uint8_t>(guid.Data3);
  for (std::size_t i = 0; i < 8; ++i) bytes[8 + i] = guid.Data4[i];
  return bytes;
}

GUID FromTextOrder(const GuidBytes& bytes) noexcept {
  GUID guid{};
  for (std::size_t i = 0; i < 4; ++i) guid.Data1 = (guid.Data1 << 8) | bytes[i];
  guid.Data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
  guid.Data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
  for (std::size_t i = 0; i < 8; ++i) guid.Data4[i] = bytes[8 + i];
  return guid;
}

constexpr std::wstring_view kShape = L"{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";

// Value of a hexadecimal digit; 16 for any other character.
unsigned HexDigit(wchar_t unit) noexcept {
  if (unit >= L'0' && unit <= L'9') return static_cast<unsigned>(unit - L'0');
  if (unit >= L'A' && unit <= L'F') return static_cast<unsigned>(unit - L'A') + 10;
  if (unit >= L'a' && unit <= L'f') return static_cast<unsigned>(unit - L'a') + 10;
  return 16;
}

}  // namespace

std::wstring GuidText(const GUID& guid) {
  const GuidBytes bytes = TextOrder(guid);
  std::wstring text(kShape);
  std::size_t nibble = 0;
  for (wchar_t& unit : text) {
    if (unit != L'x') continue;
    const unsigned value = (bytes[nibble / 2] >> (nibble % 2 == 0 ? 4 : 0)) & 0xFU;
    unit = L"0123456789ABCDEF"[value];
    ++nibble;
  }
  return text;
}

std::optional<GUID> ParseGuid(std::wstring_view text) {
  if (text.size() != kShape.size()) return std::nullopt;
  GuidBytes bytes{};
  std::size_t nibble = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (kShape[i] != L'x') {
      if (text[i] != kShape[i]) return std::nullopt;
      continue;
    }
    const unsigned value = HexDigit(text[i]);
    if (value > 15) return std::nullopt;
    bytes[nibble / 2] = static_cast<std::uint8_t>(bytes[nibble / 2] << 4 | value);
    ++nibble;
  }
  return FromTextOrder(bytes);
}

}  // namespace orv
