// The system object and the scan for endpoints.
#include "api_fixture.h"
#include "config/technology_library.h"
#include "platform/dynamic_library.h"
#include "support/failing_allocator.h"

namespace orv {
namespace {

class SystemTest : public ApiTest {
 protected:
  std::wstring NextName(IORVEndpointEnumerator& endpoints) {
    ComPtr<IORVEndpointInfo> endpoint;
    const HRESULT status = endpoints.Next(endpoint.Put());
    if (status == S_FALSE) return L"(end)";
    EXPECT_EQ(status, S_OK);
    BSTR name = nullptr;
    EXPECT_EQ(endpoint->get_RegistryPath(&name), S_OK);
    return TakeText(name);
  }
};

TEST_F(SystemTest, FirstPathStaysInForceAndNoneMeansTheComponentsOwnFolder) {
  const auto system = Create<IORVAPOSystem>(CLSID_ORVAPOSystem);
  auto* endpoints = Poison<IORVEndpointEnumerator>();
  EXPECT_EQ(system->EnumerateORVEndpoints(nullptr), E_POINTER);
  EXPECT_EQ(system->EnumerateORVEndpoints(&endpoints), static_cast<HRESULT>(0x801F0007));
  EXPECT_EQ(orv_apo::kAborted, static_cast<HRESULT>(0x80004004));
  EXPECT_EQ(endpoints, Poison<IORVEndpointEnumerator>());
  EXPECT_EQ(system->InitializeSystem(Bstr(L"C:\\Tools")), S_OK);
  EXPECT_EQ(system->InitializeSystem(Bstr(L"C:\\Other\\")), 1247);
  EXPECT_EQ(ORVAPOProcessLibrary::LibraryPath(*machine_), L"C:\\Tools\\kxtech64.dll");

  const std::wstring own = RemoveLastPathElement(OwnModulePath()) + L"\\kxtech64.dll";
  const Bstr empty(L"");
  for (const BSTR path : {static_cast<BSTR>(nullptr), static_cast<BSTR>(empty)}) {
    EXPECT_EQ(Create<IORVAPOSystem>(CLSID_ORVAPOSystem)->InitializeSystem(Bstr(L"C:\\x")), S_OK);
    EXPECT_EQ(ORVAPOProcessLibrary::LibraryPath(*machine_), L"C:\\x\\kxtech64.dll");
    EXPECT_EQ(Create<IORVAPOSystem>(CLSID_ORVAPOSystem)->InitializeSystem(path), S_OK);
    EXPECT_EQ(ORVAPOProcessLibrary::LibraryPath(*machine_), own);
  }
}

TEST_F(SystemTest, EndpointsWithoutLoadableConfigurationAreLeftOut) {
  AddEndpoint(kHeadphones, "<something_else/>");
  AddEndpoint(L"{C1A0B9E8-0000-4B5A-9483-726150FFEEDD}", kTwoModes).state = DEVICE_STATE_UNPLUGGED;
  AddEndpoint(kMicrophone, kTwoModes);
  machine_->description().program_files.reset();  // the default file's folder
  machine_.AddSpeakers(L"{C1A0B9E8-0001-4B5A-9483-726150FFEEDD}");
  const DiagnosticLog log;
  const auto endpoints = Endpoints();
  EXPECT_EQ(NextName(*endpoints), ApoKey(kSpeakers));
  EXPECT_EQ(NextName(*endpoints), ApoKey(kMicrophone));
  EXPECT_EQ(NextName(*endpoints), L"(end)");
  ExpectLines(
      log,
      {L"| CORVEndpointEnumerator::FinalConstruct | CORVEndpointEnumerator found 4 endpoints\n",
       L"| CORVEndpointEnumerator::FinalConstruct | CORVEndpointEnumerator: 2 "
       L"endpoints remaining after checking config file.",
       L"| CORVEndpointEnumerator::CantLoadConfigFile | Load code: 6\n",
       L"::CantLoadConfigFile | No config file specified.\n",
       L"CORVEndpointEnumerator::CreateEnumerator status 0x0, e: 0x0000"});
}

TEST_F(SystemTest, EmptyMachineGivesAnEmptyEnumerator) {
  machine_->description().endpoints.clear();
  const auto endpoints = Endpoints();
  auto* endpoint = Poison<IORVEndpointInfo>();
  EXPECT_EQ(endpoints->Next(nullptr), E_POINTER);
  EXPECT_EQ(endpoints->Next(&endpoint), S_FALSE);
  EXPECT_EQ(endpoint, nullptr);

  machine_->faults().FailAlways("devices.create_enumerator", E_ACCESSDENIED);
  EXPECT_EQ(NextName(*Endpoints()), L"(end)");
}

TEST_F(SystemTest, SnapshotIsWalkedAgainAfterReset) {
  const auto endpoints = Endpoints();
  AddEndpoint(kHeadphones, kTwoModes);
  for (int pass = 0; pass < 2; ++pass) {
    EXPECT_EQ(NextName(*endpoints), ApoKey(kSpeakers));
    EXPECT_EQ(NextName(*endpoints), L"(end)");
    EXPECT_EQ(NextName(*endpoints), L"(end)");
    EXPECT_EQ(endpoints->Reset(), S_OK);
  }
  EXPECT_EQ(NextName(*Endpoints()), ApoKey(kSpeakers));
}

TEST_F(SystemTest, EndpointThatCannotBeMadeIsPassedOver) {
  AddEndpoint(kHeadphones, kTwoModes);
  const auto endpoints = Endpoints();
  auto* endpoint = Poison<IORVEndpointInfo>();
  {
    const FailingAllocations failing(1);
    EXPECT_EQ(endpoints->Next(&endpoint), E_OUTOFMEMORY);
  }
  EXPECT_EQ(endpoint, nullptr);
  EXPECT_EQ(NextName(*endpoints), ApoKey(kHeadphones));
  EXPECT_EQ(NextName(*endpoints), L"(end)");
}

TEST_F(SystemTest, EndpointIsFoundByItsDeviceWhateverTheLetterCase) {
  AddEndpoint(kHeadphones, kTwoModes);
  const auto endpoints = Endpoints();
  std::wstring id = EndpointMachine::DeviceId(kHeadphones);
  std::transform(id.begin(), id.end(), id.begin(), FoldAscii);
  ComPtr<IORVEndpointInfo> found[2];
  EXPECT_EQ(endpoints->GetEndpointFromDevice(Bstr(id), found[0].Put()), S_OK);
  EXPECT_EQ(endpoints->GetEndpointFromDevice(Bstr(ToUpperAscii(id)), found[1].Put()), S_OK);
  EXPECT_NE(found[0].get(), found[1].get());
  EXPECT_EQ(NextName(*endpoints), ApoKey(kSpeakers));
  auto* endpoint = Poison<IORVEndpointInfo>();
  EXPECT_EQ(endpoints->GetEndpointFromDevice(nullptr, &endpoint), E_POINTER);
  EXPECT_EQ(endpoints->GetEndpointFromDevice(Bstr(id), nullptr), E_POINTER);
  EXPECT_EQ(endpoint, Poison<IORVEndpointInfo>());
  EXPECT_EQ(endpoints->GetEndpointFromDevice(Bstr(id + L"x"), &endpoint), E_INVALIDARG);
  EXPECT_EQ(endpoint, nullptr);

  machine_->faults().FailAlways("device.get_id", E_FAIL);
  EXPECT_EQ(endpoints->GetEndpointFromDevice(Bstr(id), &endpoint), E_INVALIDARG);
}

}  // namespace
}  // namespace orv
