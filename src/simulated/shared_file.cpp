#include "simulated/shared_file.h"

namespace orv {

SharedFile::SharedFile(const std::filesystem::path& folder, const Form& form, Load load)
    : form_(form), load_(std::move(load)), file_(LinkTarget(folder / form.name)) {}

bool SharedFile::Read(FileError& error) {
  error = {file_, 0, {}};
  readable_ = false;
  // The stamp is older than the content, never newer: a change in between is seen next time.
  stamp_.emplace(file_);
  std::error_code ignored;
  std::optional<std::string> bytes;
  if (!form_.optional || std::filesystem::exists(file_, ignored)) {
    bytes = ReadWholeFile(file_, form_.limit, error.reason);
    if (!bytes) return false;
  }
  const auto change = load_(bytes ? &*bytes : nullptr, error);
  if (!change) return false;
  change_ = *change;
  readable_ = true;
  return true;
}

bool SharedFile::Refresh() {
  if (stamp_ && stamp_->Matches(file_)) return readable_;
  FileError ignored;
  try {
    return Read(ignored);
  } catch (...) {
    stamp_.reset();
    throw;
  }
}

std::optional<FileLock> SharedFile::Lock(std::string& reason) {
  auto lock = FileLock::Acquire(folder() / form_.lock_name, reason);
  if (!lock || Refresh()) return lock;
  reason = std::string(form_.name) + " cannot be read";
  return std::nullopt;
}

bool SharedFile::Write(const std::function<std::string(std::uint64_t)>& encode,
                       std::string& reason) {
  if (!ReplaceFileContent(file_, encode(change_ + 1), reason, Writers::OneAtATime)) return false;
  ++change_;
  stamp_.emplace(file_);
  return true;
}

}  // namespace orv
