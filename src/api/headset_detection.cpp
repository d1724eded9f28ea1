#include "api/headset_detection.h"

#include <string>

#include "endpoints/endpoint_registry.h"
#include "platform/diagnostics.h"
#include "platform/text.h"

namespace orv {
namespace {

constexpr wchar_t kConexantVendor[] = L"VEN_14F1";
constexpr wchar_t kIdtVendor[] = L"VEN_111D";
constexpr wchar_t kRealtekVendor[] = L"VEN_10EC";

// Null if the key cannot be opened.
std::unique_ptr<RegistryKey> OpenForQuery(Machine& machine, const std::wstring& path) {
  std::unique_ptr<RegistryKey> key;
  if (machine.registry().OpenKey(RegRoot::LocalMachine, path, kQueryAccess, key) != kRegOk)
    key.reset();
  return key;
}

// The Render branch whatever the endpoint's direction.
std::unique_ptr<RegistryKey> OpenEndpointKey(const ORVAPOEndpointInfo& endpoint,
                                             const wchar_t* subkey) {
  return OpenForQuery(endpoint.machine(), EndpointKeyPath(true, endpoint.guid_text(), subkey));
}

// Returns true if the endpoint's hardware identifier holds the vendor's.
bool ContainsVendorID(RegistryKey& properties, const wchar_t* vendor) {
  std::array<std::uint8_t, 512> bytes{};
  std::uint32_t type = kRegNone;
  auto size = static_cast<std::uint32_t>(bytes.size());
  if (properties.QueryValue(kHardwareIdentifierValue, &type, bytes.data(), &size) != kRegOk)
    return false;
  if (type != kRegSz && type != kRegExpandSz) return false;
  const auto text = RegistryText(bytes.data(), size);
  if (!text) return false;
  Diagnose(ORV_HERE("CORVCOMEndpointInfo::ContainsVendorID"), L"Read VID buffer: %s\n", *text);
  return ToUpperAscii(*text).find(vendor) != std::wstring::npos;
}

bool ReadFlag(RegistryKey& key, const wchar_t* name, LONG& flag) {
  std::uint32_t number = 0;
  std::uint32_t type = kRegNone;
  std::uint32_t size = sizeof number;
  if (key.QueryValue(name, &type, &number, &size) != kRegOk || type != kRegDword) return false;
  flag = number != 0 ? 1 : 0;
  return true;
}

bool ReadConexantRecord(const ORVAPOEndpointInfo& endpoint, LONG& connected) {
  const auto properties = OpenEndpointKey(endpoint, kPropertiesSubkey);
  if (properties == nullptr) return false;
  constexpr std::uint8_t kHeadsetRecord = 11;
  std::array<std::uint8_t, 128> record{};
  std::uint32_t type = kRegNone;
  auto size = static_cast<std::uint32_t>(record.size());
  const RegStatus status = properties->QueryValue(kHeadsetBlockValue, &type, record.data(), &size);
  if (status != kRegOk || type != kRegBinary) {
    Diagnose(ORV_HERE("CORVCOMEndpointInfo::IsConexantConnected"),
             L"Can't get headset info buffer\n");
    return false;
  }
  Diagnose(ORV_HERE("CORVCOMEndpointInfo::IsConexantConnected"), L"Got headset info buffer\n");
  if (record[0] != kHeadsetRecord) return false;
  connected = record[8] == 255 && record[9] == 255 ? 0 : 1;
  Diagnose(ORV_HERE("CORVCOMEndpointInfo::IsConexantConnected"),
           L"Found Conexant headset key, connected: %d\n", connected);
  return true;
}

// The first time that the properties key opens, finds out whether the endpoint belongs to the
// vendor.
bool BelongsTo(const wchar_t* vendor, const ORVAPOEndpointInfo& endpoint,
               HeadsetDetection& detection) {
  if (detection.probed) return detection.vendor;
  const auto properties = OpenEndpointKey(endpoint, kPropertiesSubkey);
  if (properties == nullptr) return false;
  detection.vendor = ContainsVendorID(*properties, vendor);
  detection.probed = true;
  return detection.vendor;
}

bool IsConexantConnected(const ORVAPOEndpointInfo& endpoint, LONG& connected,
                         HeadsetDetection& detection) {
  if (detection.probed && !detection.vendor) return false;
  const bool handled =
      BelongsTo(kConexantVendor, endpoint, detection) && ReadConexantRecord(endpoint, connected);
  Diagnose(ORV_HERE("CORVCOMEndpointInfo::IsConexantConnected"),
           L"IsConexantConnected returning %d, headset: %d\n", handled ? 1 : 0, connected);
  return handled;
}

bool IsIdtConnected(const ORVAPOEndpointInfo& endpoint, LONG& connected,
                    HeadsetDetection& detection) {
  if (!BelongsTo(kIdtVendor, endpoint, detection)) return false;
  const auto state = OpenForQuery(endpoint.machine(), kIdtStateKey);
  return state != nullptr && ReadFlag(*state, kIdtHeadsetValue, connected);
}

// Probes a single time, whether or not the key opens; its vendor's endpoints are always decided.
bool IsRealtekConnected(const ORVAPOEndpointInfo& endpoint, LONG& connected,
                        HeadsetDetection& detection) {
  const bool is_vendor = BelongsTo(kRealtekVendor, endpoint, detection);
  detection.probed = true;
  if (!is_vendor) return false;
  connected = 0;
  const auto effects = OpenEndpointKey(endpoint, kEffectPropertiesSubkey);
  if (effects == nullptr) return true;
  ReadFlag(*effects, kRealtekFirstValue, connected);
  if (connected == 0) ReadFlag(*effects, kRealtekSecondValue, connected);
  return true;
}

}  // namespace

HeadsetDetectors MakeHeadsetDetectors() {
  return {{{IsConexantConnected}, {IsIdtConnected}, {IsRealtekConnected}}};
}

}  // namespace orv
