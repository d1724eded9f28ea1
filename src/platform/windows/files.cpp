#include "platform/files.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/opened_file.h"

namespace orv {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
// Programs that scan every new file hold it for a moment.
constexpr int kMoveAttempts = 200;
constexpr DWORD kMoveRetry = 5;  // milliseconds

// Identity, size, time and first bytes of a file; empty if it cannot be read. The file is open only
// briefly: some systems cannot replace an open file.
std::string StateOf(const std::filesystem::path& file) {
  const Handle opened(::CreateFileW(file.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  BY_HANDLE_FILE_INFORMATION about{};
  char head[FileStamp::kHeadSize];
  DWORD read = 0;
  if (!opened || ::GetFileInformationByHandle(opened.get(), &about) == 0 ||
      ::ReadFile(opened.get(), head, sizeof head, &read, nullptr) == 0)
    return {};
  const DWORD parts[] = {about.dwVolumeSerialNumber,
                         about.nFileIndexHigh,
                         about.nFileIndexLow,
                         about.nFileSizeHigh,
                         about.nFileSizeLow,
                         about.ftLastWriteTime.dwHighDateTime,
                         about.ftLastWriteTime.dwLowDateTime};
  return std::string(head, read).append(reinterpret_cast<const char*>(parts), sizeof parts);
}

// The access list of a file, for its replacement; empty if there is none.
std::vector<std::byte> AccessList(const std::filesystem::path& file) {
  DWORD size = 0;
  ::GetFileSecurityW(file.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  std::vector<std::byte> descriptor(size);
  if (size == 0 || ::GetFileSecurityW(file.c_str(), DACL_SECURITY_INFORMATION, descriptor.data(),
                                      size, &size) == 0)
    return {};
  return descriptor;
}

// Gives an open file another name, even if a file of that name is open. Older systems and file
// systems refuse.
bool RenameOver(HANDLE file, const std::filesystem::path& target) {
  struct RenameRequest {
    DWORD flags;
    HANDLE folder;
    DWORD name_size;  // bytes
    wchar_t name[1];
  };
  constexpr auto kRename = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
  constexpr DWORD kReplace = 1;
  constexpr DWORD kPosixSemantics = 2;
  std::error_code error;
  const std::wstring name = std::filesystem::absolute(target, error).native();
  if (error) return false;
  const std::size_t size = name.size() * sizeof(wchar_t);
  std::vector<std::uint64_t> memory((sizeof(RenameRequest) + size + 7) / 8);
  auto* request = reinterpret_cast<RenameRequest*>(memory.data());
  request->flags = kReplace | kPosixSemantics;
  request->name_size = static_cast<DWORD>(size);
  std::memcpy(request->name, name.c_str(), size);
  return ::SetFileInformationByHandle(file, kRename, request,
                                      static_cast<DWORD>(memory.size() * 8)) != 0;
}

// A file that is deleted with this object unless it has replaced its target.
class TemporaryFile {
 public:
  TemporaryFile(const std::filesystem::path& target, Writers writers)
      : path_(TemporaryPath(target, writers)) {
    std::vector<std::byte> descriptor = AccessList(target);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor.data(), FALSE};
    file_ = Handle(::CreateFileW(path_.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ,
                                 descriptor.empty() ? nullptr : &attributes, CREATE_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
    open_error_ = file_ ? 0 : ::GetLastError();
    exists_ = static_cast<bool>(file_);
  }
  ~TemporaryFile() {
    file_ = Handle();
    if (exists_) ::DeleteFileW(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Each step returns the system's error code, 0 for success.
  DWORD Fill(std::string_view content) noexcept {
    if (!exists_) return open_error_;
    while (!content.empty()) {
      const auto piece = static_cast<DWORD>(std::min<std::size_t>(content.size(), 1U << 30));
      DWORD written = 0;
      if (::WriteFile(file_.get(), content.data(), piece, &written, nullptr) == 0)
        return ::GetLastError();
      content.remove_prefix(written);
    }
    // Not flushed to the disk: no program sees a partial file, and only a power cut could lose one.
    return 0;
  }
  DWORD PutInPlaceOf(const std::filesystem::path& target) {
    const bool renamed = RenameOver(file_.get(), target);
    file_ = Handle();
    exists_ = !renamed;
    return renamed ? 0 : MoveOnceReleased(target);
  }

 private:
  DWORD MoveOnceReleased(const std::filesystem::path& target) noexcept {
    for (int attempt = 1;; ++attempt) {
      if (::MoveFileExW(path_.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) != 0) break;
      const DWORD error = ::GetLastError();
      const bool is_held = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
      if (!is_held || attempt == kMoveAttempts || IsNeverReplaced(target)) return error;
      ::Sleep(kMoveRetry);
    }
    exists_ = false;
    return 0;
  }
  // A file without readable attributes is held too: it is being deleted.
  static bool IsNeverReplaced(const std::filesystem::path& path) noexcept {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) != 0;
  }

  std::filesystem::path path_;
  Handle file_;
  DWORD open_error_ = 0;
  bool exists_ = false;
};

}  // namespace

std::optional<FileLock> FileLock::Acquire(const std::filesystem::path& file, std::string& reason) {
  struct Locked {
    // Without this the system releases the lock some time after the file is closed.
    ~Locked() { ::UnlockFileEx(opened.get(), 0, 1, 0, &byte); }
    Handle opened;
    OVERLAPPED byte;
  };
  // One byte far after any content: the lock belongs to this opening and does not affect readers.
  OVERLAPPED byte{};
  byte.OffsetHigh = 0x40000000;
  Handle opened(::CreateFileW(file.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!opened || ::LockFileEx(opened.get(), LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &byte) == 0) {
    reason = SystemErrorText(::GetLastError());
    return std::nullopt;
  }
  return FileLock(std::shared_ptr<Locked>(new Locked{std::move(opened), byte}));
}

FileStamp::FileStamp(const std::filesystem::path& file) : state_(StateOf(file)) {}

bool FileStamp::Matches(const std::filesystem::path& file) const { return StateOf(file) == state_; }

std::filesystem::path LinkTarget(const std::filesystem::path& file) {
  const DWORD attributes = ::GetFileAttributesW(file.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
    return file;
  const Handle opened(::CreateFileW(file.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  std::wstring path(32768, L'\0');
  const DWORD length = ::GetFinalPathNameByHandleW(
      opened.get(), path.data(), static_cast<DWORD>(path.size()), FILE_NAME_NORMALIZED);
  if (length == 0 || length >= path.size()) return file;
  path.resize(length);
  return path;
}

bool ReplaceFileContent(const std::filesystem::path& file, std::string_view content,
                        std::string& reason, Writers writers) {
  const std::filesystem::path target = LinkTarget(file);
  TemporaryFile written(target, writers);
  DWORD error = written.Fill(content);
  if (error == 0) error = written.PutInPlaceOf(target);
  if (error == 0) return true;
  reason = SystemErrorText(error);
  return false;
}

std::optional<OpenedFile> OpenedFile::Open(const std::filesystem::path& file, std::string& reason) {
  Handle opened(::CreateFileW(file.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!opened) {
    reason = SystemErrorText(::GetLastError());
    return std::nullopt;
  }
  LARGE_INTEGER size{};
  if (::GetFileType(opened.get()) != FILE_TYPE_DISK || ::GetFileSizeEx(opened.get(), &size) == 0) {
    reason = "Not a regular file";
    return std::nullopt;
  }
  return OpenedFile(std::move(opened), static_cast<std::uintmax_t>(size.QuadPart));
}

std::optional<std::size_t> OpenedFile::Read(char* room, std::size_t size,
                                            std::string& reason) const {
  const auto piece = static_cast<DWORD>(std::min<std::size_t>(size, 1U << 30));
  DWORD read = 0;
  if (::ReadFile(native_.get(), room, piece, &read, nullptr) != 0) return read;
  reason = SystemErrorText(::GetLastError());
  return std::nullopt;
}

std::optional<std::string> CRuntimePath(const std::filesystem::path& path) {
  const std::wstring& wide = path.native();
  const UINT code_page = ::GetACP();
  BOOL is_altered = FALSE;
  // UTF-8 has every character, and the call refuses to report replaced ones.
  const bool has_all = code_page == CP_UTF8;
  const auto convert = [&](char* narrow, int room) {
    return ::WideCharToMultiByte(code_page, has_all ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS,
                                 wide.data(), static_cast<int>(wide.size()), narrow, room, nullptr,
                                 has_all ? nullptr : &is_altered);
  };
  if (wide.empty() || wide.size() > 32767 || wide.find(L'\0') != std::wstring::npos)
    return std::nullopt;
  std::string narrow(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
  if (narrow.empty() || is_altered != FALSE) return std::nullopt;
  convert(narrow.data(), static_cast<int>(narrow.size()));
  return narrow;
}

}  // namespace orv
