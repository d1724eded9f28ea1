#include "platform/file_stamp.h"

#include <array>
#include <fstream>

namespace orv {

FileStamp FileStamp::Of(const std::filesystem::path& file) {
  FileStamp stamp;
  std::error_code missing;
  stamp.size = std::filesystem::file_size(file, missing);
  stamp.time = std::filesystem::last_write_time(file, missing);
  std::filebuf stream;
  std::array<char, kHeadSize> head;
  if (stream.open(file, std::ios::in | std::ios::binary) == nullptr) return stamp;
  const std::streamsize size = stream.sgetn(head.data(), head.size());
  stamp.head.assign(head.data(), static_cast<std::size_t>(size));
  return stamp;
}

}  // namespace orv
