// A driver that keeps every message as it came, on a machine that has nothing else.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/machine.h"
#include "qc_dsp/qualcomm_records.h"

namespace orv {

using Bytes = std::vector<std::byte>;

struct FakeDriver {
  std::vector<Bytes> messages;
  int open_files = 0;
  std::uint32_t answer = 0;  // system error code of every request
};

class FakeDeviceFile : public DeviceFile {
 public:
  explicit FakeDeviceFile(FakeDriver& driver) : driver_(driver) { ++driver_.open_files; }
  ~FakeDeviceFile() override { --driver_.open_files; }

  std::uint32_t Control(std::uint32_t code, std::span<const std::byte> input,
                        std::span<std::byte> output, std::uint32_t& returned) override {
    EXPECT_EQ(code, 0x90002C00U);
    EXPECT_TRUE(output.empty());
    returned = 0;
    driver_.messages.emplace_back(input.begin(), input.end());
    return driver_.answer;
  }
  std::uintptr_t native() const noexcept override { return 1; }

 private:
  FakeDriver& driver_;
};

// Interfaces in the class of the driver by path; only those that are said to open do.
class DriverMachine : public Machine {
 public:
  explicit DriverMachine(FakeDriver& driver) : driver_(driver) {}

  std::vector<std::pair<std::wstring, bool>> interfaces = {{L"\\\\?\\audio#0", true}};
  std::vector<std::wstring> opened;

  std::vector<std::wstring> DeviceInterfaces(REFGUID interface_class) override {
    const GUID expected = {
        0x83BF8857, 0x5742, 0x4B77, {0x98, 0x8D, 0x1B, 0x7E, 0x96, 0x04, 0xE9, 0x8D}};
    EXPECT_TRUE(interface_class == expected);
    std::vector<std::wstring> paths;
    for (const auto& [path, opens] : interfaces) paths.push_back(path);
    return paths;
  }
  std::unique_ptr<DeviceFile> OpenDevice(const std::wstring& path, std::uint32_t& error) override {
    opened.push_back(path);
    for (const auto& [known, opens] : interfaces) {
      if (known == path && opens) return std::make_unique<FakeDeviceFile>(driver_);
    }
    error = kDeviceAccessDenied;
    return nullptr;
  }

  Registry& registry() override { throw std::logic_error("no registry is asked for"); }
  HRESULT CreateDeviceEnumerator(IMMDeviceEnumerator**) override { return E_NOTIMPL; }
  std::unique_ptr<NamedEvent> OpenNamedEvent(const std::wstring&, std::uint32_t&) override {
    return nullptr;
  }
  std::optional<std::wstring> KnownFolder(REFGUID) override { return {}; }
  std::optional<std::wstring> SystemDirectory() override { return {}; }
  bool IsPlatformVersion(std::uint32_t, std::uint32_t) override { return false; }
  bool Is32BitProcess() override { return false; }
  bool FileExists(const std::wstring&) override { return false; }
  std::optional<std::filesystem::path> HostFile(const std::wstring&) override { return {}; }
  std::optional<std::string> HostPath(const std::wstring&) override { return {}; }

 private:
  FakeDriver& driver_;
};

inline std::int64_t Number(const Bytes& bytes, std::size_t offset, FieldType type) {
  if (offset + FieldWidth(type) > bytes.size()) {
    ADD_FAILURE() << "nothing at " << offset << " of " << bytes.size() << " bytes";
    return 0;
  }
  return ReadField(bytes, offset, type);
}
inline std::uint32_t ParameterOf(const Bytes& message) {
  return static_cast<std::uint32_t>(Number(message, 0, FieldType::U32));
}

}  // namespace orv
