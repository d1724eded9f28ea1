// Requests to the Skylake driver's wave filter and its answers, as laid out in memory.
// Little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "platform/device_topology.h"
#include "platform/diagnostics.h"

namespace orv::skylake {

inline constexpr GUID kPropertySet = {
    0xBAE9CE37, 0xAA99, 0x4BC7, {0x9B, 0xDF, 0x4C, 0xBF, 0x3D, 0x23, 0xE1, 0xB9}};
inline constexpr GUID kPostProcessingInterface = {
    0xC18E2F7E, 0x933D, 0x4965, {0xB7, 0xD1, 0x1E, 0xEF, 0x22, 0x8D, 0x2A, 0xF3}};
inline constexpr GUID kModuleId = {
    0xE1284052, 0x8664, 0x4FE4, {0xA3, 0x53, 0x38, 0x78, 0xF7, 0x27, 0x04, 0xC3}};
// The platform's own property set of audio engine nodes.
inline constexpr GUID kAudioEngineSet = {
    0x3A2F82DC, 0x886F, 0x4BAA, {0x9E, 0xB4, 0x08, 0x2B, 0x90, 0x25, 0xC5, 0x36}};
inline constexpr std::uint32_t kAudioEngineDescriptor = 6;

enum Property : std::uint32_t {
  kInterfaceVersion = 0,
  kModuleList = 1,
  kModuleStatus = 2,
  kParameterBlock = 3,
  kRegisterEvent = 4,
  kUnregisterEvent = 5,
  kInstanceStatus = 6,
};
inline constexpr std::uint32_t kGet = 1;
inline constexpr std::uint32_t kSet = 2;
inline constexpr std::uint32_t kGetFromNode = 0x10000001;

inline constexpr std::uint8_t kSupportedInterface = 1;
inline constexpr std::size_t kLargestBlock = 64000;

#pragma pack(push, 1)

struct NodeProperty {
  GUID set;
  std::uint32_t property;
  std::uint32_t flags;
  std::uint32_t node;
  std::uint32_t reserved;
};
static_assert(sizeof(NodeProperty) == 32 && offsetof(NodeProperty, set) == 0);
static_assert(offsetof(NodeProperty, property) == 16 && offsetof(NodeProperty, flags) == 20);
static_assert(offsetof(NodeProperty, node) == 24 && offsetof(NodeProperty, reserved) == 28);

struct ModuleListRequest {
  NodeProperty header;
  GUID interface_id;
};
static_assert(sizeof(ModuleListRequest) == 48 && offsetof(ModuleListRequest, interface_id) == 32);

struct ModuleRequest {
  NodeProperty header;
  GUID interface_id;
  std::uint32_t type;
  GUID module_id;
};
static_assert(sizeof(ModuleRequest) == 68 && offsetof(ModuleRequest, interface_id) == 32);
static_assert(offsetof(ModuleRequest, type) == 48 && offsetof(ModuleRequest, module_id) == 52);

struct ParameterRequest {
  ModuleRequest module;
  std::uint32_t parameter;  // 0 for requests that are not about a block
  std::uint8_t apply;
};
static_assert(sizeof(ParameterRequest) == 73 && offsetof(ParameterRequest, parameter) == 68);
static_assert(offsetof(ParameterRequest, apply) == 72);

struct VersionAnswer {
  std::uint8_t version;
  std::uint8_t features;
  std::uint8_t unused[2];
  std::uint8_t revision;
};
static_assert(sizeof(VersionAnswer) == 5 && offsetof(VersionAnswer, features) == 1);
static_assert(offsetof(VersionAnswer, revision) == 4);

struct ModuleListHeader {
  std::uint32_t total_size;
  std::uint32_t count;
};
static_assert(sizeof(ModuleListHeader) == 8 && offsetof(ModuleListHeader, count) == 4);

struct ModuleEntry {
  std::uint32_t type;
  GUID id;
  char name[64];  // zero-terminated unless full
  char version[64];
};
static_assert(sizeof(ModuleEntry) == 148 && offsetof(ModuleEntry, id) == 4);
static_assert(offsetof(ModuleEntry, name) == 20 && offsetof(ModuleEntry, version) == 84);

// A parameter block is sent after its size.
struct BlockBuffer {
  std::uint32_t size;
  std::byte data[kLargestBlock];
};
static_assert(sizeof(BlockBuffer) == 64004 && offsetof(BlockBuffer, data) == 4);

// Pins of an audio engine node.
struct EngineDescriptor {
  std::uint32_t host_pin;
  std::uint32_t offload_pin;
  std::uint32_t loopback_pin;
};
static_assert(sizeof(EngineDescriptor) == 12 && offsetof(EngineDescriptor, offload_pin) == 4);

#pragma pack(pop)

// One property request; the platform wants it aligned.
template <class Request>
HRESULT SendProperty(IKsControl& control, const Request& request, void* data, std::size_t size,
                     ULONG& returned) {
  alignas(8) std::byte bytes[sizeof request];
  std::memcpy(bytes, &request, sizeof request);
  returned = 0;
  return control.KsProperty(reinterpret_cast<PKSPROPERTY>(bytes), sizeof request, data,
                            static_cast<ULONG>(size), &returned);
}
template <class Request, class Value>
HRESULT SetProperty(IKsControl& control, const Request& request, Value value) {
  ULONG returned = 0;
  return SendProperty(control, request, &value, sizeof value, returned);
}
// Fails if the answer is not complete.
template <class Request, class Answer>
HRESULT GetProperty(IKsControl& control, const Request& request, Answer& answer) {
  ULONG returned = 0;
  const HRESULT status = SendProperty(control, request, &answer, sizeof answer, returned);
  return SUCCEEDED(status) && returned < sizeof answer ? E_FAIL : status;
}

// Reports a failure under its text. Returns the status.
inline HRESULT Report(const DiagnosticSite& site, const wchar_t* text, HRESULT status) {
  if (FAILED(status)) Diagnose(site, text, status);
  return status;
}

}  // namespace orv::skylake
