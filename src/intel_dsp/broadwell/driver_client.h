// Client of the Broadwell driver's post-processing module, over device I/O control.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "intel_dsp/broadwell/driver_records.h"
#include "intel_dsp/drivers.h"
#include "platform/diagnostics.h"
#include "platform/machine.h"

namespace orv::broadwell {

// Used by one thread at a time. Without an opened driver every request fails.
class ORVAPOIntelDriverInterface_BRW final : public BroadwellDriver {
 public:
  // Opens the machine's driver and switches its module on; `status` is E_FAIL if there is no
  // driver to open.
  ORVAPOIntelDriverInterface_BRW(Machine& machine, HRESULT& status, std::uint32_t module_number);
  ORVAPOIntelDriverInterface_BRW(const ORVAPOIntelDriverInterface_BRW&) = delete;
  ORVAPOIntelDriverInterface_BRW& operator=(const ORVAPOIntelDriverInterface_BRW&) = delete;

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
