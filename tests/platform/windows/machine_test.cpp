// Features of the machine of this process only: drivers, named events, the system's own folders.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>
// windows.h first: the headers below depend on it.
#include <setupapi.h>
#include <winioctl.h>

#include <cstdio>

#include "platform/com_runtime.h"
#include "platform/guid_text.h"
#include "platform/machine_conformance.h"
#include "platform/text.h"
#include "platform/windows/substituted_call.h"
#include "platform/windows/under_wine.h"
#include "platform/windows/windows_machine.h"

namespace orv {
namespace {

TEST(WindowsMachine, OpensNamedEventsThatExistAndSetsThem) {
  WindowsMachine machine;
  constexpr wchar_t kName[] = L"Global\\OrvMachineTestEvent";
  std::uint32_t error = 0xBAD;
  EXPECT_EQ(machine.OpenNamedEvent(kName, error), nullptr);
  EXPECT_EQ(error, kDeviceFileNotFound);

  const HANDLE owner = ::CreateEventW(nullptr, FALSE, FALSE, kName);
  ASSERT_NE(owner, nullptr);
  error = 0xBAD;
  const auto event = machine.OpenNamedEvent(kName, error);
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(error, 0U);
  EXPECT_NE(event->native(), 0U);
  EXPECT_EQ(::WaitForSingleObject(owner, 0), DWORD{WAIT_TIMEOUT});
  event->Set();
  EXPECT_EQ(::WaitForSingleObject(owner, 0), DWORD{WAIT_OBJECT_0});
  ::CloseHandle(owner);
}

// The mount manager is a device that every system has.
TEST(WindowsMachine, SendsRequestsToADeviceAndReportsItsErrors) {
  WindowsMachine machine;
  std::uint32_t error = 0xBAD;
  EXPECT_EQ(machine.OpenDevice(L"\\\\.\\OrvNoSuchDevice", error), nullptr);
  EXPECT_EQ(error, kDeviceFileNotFound);

  const auto device = machine.OpenDevice(L"\\\\.\\MountPointManager", error);
  ASSERT_NE(device, nullptr) << error;
  EXPECT_EQ(error, 0U);
  EXPECT_NE(device->native(), 0U);
  // IOCTL_MOUNTMGR_QUERY_POINTS with an empty pattern lists everything.
  constexpr std::uint32_t kQueryPoints = CTL_CODE('m', 2, METHOD_BUFFERED, FILE_ANY_ACCESS);
  std::array<std::byte, 24> all{};
  std::vector<std::byte> answer(65536);
  std::uint32_t returned = 0xBAD;
  EXPECT_EQ(device->Control(kQueryPoints, all, answer, returned), 0U);
  EXPECT_GT(returned, 8U);

  returned = 0xBAD;
  EXPECT_EQ(device->Control(kQueryPoints, all, std::span(answer).first(32), returned),
            kDeviceMoreData);
  EXPECT_EQ(returned, 0U);
  EXPECT_NE(
      device->Control(CTL_CODE('m', 0x7FF, METHOD_BUFFERED, FILE_ANY_ACCESS), {}, {}, returned),
      0U);
}

// A device of a made-up class, present as long as this lives.
class PresentDevice {
 public:
  static constexpr GUID kClass = {
      0x5B1C0D7E, 0x2A3F, 0x4C61, {0x9D, 0x10, 0x4E, 0x8F, 0x6A, 0x22, 0x71, 0x05}};

  PresentDevice() {
    devices_ = ::SetupDiCreateDeviceInfoList(&kClass, nullptr);
    device_.cbSize = sizeof device_;
    registered_ =
        ::SetupDiCreateDeviceInfoW(devices_, L"ROOT\\ORVTEST\\0000", &kClass, nullptr, nullptr, 0,
                                   &device_) != 0 &&
        ::SetupDiRegisterDeviceInfo(devices_, &device_, 0, nullptr, nullptr, nullptr) != 0 &&
        ::SetupDiCreateDeviceInterfaceW(devices_, &device_, &kClass, nullptr, 0, nullptr) != 0;
  }
  ~PresentDevice() {
    ::SetupDiRemoveDevice(devices_, &device_);
    ::SetupDiDestroyDeviceInfoList(devices_);
  }
  PresentDevice(const PresentDevice&) = delete;
  PresentDevice& operator=(const PresentDevice&) = delete;
  bool registered() const { return registered_; }

  // What a driver does when it starts.
  void Enable() {
    const std::wstring key = L"System\\CurrentControlSet\\Control\\DeviceClasses\\" +
                             GuidText(kClass) + L"\\##?#ROOT#ORVTEST#0000#" + GuidText(kClass) +
                             L"\\#\\Control";
    const DWORD linked = 1;
    EXPECT_EQ(::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"Linked", REG_DWORD, &linked,
                                sizeof linked),
              ERROR_SUCCESS);
  }

