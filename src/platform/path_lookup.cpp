#include <system_error>
#include <vector>

#include "platform/files.h"
#include "platform/text.h"

namespace orv {
namespace {

// The elements of a relative path, ".." already applied; nullopt if it leads out.
std::optional<std::vector<std::filesystem::path>> Elements(std::string_view relative) {
  std::vector<std::filesystem::path> elements;
  while (!relative.empty()) {
    const std::size_t slash = relative.find('/');
    const std::string_view element = relative.substr(0, slash);
    relative.remove_prefix(slash == std::string_view::npos ? relative.size() : slash + 1);
    if (element.empty() || element == ".") continue;
    if (element != "..") {
      // A drive's name or another kind of separator would lead elsewhere.
      std::filesystem::path name = PathFromUtf8(element);
      if (name.has_root_path() || name.has_parent_path()) return std::nullopt;
      elements.push_back(std::move(name));
    } else if (elements.empty()) {
      return std::nullopt;
    } else {
      elements.pop_back();
    }
  }
  return elements;
}

// Of several spellings the first in byte order, so that the answer does not depend on the disk.
std::optional<std::filesystem::path> OtherSpelling(const std::filesystem::path& folder,
                                                   const std::filesystem::path& name) {
  std::optional<std::filesystem::path> found;
  std::error_code error;
  const std::filesystem::directory_iterator end;
  for (std::filesystem::directory_iterator entry(folder, error); !error && entry != end;
       entry.increment(error)) {
    const std::filesystem::path candidate = entry->path().filename();
    if (EqualsIgnoringCase(candidate.native(), name.native()) && (!found || candidate < *found))
      found = candidate;
  }
  return found;
}

bool Exists(const std::filesystem::path& path) {
  std::error_code error;
  return std::filesystem::exists(path, error);
}

}  // namespace

std::optional<PathBelow> FindBelow(const std::filesystem::path& folder, std::string_view relative) {
  const auto elements = Elements(relative);
  if (!elements) return std::nullopt;

  PathBelow exact{folder, false};
  for (const std::filesystem::path& element : *elements) exact.path /= element;
  exact.exists = Exists(exact.path);
  if (exact.exists) return exact;

  PathBelow found{folder, Exists(folder)};
  for (const std::filesystem::path& element : *elements) {
    std::filesystem::path next = found.path / element;
    if (found.exists && !Exists(next)) {
      const auto spelling = OtherSpelling(found.path, element);
      found.exists = spelling.has_value();
      if (spelling) next = found.path / *spelling;
    }
    found.path = std::move(next);
  }
  return found;
}

}  // namespace orv
