#include "cli/show/names.h"

#include <algorithm>

#include "platform/text.h"

namespace orv::cli {

std::string Utf8FromName(std::wstring_view name) {
  // Most names: the same in every encoding.
  if (std::ranges::all_of(name, [](wchar_t unit) { return unit > 0 && unit < 0x80; }))
    return {name.begin(), name.end()};
  std::string bytes = Narrow(name);
  if (!bytes.empty() && Utf8FromWide(WideFromUtf8(bytes)) == bytes) return bytes;
  return Utf8FromWide(name);
}

std::string Utf8FromName(const std::string& narrow) { return Utf8FromName(Widen(narrow)); }

std::string ModeLabel(const std::string& mode) {
  constexpr std::string_view kCommon = "ApoOpMode:";
  return mode.starts_with(kCommon) ? mode.substr(kCommon.size()) : mode;
}

std::wstring NameFromUtf8(std::string_view utf8) { return Widen(utf8); }

std::vector<std::wstring> NamesFromUtf8(std::string_view utf8) {
  std::vector<std::wstring> names{NameFromUtf8(utf8)};
  std::wstring wide = WideFromUtf8(utf8);
  if (wide != names.front() && Utf8FromName(wide) == utf8) names.push_back(std::move(wide));
  return names;
}

}  // namespace orv::cli
