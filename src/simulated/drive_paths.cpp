#include "simulated/drive_paths.h"

#include <algorithm>

#include "platform/files.h"
#include "platform/text.h"

namespace orv {
namespace {

// UTF-8 with slashes; nullopt if the text has lone surrogates or a NUL.
std::optional<std::string> SlashPath(std::wstring_view path) {
  std::string text = Utf8FromWide(path);
  if (WideFromUtf8(text) != path || text.find('\0') != std::string::npos) return std::nullopt;
  std::ranges::replace(text, '\\', '/');
  return text;
}

// The top of the host's own files: on Windows the drive of that name.
std::filesystem::path HostRoot() {
  if constexpr (std::filesystem::path::preferred_separator == '\\') return "Z:\\";
  return "/";
}

}  // namespace

std::optional<std::filesystem::path> HostFile(const std::filesystem::path& drive_c,
                                              const std::wstring& path) {
  const auto text = SlashPath(path);
  if (!text) return std::nullopt;
  if (path.starts_with(L'/')) return PathFromUtf8(*text);
  if (text->size() < 3 || text->compare(1, 2, ":/") != 0) return std::nullopt;
  const std::string_view below = std::string_view(*text).substr(3);
  const wchar_t drive = FoldAscii(path.front());
  if (drive != L'z' && (drive != L'c' || drive_c.empty())) return std::nullopt;
  const auto found = FindBelow(drive == L'z' ? HostRoot() : drive_c, below);
  return found ? std::optional(found->path) : std::nullopt;
}

}  // namespace orv
