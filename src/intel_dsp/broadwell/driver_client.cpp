#include "intel_dsp/broadwell/driver_client.h"

#include <cstring>

#include "platform/diagnostics.h"

namespace orv::broadwell {
namespace {

constexpr std::uintptr_t kNoHandle = ~std::uintptr_t{0};

template <class Record>
std::span<std::byte> BytesOf(Record& record) {
  return std::as_writable_bytes(std::span(&record, 1));
}

}  // namespace

ORVAPOIntelDriverInterface_BRW::ORVAPOIntelDriverInterface_BRW(Machine& machine, HRESULT& status,
                                                               std::uint32_t module_number)
    : module_(module_number), record_(std::make_unique<ParameterRecord>()) {
  for (const std::wstring& path : machine.DeviceInterfaces(kDeviceInterface)) {
    device_ = machine.OpenDevice(path, last_error_);
    if (device_ != nullptr) break;
  }
  Diagnose(ORV_HERE("ORVAPOIntelDriverInterface_BRW::OpenIntelDriver"),
           L"Broadwell OpenIntelDriver() returned handle 0x%x\n",
           device_ != nullptr ? device_->native() : kNoHandle);
  status = device_ != nullptr ? S_OK : E_FAIL;
  if (device_ == nullptr) return;
  HRESULT module_status = E_FAIL;
  SetStatus(module_status);
}

bool ORVAPOIntelDriverInterface_BRW::Control(std::uint32_t code, Command command,
                                             std::span<std::byte> output, std::uint32_t& returned) {
  returned = 0;
  RequestHeader header = {module_, 0, command,
                          static_cast<std::uint32_t>(sizeof(RequestHeader) + output.size())};
  const std::uint32_t error = device_ == nullptr
                                  ? kDeviceInvalidHandle
                                  : device_->Control(code, BytesOf(header), output, returned);
  last_error_ = error;
  return error == 0;
}

template <class Record>
bool ORVAPOIntelDriverInterface_BRW::Exchange(std::uint32_t code, Command command, Record& record,
                                              HRESULT& status, const DiagnosticSite& site,
                                              const wchar_t* failure) {
  std::uint32_t returned = 0;
  const bool answered = Control(code, command, BytesOf(record), returned);
  status = answered ? record.status : E_FAIL;
  if (!answered) Diagnose(site, failure, last_error_);
  return answered;
}

bool ORVAPOIntelDriverInterface_BRW::GetAPIVersion(HRESULT& status, std::uint8_t& version,
                                                   std::uint8_t& features) {
  const DiagnosticSite here = ORV_HERE("ORVAPOIntelDriverInterface_BRW::GetAPIVersion");
  VersionRecord record = {};
  if (!Exchange(kGetCode, kGetVersion, record, status, here,
                L"Intel GetAPIVersion DeviceIoControl failed, error %d\n"))
    return false;
  if (SUCCEEDED(status)) {
    version = record.version;
    features = record.features;
  }
  Diagnose(here, L"Intel GetAPIVersion: 0x%x, %d %d\n", status, record.version, record.features);
  return SUCCEEDED(status);
}

bool ORVAPOIntelDriverInterface_BRW::GetModuleInfo(HRESULT& status, std::string& name,
                                                   std::string& version) {
  const DiagnosticSite here = ORV_HERE("ORVAPOIntelDriverInterface_BRW::GetModuleInfo");
  name.clear();
  version.clear();
  ModuleInfoRecord record = {};
  if (!Exchange(kGetCode, kGetModuleInfo, record, status, here,
                L"Intel GetModuleInfo DeviceIoControl failed, error %d\n"))
    return false;
  if (SUCCEEDED(status)) {
    name = TextOf(record.name);
    version = TextOf(record.version);
  }
  Diagnose(here, L"Intel GetModuleInfo: 0x%x, %S, %S\n", status, name, version);
  return SUCCEEDED(status);
}

bool ORVAPOIntelDriverInterface_BRW::SetStatus(HRESULT& status) {
  const DiagnosticSite here = ORV_HERE("ORVAPOIntelDriverInterface_BRW::SetStatus");
  StatusRecord record = {0, {1, 1}};
  if (!Exchange(kSetCode, kSetStatus, record, status, here,
                L"ORVAPOIntelDriverInterface_BRW::SetStatus(), DeviceIoControl failed, error %d\n"))
    return false;
  Diagnose(here, L"ORVAPOIntelDriverInterface_BRW::SetStatus(), OK - 0x%x\n", status);
  return SUCCEEDED(status);
}

bool ORVAPOIntelDriverInterface_BRW::Prepare(HRESULT& status, std::uint32_t parameter,
                                             std::uint32_t size, std::uint8_t apply) {
  if (size > kLargestParameter) {
    status = E_INVALIDARG;
    last_error_ = kDeviceInvalidParameter;
    return false;
  }
  std::memset(record_.get(), 0, sizeof *record_);
  record_->parameter = parameter;
  record_->apply = apply;
  record_->size = size;
  return true;
}

bool ORVAPOIntelDriverInterface_BRW::SetParameter(HRESULT& status, std::uint32_t parameter,
                                                  const void* buffer, std::uint32_t size,
                                                  std::uint8_t apply) {
  if (!Prepare(status, parameter, size, apply)) return false;
  std::memcpy(record_->data, buffer, size);
  std::uint32_t returned = 0;
  const bool sent = Control(kSetCode, kSetParameter, BytesOf(*record_), returned);
  status = record_->status;
  return sent;
}

bool ORVAPOIntelDriverInterface_BRW::GetParameter(HRESULT& status, std::uint32_t parameter,
                                                  void* buffer, std::uint32_t size,
                                                  std::uint8_t apply) {
  short_answer_ = false;
  if (!Prepare(status, parameter, size, apply)) return false;
  std::uint32_t returned = 0;
  const bool answered = Control(kGetCode, kGetParameter, BytesOf(*record_), returned);
  status = record_->status;
  if (!answered) return false;
  Diagnose(ORV_HERE("ORVAPOIntelDriverInterface_BRW::GetParameter"),
           L"GetParameter returned is %d\n", returned);
  if (FAILED(status)) return true;
  short_answer_ = returned != 0 && returned < offsetof(ParameterRecord, data) + size;
  std::memcpy(buffer, record_->data, size);
  return true;
}

}  // namespace orv::broadwell
