// A file of a machine's folder that several processes read and write.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "platform/file_error.h"
#include "platform/files.h"

namespace orv {

// Reads the file again after another process changed it and replaces it under a lock. Not
// synchronised: the owner locks around every use.
class SharedFile {
 public:
  struct Form {
    const char* name;       // of the file in the folder
    const char* lock_name;  // of the lock beside the file
    std::size_t limit;      // bytes
    bool optional;          // a missing file is an empty one
  };
  // Takes over the content and returns the number of its latest change; nullopt, with line and
  // reason, if the content is refused. `bytes` is null if the file is missing.
  using Load = std::function<std::optional<std::uint64_t>(const std::string* bytes, FileError&)>;

  // A linked file is locked, watched and replaced where the link leads to at this moment.
  SharedFile(const std::filesystem::path& folder, const Form& form, Load load);

  // Reads the file. Returns false, with the reason, if it is refused.
  bool Read(FileError& error);
  // Reads the file if it changed. Returns false if it is refused, now or by the last reading. If
  // `load` throws, the file is read again next time.
  bool Refresh();
  // Locks the file between processes and refreshes it. Returns nullopt, with the reason, if it
  // cannot be locked or read.
  std::optional<FileLock> Lock(std::string& reason);
  // Replaces the file with encode(number of this change); the caller holds the lock. Returns false,
  // with the reason, if the file cannot be written.
  bool Write(const std::function<std::string(std::uint64_t change)>& encode, std::string& reason);

  std::filesystem::path folder() const { return file_.parent_path(); }

 private:
  Form form_;
  Load load_;
  std::filesystem::path file_;
  std::optional<FileStamp> stamp_;  // nullopt if the file has to be read again
  std::uint64_t change_ = 0;        // number of the latest change
  bool readable_ = false;           // the last reading succeeded
};

}  // namespace orv