 private:
  HDEVINFO devices_;
  SP_DEVINFO_DATA device_{};
  bool registered_ = false;
};

TEST(WindowsMachine, ListsThePresentInterfacesOfAClass) {
  WindowsMachine machine;
  EXPECT_THAT(machine.DeviceInterfaces(PresentDevice::kClass), testing::IsEmpty());
  PresentDevice device;
  ASSERT_TRUE(device.registered());
  EXPECT_THAT(machine.DeviceInterfaces(PresentDevice::kClass), testing::IsEmpty())
      << "not started yet";
  device.Enable();
  const auto paths = machine.DeviceInterfaces(PresentDevice::kClass);
  ASSERT_EQ(paths.size(), 1U);
  EXPECT_TRUE(
      EqualsIgnoringCase(paths[0], L"\\\\?\\ROOT#ORVTEST#0000#" + GuidText(PresentDevice::kClass)));
}

TEST(WindowsRegistry, KeepsToThe64BitView) {
  constexpr wchar_t kPath[] = L"Software\\Orv 64-bit View";
  ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kPath, KEY_WOW64_32KEY, 0);  // left by a failed run
  WindowsMachine machine;
  ASSERT_TRUE(MachineKey(machine, kPath));
  const auto open = [&](REGSAM view) {
    HKEY found = nullptr;
    const LSTATUS status = ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kPath, 0, KEY_READ | view, &found);
    if (status == ERROR_SUCCESS) ::RegCloseKey(found);
    return status;
  };
  EXPECT_EQ(open(KEY_WOW64_64KEY), ERROR_SUCCESS);
  EXPECT_EQ(open(KEY_WOW64_32KEY), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(machine.registry().DeleteTree(RegRoot::LocalMachine, kPath), kRegOk);
  EXPECT_EQ(open(KEY_WOW64_64KEY), ERROR_FILE_NOT_FOUND);
}

ORV_SYSTEM_CALL(notify_call, RegNotifyChangeKeyValue);

TEST(WindowsRegistry, NotifiesOnSystemsThatTieTheWatchToItsThread) {
  static const auto original = notify_call;
  const SubstitutedCall older_system(
      notify_call,
      [](HKEY key, BOOL subtree, DWORD filter, HANDLE event, BOOL asynchronous) -> LSTATUS {
        constexpr DWORD kKnown = 0xF;
        if ((filter & ~kKnown) != 0) return ERROR_INVALID_PARAMETER;
        return original(key, subtree, filter, event, asynchronous);
      });
  constexpr wchar_t kPath[] = L"Software\\Orv Older Notify";
  WindowsMachine machine;
  Event changed(Event::Kind::AutoReset);
  const auto key = MachineKey(machine, kPath, RegRoot::CurrentUser);
  EXPECT_EQ(key->NotifyChange(false, kNotifyLastSet, changed), kRegOk);
  EXPECT_EQ(SetBytes(*key, L"v", {1}), kRegOk);
  EXPECT_TRUE(changed.Wait(std::chrono::seconds(20)));
  EXPECT_EQ(machine.registry().DeleteTree(RegRoot::CurrentUser, kPath), kRegOk);
}

TEST(WindowsMachine, KnowsItsOwnVersionAndFiles) {
  WindowsMachine machine;
  int matches = 0;
  for (const auto& [major, minor] : {std::pair(6, 1), {6, 2}, {6, 3}, {10, 0}})
    matches += machine.IsPlatformVersion(static_cast<std::uint32_t>(major),
                                         static_cast<std::uint32_t>(minor));
  EXPECT_EQ(matches, 1);
  EXPECT_FALSE(machine.Is32BitProcess());

  const std::wstring library = machine.SystemDirectory().value_or(L"") + L"\\kernel32.dll";
  EXPECT_TRUE(machine.FileExists(library));
  EXPECT_FALSE(machine.FileExists(library + L".missing"));
  EXPECT_FALSE(machine.FileExists(library + std::wstring(L"\0x", 2)));
  EXPECT_FALSE(machine.FileExists(L""));
  std::FILE* file = std::fopen(machine.HostPath(library).value_or("").c_str(), "rb");
  EXPECT_NE(file, nullptr);
  if (file != nullptr) std::fclose(file);
  // U+4E2D and U+97F3 are in no western code page; other files may be there.
  const std::wstring beyond = L"C:\\\x4E2D\x97F3\\x.xml";
  EXPECT_EQ(machine.HostPath(beyond), std::nullopt);
  EXPECT_EQ(machine.HostFile(beyond), beyond);
}

class ThisMachine final : public MachineUnderTest {
 public:
  Machine& machine() override { return machine_; }
  Machine* other() override { return &other_; }
  // Seen on Wine 8.0: no signal within 20 s with any filter; a watch on the parent key is
  // signalled.
  bool deletion_signals() const override { return !IsUnderWine(); }

 private:
  ComRuntime runtime_;
  WindowsMachine machine_;
  WindowsMachine other_;
};

INSTANTIATE_TEST_SUITE_P(Windows, MachineConformance,
                         testing::Values(MachineKind{
                             "ThisMachine", [] { return std::make_unique<ThisMachine>(); }}),
                         MachineKindName);

}  // namespace
}  // namespace orv
