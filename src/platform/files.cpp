#include "platform/files.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

#include "platform/opened_file.h"

namespace orv {

std::optional<std::string> ReadWholeFile(const std::filesystem::path& file, std::size_t limit,
                                         std::string& reason) {
  const auto opened = OpenedFile::Open(file, reason);
  if (!opened) return std::nullopt;
  std::string content;
  std::size_t size = 0;
  if (opened->size() <= limit) content.resize(opened->size() + 1);  // one more, to notice the end
  while (size < content.size()) {
    const auto read = opened->Read(content.data() + size, content.size() - size, reason);
    if (!read) return std::nullopt;
    if (*read == 0) {
      content.resize(size);
      return content;
    }
    size += *read;
    if (size == content.size() && size <= limit) content.resize(std::min(2 * size, limit + 1));
  }
  reason = fmt::format("Larger than {} bytes", limit);
  return std::nullopt;
}

std::filesystem::path TemporaryPath(const std::filesystem::path& target, Writers writers) {
  static std::atomic<unsigned> last{0};
  std::filesystem::path name(".");
  name += target.filename();
  name += writers == Writers::OneAtATime ? ".new" : fmt::format(".{}-{}", ::getpid(), last++);
  return target.parent_path() / name;
}

}  // namespace orv
