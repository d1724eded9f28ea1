#include "platform/file_stamp.h"

#include <windows.h>

#include "platform/windows/handle.h"

namespace orv {

// Opened once and as briefly as can be: while it is open, nobody replaces the file on systems that
// do not replace open files.
FileStamp FileStamp::Of(const std::filesystem::path& file) {
  FileStamp stamp;
  const Handle opened(::CreateFileW(file.c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  char head[kHeadSize];
  DWORD read = 0;
  LARGE_INTEGER size{};
  FILETIME time{};
  if (!opened || ::GetFileSizeEx(opened.get(), &size) == 0 ||
      ::GetFileTime(opened.get(), nullptr, nullptr, &time) == 0 ||
      ::ReadFile(opened.get(), head, sizeof head, &read, nullptr) == 0)
    return stamp;
  using Time = std::filesystem::file_time_type;
  const std::uint64_t ticks = std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
  stamp.size = static_cast<std::uintmax_t>(size.QuadPart);
  stamp.time = Time(Time::duration(static_cast<std::int64_t>(ticks)));  // only ever compared
  stamp.head.assign(head, read);
  return stamp;
}

}  // namespace orv
