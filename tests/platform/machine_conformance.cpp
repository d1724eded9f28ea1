#include "platform/machine_conformance.h"

#include <gmock/gmock.h>

#include <array>

#include "platform/com_memory.h"
#include "platform/com_ptr.h"
#include "platform/text.h"
#include "support/locale.h"

namespace orv {

namespace {

using testing::UnorderedElementsAre;

constexpr auto kAutoReset = Event::Kind::AutoReset;
constexpr std::chrono::milliseconds kSoon(20000);  // for a signal that must come
constexpr std::chrono::milliseconds kNotNow(0);    // for one that must not have come

TEST_P(MachineConformance, KeysAreMadeWithTheirParentsAndFoundInAnyLetterCase) {
  for (const auto& [path, is_new] : {std::pair(L"Outer\\Inner", true), {L"OUTER\\inner", false}}) {
    KeyPointer key;
    bool created = !is_new;
    ASSERT_EQ(registry().CreateKey(RegRoot::CurrentUser, PathOf(path), kFullAccess, key, &created),
              kRegOk);
    EXPECT_EQ(created, is_new);
  }
  EXPECT_THAT(SubKeyNames(*Open(L"outer", kKeyRead)), UnorderedElementsAre(L"Inner"));
}

TEST_P(MachineConformance, MissingKeysAndBadPathsAreRefused) {
  KeyPointer key = Create(L"");
  EXPECT_EQ(registry().OpenKey(RegRoot::CurrentUser, PathOf(L"absent"), kKeyRead, key),
            kRegNotFound);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(Delete(L"absent"), kRegNotFound);
  EXPECT_NE(registry().OpenKey(RegRoot::CurrentUser, L"\\Software", kKeyRead, key), kRegOk);
}

TEST_P(MachineConformance, TheRootsThemselvesAreOutOfReach) {
  for (const RegRoot root : {RegRoot::LocalMachine, RegRoot::CurrentUser, RegRoot::ClassesRoot}) {
    KeyPointer key = Create(L"");
    EXPECT_EQ(registry().OpenKey(root, L"", kKeyRead, key), kRegInvalidParameter);
    EXPECT_EQ(key, nullptr);
    key = Create(L"");
    EXPECT_EQ(registry().CreateKey(root, L"", kKeyRead, key, nullptr), kRegInvalidParameter);
    EXPECT_EQ(key, nullptr);
    EXPECT_EQ(registry().DeleteTree(root, L""), kRegInvalidParameter);
  }
}

TEST_P(MachineConformance, ValuesOfEveryKindComeBackBitForBit) {
  const KeyPointer key = Create(L"values");
  const std::tuple<const wchar_t*, Bytes, std::uint32_t> values[] = {
      {L"Mixed Case", {1, 2, 3}, kRegBinary},
      {L"", {'u', 0, 0, 0}, kRegSz},
      {L"empty", {}, kRegNone},
      {L"odd text", {0x41}, kRegSz},
      {L"large", Bytes(300000, 0xA5), kRegBinary},
      {L"own kind", {9}, 0x1234}};
  std::vector<std::wstring> names;
  for (const auto& [name, bytes, type] : values) {
    ASSERT_EQ(SetBytes(*key, name, bytes, type), kRegOk);
    names.push_back(name);
  }
  for (const auto& [name, bytes, type] : values) {
    std::uint32_t found = 0xBAD;
    EXPECT_EQ(GetBytes(*key, ToUpperAscii(name)), bytes);
    ASSERT_EQ(key->QueryValue(name, &found, nullptr, nullptr), kRegOk);
    EXPECT_EQ(found, type);
  }
  ASSERT_EQ(SetBytes(*key, L"mixed case", {4}, kRegNone), kRegOk);
  EXPECT_THAT(ValueNames(*key), testing::UnorderedElementsAreArray(names));
}

TEST_P(MachineConformance, TextWithoutItsTerminatorGetsNone) {
  const KeyPointer key = Create(L"");
  for (const std::uint32_t type : {kRegSz, kRegExpandSz, kRegMultiSz}) {
    const Bytes memory = {0, 0, 'a', 0, 'b', 0, 0, 0};  // the text and its surroundings
    for (const std::uint32_t size : {1U, 2U, 3U, 4U}) {
      ASSERT_EQ(key->SetValue(L"v", type, memory.data() + 2, size), kRegOk);
      EXPECT_EQ(GetBytes(*key, L"v"), Bytes(memory.begin() + 2, memory.begin() + 2 + size));
    }
  }
}

TEST_P(MachineConformance, AShortBufferReceivesTheSize) {
  const KeyPointer key = Create(L"");
  ASSERT_EQ(SetBytes(*key, L"v", {1, 2, 3, 4}), kRegOk);
  std::array<std::uint8_t, 4> buffer;
  buffer.fill(0xEE);
  std::uint32_t type = 0xBAD;
  std::uint32_t size = 3;
  EXPECT_EQ(key->QueryValue(L"v", &type, buffer.data(), &size), kRegMoreData);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(buffer.back(), 0xEE);
  EXPECT_EQ(key->QueryValue(L"v", &type, buffer.data(), &size), kRegOk);
  EXPECT_THAT(buffer, testing::ElementsAre(1, 2, 3, 4));

  size = 0xBAD;
  EXPECT_EQ(key->QueryValue(L"v", nullptr, nullptr, &size), kRegOk);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(key->QueryValue(L"v", nullptr, buffer.data(), nullptr), kRegInvalidParameter);
  EXPECT_EQ(key->QueryValue(L"absent", &type, buffer.data(), &size), kRegNotFound);
}

TEST_P(MachineConformance, EnumerationEndsAndDeletionTakesAway) {
  const KeyPointer key = Create(L"");
  for (const wchar_t* name : {L"a", L"b", L"c"}) {
    ASSERT_EQ(SetBytes(*key, name, {1}), kRegOk);
    Create(name);
  }
  EXPECT_EQ(key->DeleteValue(L"B"), kRegOk);
  EXPECT_EQ(key->DeleteValue(L"B"), kRegNotFound);
  EXPECT_THAT(ValueNames(*key), UnorderedElementsAre(L"a", L"c"));
  ASSERT_EQ(Delete(L"A"), kRegOk);
  EXPECT_THAT(SubKeyNames(*key), UnorderedElementsAre(L"b", L"c"));
  std::wstring name = L"poison";
  EXPECT_EQ(key->EnumValue(2, name), kRegNoMoreItems);
  EXPECT_EQ(key->EnumSubKey(2, name), kRegNoMoreItems);
}

TEST_P(MachineConformance, AHandleOfADeletedKeyAnswersSo) {
  const KeyPointer key = Create(L"doomed\\inner");
  ASSERT_EQ(SetBytes(*key, L"v", {1}), kRegOk);
  ASSERT_EQ(Delete(L"doomed"), kRegOk);
  std::uint32_t size = 0;
  EXPECT_EQ(key->QueryValue(L"v", nullptr, nullptr, &size), kRegKeyDeleted);
  EXPECT_EQ(SetBytes(*key, L"v", {2}), kRegKeyDeleted);
  const KeyPointer again = Create(L"doomed\\inner");
  EXPECT_THAT(ValueNames(*again), testing::IsEmpty());
}

TEST_P(MachineConformance, OperationsNeedTheRightTheyWereOpenedWith) {
  KeyPointer full = Create(L"");
  ASSERT_EQ(SetBytes(*full, L"v", {1}), kRegOk);
  Event event(kAutoReset);
  std::wstring name;
  std::uint32_t size = 0;

  const KeyPointer query = Open(L"", kKeyQueryValue | kKeyWow64_64);
  EXPECT_EQ(query->QueryValue(L"v", nullptr, nullptr, &size), kRegOk);
  EXPECT_EQ(query->EnumValue(0, name), kRegOk);
  EXPECT_EQ(SetBytes(*query, L"v", {2}), kRegAccessDenied);
  EXPECT_EQ(query->DeleteValue(L"v"), kRegAccessDenied);
  EXPECT_EQ(query->EnumSubKey(0, name), kRegAccessDenied);
  EXPECT_EQ(query->NotifyChange(false, kNotifyLastSet, event), kRegAccessDenied);
  EXPECT_EQ(SetBytes(*query->Duplicate(), L"v", {2}), kRegAccessDenied);

  const KeyPointer set = Open(L"", kKeySetValue | kKeyWow64_64);
  EXPECT_EQ(set->QueryValue(L"v", nullptr, nullptr, &size), kRegAccessDenied);
  EXPECT_EQ(set->EnumValue(0, name), kRegAccessDenied);
  EXPECT_EQ(SetBytes(*set, L"v", {3}), kRegOk);
  EXPECT_EQ(GetBytes(*full, L"v"), Bytes{3});

  const KeyPointer duplicate = std::exchange(full, nullptr)->Duplicate();
  EXPECT_EQ(SetBytes(*duplicate, L"v", {7}), kRegOk) << "outlives the handle it came from";
  EXPECT_EQ(GetBytes(*duplicate, L"v"), Bytes{7});
}

TEST_P(MachineConformance, AnArmedNotificationSignalsOnceForAChangeThroughAnotherHandle) {
  const KeyPointer watcher = Create(L"");
  const KeyPointer writer = Open(L"", kFullAccess);
  Event event(kAutoReset);
  ASSERT_EQ(watcher->NotifyChange(false, kNotifyLastSet, event), kRegOk);
  EXPECT_FALSE(event.Wait(kNotNow));
  ASSERT_EQ(SetBytes(*writer, L"v", {1}), kRegOk);
  EXPECT_TRUE(event.Wait(kSoon));

  ASSERT_EQ(SetBytes(*writer, L"v", {2}), kRegOk);
  EXPECT_FALSE(event.Wait(kNotNow)) << "not armed again";
  // Whether a change between two armings signals the second one differs between platforms.
  ASSERT_EQ(watcher->NotifyChange(false, kNotifyLastSet, event), kRegOk);
  ASSERT_EQ(writer->DeleteValue(L"v"), kRegOk);
  EXPECT_TRUE(event.Wait(kSoon));
}

TEST_P(MachineConformance, NotificationsKeepToTheirFilterAndTheirKey) {
  // Filter and subtree of the first arming stay with a handle, so each watcher has its own.
  const KeyPointer values = Create(L"watched");
  const KeyPointer names = Open(L"watched", kKeyNotify);
  const KeyPointer below = Open(L"watched", kKeyNotify);
  Event on_values(kAutoReset);
  Event on_names(kAutoReset);
  Event on_below(kAutoReset);
  ASSERT_EQ(values->NotifyChange(false, kNotifyLastSet, on_values), kRegOk);
  ASSERT_EQ(names->NotifyChange(false, kNotifyName, on_names), kRegOk);
  ASSERT_EQ(below->NotifyChange(true, kNotifyLastSet, on_below), kRegOk);

  ASSERT_EQ(SetBytes(*Create(L"beside"), L"v", {1}), kRegOk);
  EXPECT_FALSE(on_names.Wait(kNotNow));
  const KeyPointer child = Create(L"watched\\child");
  EXPECT_TRUE(on_names.Wait(kSoon));
  EXPECT_FALSE(on_below.Wait(kNotNow));
  ASSERT_EQ(SetBytes(*child, L"v", {1}), kRegOk);
  EXPECT_TRUE(on_below.Wait(kSoon));
  EXPECT_FALSE(on_values.Wait(kNotNow));
  ASSERT_EQ(SetBytes(*values, L"v", {1}), kRegOk);
  EXPECT_TRUE(on_values.Wait(kSoon));
}

TEST_P(MachineConformance, ClosingOrDeletingAWatchedKeySignals) {
  KeyPointer closed = Create(L"closed");
  const KeyPointer deleted = Create(L"deleted");
  Event on_close(kAutoReset);
  Event on_delete(kAutoReset);
  ASSERT_EQ(closed->NotifyChange(false, kNotifyLastSet, on_close), kRegOk);
  ASSERT_EQ(deleted->NotifyChange(false, kNotifyName, on_delete), kRegOk);
  closed.reset();
  EXPECT_TRUE(on_close.Wait(kSoon));
  ASSERT_EQ(Delete(L"deleted"), kRegOk);
  EXPECT_EQ(on_delete.Wait(under_test_->deletion_signals() ? kSoon : kNotNow),
            under_test_->deletion_signals());
}

TEST_P(MachineConformance, AnotherMachineOnTheSameStateSeesAndSignalsChanges) {
  Machine* other = under_test_->other();
  if (other == nullptr) GTEST_SKIP() << "this kind of machine keeps its state to itself";
  EXPECT_EQ(other->id(), machine().id());
  const KeyPointer key = Create(L"shared");
  const KeyPointer bystander = Create(L"bystander");
  Event event(kAutoReset);
  Event elsewhere(kAutoReset);
  ASSERT_EQ(key->NotifyChange(false, kNotifyLastSet, event), kRegOk);
  ASSERT_EQ(bystander->NotifyChange(true, kNotifyLastSet | kNotifyName, elsewhere), kRegOk);

  KeyPointer others_key;
  ASSERT_EQ(
      other->registry().OpenKey(RegRoot::CurrentUser, PathOf(L"SHARED"), kFullAccess, others_key),
      kRegOk);
  ASSERT_EQ(SetBytes(*others_key, L"v", {5, 6}), kRegOk);
  EXPECT_TRUE(event.Wait(kSoon));
  EXPECT_EQ(GetBytes(*key, L"v"), (Bytes{5, 6}));
  EXPECT_FALSE(elsewhere.Wait(kNotNow));
  ASSERT_EQ(other->registry().DeleteTree(RegRoot::CurrentUser, PathOf(L"shared")), kRegOk);
  EXPECT_EQ(SetBytes(*key, L"v", {7}), kRegKeyDeleted);
}

TEST_P(MachineConformance, KnownFoldersAndTheSystemDirectoryAreFullPathsWithoutTrailingBackslash) {
  for (const auto& path :
       {machine().KnownFolder(kFolderProgramData), machine().KnownFolder(kFolderProgramFiles),
        machine().SystemDirectory()}) {
    ASSERT_TRUE(path.has_value());
    EXPECT_EQ(path->substr(1, 2), L":\\");
    EXPECT_NE(path->back(), L'\\');
  }
  EXPECT_EQ(machine().KnownFolder(GUID{}), std::nullopt);
}

TEST_P(MachineConformance, NarrowPathsAreThoseOfTheCurrentLocale) {
  const bool has_files = machine().HostPath(L"C:\\a.xml").has_value();
  for (const wchar_t* path : {L"C:\\a\u20ACb.xml", L"C:\\\u4E2D.xml"})
    EXPECT_EQ(machine().HostPath(path), std::nullopt);
  for (const char* name : {"C.UTF-8", ".1252"}) {
    const Locale locale(name);
    if (locale.known) {
      EXPECT_EQ(machine().HostPath(L"C:\\a\u20ACb.xml").has_value(), has_files) << name;
    }
  }
}

TEST_P(MachineConformance, DevicesAreFoundByTheirIdentifiers) {
  ComPtr<IMMDeviceCollection> devices;
  ASSERT_EQ(Devices()->EnumAudioEndpoints(eRender, DEVICE_STATE_ACTIVE, devices.Put()), S_OK);
  UINT count = 0xBAD;
  ASSERT_EQ(devices->GetCount(&count), S_OK);
  ASSERT_GT(count, 0U) << "the machine under test has an active render endpoint";
  ComPtr<IMMDevice> device;
  ASSERT_EQ(devices->Item(0, device.Put()), S_OK);
  DWORD state = 0xBAD;
  EXPECT_EQ(device->GetState(&state), S_OK);
  EXPECT_EQ(state, DEVICE_STATE_ACTIVE);
  const auto endpoint = device.As<IMMEndpoint>();
  ASSERT_TRUE(endpoint);
  EDataFlow flow = eAll;
  EXPECT_EQ(endpoint->GetDataFlow(&flow), S_OK);
  EXPECT_EQ(flow, eRender);
  ComPtr<IMMDevice> found;
  EXPECT_EQ(Devices()->GetDevice(DeviceIdentifier(*device).c_str(), found.Put()), S_OK);
  EXPECT_TRUE(found);
  EXPECT_EQ(Devices()->GetDefaultAudioEndpoint(eRender, eConsole, found.Put()), S_OK);
  EXPECT_TRUE(found);
}

TEST_P(MachineConformance, ThePropertyStoreListsItsPropertiesAndTheFormFactor) {
  ComPtr<IMMDevice> device;
  ComPtr<IPropertyStore> store;
  ASSERT_EQ(Devices()->GetDefaultAudioEndpoint(eRender, eMultimedia, device.Put()), S_OK);
  ASSERT_EQ(device->OpenPropertyStore(STGM_READ, store.Put()), S_OK);
  DWORD count = 0;
  ASSERT_EQ(store->GetCount(&count), S_OK);
  ASSERT_GT(count, 0U);
  bool has_form_factor = false;
  for (DWORD i = 0; i < count; ++i) {
    PROPERTYKEY key{};
    ASSERT_EQ(store->GetAt(i, &key), S_OK);
    UniquePropVariant value;
    ASSERT_EQ(store->GetValue(key, &value), S_OK);
    has_form_factor = has_form_factor || (key.pid == 0 && key.fmtid.Data1 == 0x1DA5D803 &&
                                          value.vt == VT_UI4 && value.ulVal <= 10);
  }
  EXPECT_TRUE(has_form_factor);
  PROPERTYKEY unknown{};
  unknown.pid = 77;
  UniquePropVariant value;
  EXPECT_EQ(store->GetValue(unknown, &value), S_OK);
  EXPECT_EQ(value.vt, VT_EMPTY);
}

TEST_P(MachineConformance, DeviceOperationsRefuseBadArguments) {
  EXPECT_EQ(machine().CreateDeviceEnumerator(nullptr), E_POINTER);
  const auto enumerator = Devices();
  EXPECT_EQ(enumerator->EnumAudioEndpoints(eRender, DEVICE_STATE_ACTIVE, nullptr), E_POINTER);
  ComPtr<IMMDeviceCollection> devices;
  EXPECT_EQ(enumerator->EnumAudioEndpoints(static_cast<EDataFlow>(3), 1, devices.Put()),
            E_INVALIDARG);
  EXPECT_EQ(enumerator->EnumAudioEndpoints(eRender, 0x10, devices.Put()), E_INVALIDARG);
  ASSERT_EQ(enumerator->EnumAudioEndpoints(eAll, DEVICE_STATEMASK_ALL, devices.Put()), S_OK);
  UINT count = 0;
  ASSERT_EQ(devices->GetCount(&count), S_OK);
  ComPtr<IMMDevice> device;
  EXPECT_EQ(devices->Item(count, device.Put()), E_INVALIDARG);
  EXPECT_EQ(devices->Item(0, nullptr), E_POINTER);
  EXPECT_EQ(enumerator->GetDevice(nullptr, device.Put()), E_POINTER);
  EXPECT_TRUE(FAILED(enumerator->GetDevice(L"no device", device.Put())));
  EXPECT_FALSE(device);
  void* object = &count;
  EXPECT_EQ(enumerator->QueryInterface(IID_IMMDevice, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
}

}  // namespace
}  // namespace orv
