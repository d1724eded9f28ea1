#include "platform/guid_text.h"

#include <fmt/xchar.h>

#include <charconv>

#include "platform/text.h"

namespace orv {

std::wstring GuidText(const GUID& guid) {
  const auto& b = guid.Data4;
  return fmt::format(L"{{{:08X}-{:04X}-{:04X}-{:02X}{:02X}-{:02X}{:02X}{:02X}{:02X}{:02X}{:02X}}}",
                     static_cast<std::uint32_t>(guid.Data1), guid.Data2, guid.Data3, b[0], b[1],
                     b[2], b[3], b[4], b[5], b[6], b[7]);
}

std::optional<GUID> ParseGuid(std::wstring_view text) {
  const std::string narrow = Utf8FromWide(text);
  if (narrow.size() != 38) return std::nullopt;
  std::size_t at = 0;
  const auto has = [&](char expected) { return narrow[at++] == expected; };
  const auto read = [&](auto& number) {
    const char* const begin = narrow.data() + at;
    const char* const end = begin + 2 * sizeof number;
    at += 2 * sizeof number;
    return std::from_chars(begin, end, number, 16).ptr == end;
  };
  GUID guid{};
  std::uint32_t first = 0;
  bool fits = has('{') && read(first) && has('-') && read(guid.Data2) && has('-') &&
              read(guid.Data3) && has('-');
  for (std::size_t i = 0; i < 8 && fits; ++i) fits = (i != 2 || has('-')) && read(guid.Data4[i]);
  guid.Data1 = first;
  return fits && has('}') ? std::optional(guid) : std::nullopt;
}

}  // namespace orv
