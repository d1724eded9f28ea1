// Client of the Broadwell driver's post-processing module, over device I/O control, and the records
// of its interface as laid out in memory. Little-endian.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "intel_dsp/drivers.h"
#include "platform/diagnostics.h"
#include "platform/machine.h"

namespace orv::broadwell {

inline constexpr GUID kDeviceInterface = {
    0x75A73EF4, 0x699E, 0x4E19, {0xAC, 0xAC, 0x86, 0x31, 0xA3, 0x09, 0x5A, 0xD7}};

// Control codes: device type 0x22, read and write access, direct output, functions 0x976 and 0x977.
inline constexpr std::uint32_t kGetCode = 0x22E5DA;
inline constexpr std::uint32_t kSetCode = 0x22E5DE;

inline constexpr std::uint32_t kPostProcessingModule = 9;

enum Command : std::uint32_t {
  kGetVersion = 10,
  kGetModuleInfo = 11,
  kSetStatus = 13,
  kSetParameter = 14,
  kGetParameter = 15,
};

inline constexpr std::size_t kLargestParameter = 64000;

#pragma pack(push, 1)

// Input of every request.
struct RequestHeader {
  std::uint32_t module;
  std::uint32_t zero;
  std::uint32_t command;
  std::uint32_t size;  // of this header and the output record
};
static_assert(sizeof(RequestHeader) == 16);
static_assert(offsetof(RequestHeader, module) == 0 && offsetof(RequestHeader, zero) == 4);
static_assert(offsetof(RequestHeader, command) == 8 && offsetof(RequestHeader, size) == 12);

// Outputs; for set commands the driver reads them as well.
struct VersionRecord {
  std::int32_t status;
  std::uint8_t version;
  std::uint8_t features;
};
static_assert(sizeof(VersionRecord) == 6 && offsetof(VersionRecord, status) == 0);
static_assert(offsetof(VersionRecord, version) == 4 && offsetof(VersionRecord, features) == 5);

struct ModuleInfoRecord {
  std::int32_t status;
  char name[64];  // zero-terminated unless full
  char version[64];
};
static_assert(sizeof(ModuleInfoRecord) == 132 && offsetof(ModuleInfoRecord, status) == 0);
static_assert(offsetof(ModuleInfoRecord, name) == 4 && offsetof(ModuleInfoRecord, version) == 68);

struct StatusRecord {
  std::int32_t status;
  std::uint8_t ones[2];
};
static_assert(sizeof(StatusRecord) == 6 && offsetof(StatusRecord, status) == 0);
static_assert(offsetof(StatusRecord, ones) == 4);

struct ParameterRecord {
  std::int32_t status;
  std::uint32_t parameter;
  std::uint8_t apply;
  std::uint32_t reserved;
  std::uint32_t size;
  std::byte data[kLargestParameter];
};
static_assert(sizeof(ParameterRecord) == 64017 && offsetof(ParameterRecord, status) == 0);
static_assert(offsetof(ParameterRecord, parameter) == 4 && offsetof(ParameterRecord, apply) == 8);
static_assert(offsetof(ParameterRecord, reserved) == 9 && offsetof(ParameterRecord, size) == 13);
static_assert(offsetof(ParameterRecord, data) == 17);

#pragma pack(pop)

// Used by one thread at a time. Without an opened driver every request fails.
class ORVAPOIntelDriverInterface_BRW final : public BroadwellDriver, boost::noncopyable {
 public:
  // Opens the machine's driver and switches its module on; `status` is E_FAIL if there is no
  // driver to open.
  ORVAPOIntelDriverInterface_BRW(Machine& machine, HRESULT& status, std::uint32_t module_number);

  // These succeed if the driver was reached and its status is not negative.
  bool GetAPIVersion(HRESULT& status, std::uint8_t& version, std::uint8_t& features);
  bool GetModuleInfo(HRESULT& status, std::string& name, std::string& version);
  bool SetStatus(HRESULT& status);

  // An answer with fewer bytes than `size` is completed with zeros; see short_answer().
  bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size,
                    std::uint8_t apply) override;
  bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                    std::uint32_t size, std::uint8_t apply) override;
  bool short_answer() const override { return short_answer_; }
  std::uint32_t last_error() const override { return last_error_; }

 private:
  // One request; false if the I/O control fails. Keeps the system's error.
  bool Control(std::uint32_t code, Command command, std::span<std::byte> output,
               std::uint32_t& returned);
  // A request with an answer of its own; reports a failure.
  template <class Record>
  bool Exchange(std::uint32_t code, Command command, Record& record, HRESULT& status,
                const DiagnosticSite& site, const wchar_t* failure);
  bool Prepare(HRESULT& status, std::uint32_t parameter, std::uint32_t size, std::uint8_t apply);

  std::unique_ptr<DeviceFile> device_;
  std::uint32_t module_;
  std::uint32_t last_error_ = 0;
  bool short_answer_ = false;
  std::unique_ptr<ParameterRecord> record_;  // every parameter request moves all of it
};

}  // namespace orv::broadwell

namespace orv {

using broadwell::ORVAPOIntelDriverInterface_BRW;

}  // namespace orv
