// The machine: everything outside the process that this component reads or changes. One
// implementation uses the platform's own calls, one a folder that simulates a machine.
#pragma once

#include <atomic>
#include <boost/core/noncopyable.hpp>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orv_apo/com.h"
#include "platform/device_io.h"
#include "platform/multimedia.h"
#include "platform/registry.h"

namespace orv {

class Machine : boost::noncopyable {
 public:
  virtual ~Machine() = default;

  // Identifies the machine within this process. Objects that are opened on the same machine (the
  // platform's own, or the same folder), at once or one after another, have the same number.
  std::uint64_t id() const noexcept { return id_; }

  virtual Registry& registry() = 0;

  // The multimedia device enumerator, with one reference for the caller; a negative status if
  // there is none.
  virtual HRESULT CreateDeviceEnumerator(IMMDeviceEnumerator** enumerator) = 0;

  // Paths of the present devices' interfaces of a class, in the system's order; empty if there
  // are none.
  virtual std::vector<std::wstring> DeviceInterfaces(REFGUID interface_class) = 0;
  // Opens such a path for reading and writing, shared for both. Null with a system error code if
  // it does not open.
  virtual std::unique_ptr<DeviceFile> OpenDevice(const std::wstring& path,
                                                 std::uint32_t& error) = 0;
  // Opens an event that exists already, with every right; null with a system error code if it
  // does not open.
  virtual std::unique_ptr<NamedEvent> OpenNamedEvent(const std::wstring& name,
                                                     std::uint32_t& error) = 0;

  // Path of a known folder without a trailing backslash; nullopt if there is none.
  virtual std::optional<std::wstring> KnownFolder(REFGUID folder) = 0;
  virtual std::optional<std::wstring> SystemDirectory() = 0;
  // True if the platform is version major.minor with any service pack.
  virtual bool IsPlatformVersion(std::uint32_t major, std::uint32_t minor) = 0;
  // True for a 32-bit process on a 64-bit platform.
  virtual bool Is32BitProcess() = 0;

  // True if a file or folder exists under this path of the platform ("C:\...").
  virtual bool FileExists(const std::wstring& path) = 0;
  // The path under which the system that this process runs on has that file; nullopt if there
  // is none. The file need not exist.
  virtual std::optional<std::filesystem::path> HostFile(const std::wstring& path) = 0;
  // The narrow path under which the C runtime opens that file; nullopt also if the path does not
  // convert to narrow text in the current C locale (in the default locale U+0001 to U+00FF do), if
  // the host has no narrow name for the file, or on a simulated machine if there is no regular file
  // under this name but something else.
  virtual std::optional<std::string> HostPath(const std::wstring& path) = 0;

 protected:
  // By default a machine of its own.
  explicit Machine(std::uint64_t id = NewId()) noexcept : id_(id) {}
  // A number that no other machine of this process has.
  static std::uint64_t NewId() noexcept {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
  }

 private:
  std::uint64_t id_;
};

inline constexpr GUID kFolderProgramData = {
    0x62AB5D82, 0xFDC1, 0x4DC3, {0xA9, 0xDD, 0x07, 0x0D, 0x1D, 0x49, 0x5D, 0x97}};
inline constexpr GUID kFolderProgramFiles = {
    0x905E63B6, 0xC1BF, 0x494E, {0xB2, 0x9C, 0x65, 0xB7, 0x32, 0xD3, 0xD2, 0x1A}};

}  // namespace orv
