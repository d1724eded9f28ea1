#include "platform/file_stamp.h"

#include "platform/posix/reading.h"

namespace orv {

FileStamp FileStamp::Of(const std::filesystem::path& file) {
  FileStamp stamp;
  struct stat status {};
  const FileDescriptor opened = OpenForReading(file, status);
  using Time = std::filesystem::file_time_type;
  const std::chrono::nanoseconds time = std::chrono::seconds(status.st_mtim.tv_sec) +
                                        std::chrono::nanoseconds(status.st_mtim.tv_nsec);
  stamp.size = static_cast<std::uintmax_t>(status.st_size);
  stamp.time = Time(std::chrono::duration_cast<Time::duration>(time));  // only ever compared
  if (!opened) return stamp;
  char head[kHeadSize];
  const ssize_t size = ::pread(opened.get(), head, sizeof head, 0);
  if (size > 0) stamp.head.assign(head, static_cast<std::size_t>(size));
  return stamp;
}

}  // namespace orv
