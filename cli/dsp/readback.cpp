#include "cli/dsp/readback.h"

#include <fmt/format.h>

#include <algorithm>

#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/skylake/block_tables.h"
#include "intel_dsp/skylake/driver_client.h"
#include "platform/diagnostics.h"
#include "platform/driver_names.h"
#include "platform/text.h"
#include "simulated/simulated_machine.h"

namespace orv::cli {
namespace {

// Drops diagnostic lines: the component reports its own requests, not those made here.
struct Silence : DiagnosticCapture {
  Silence() : DiagnosticCapture([](std::wstring_view) {}) {}
};

template <class Client>
std::optional<DspBlock> ReadFrom(Client& client, const std::string& driver, std::uint32_t parameter,
                                 std::size_t size) {
  DspBlock block{driver, parameter, std::vector<std::byte>(size)};
  HRESULT status = E_FAIL;
  const bool done = client.GetParameter(status, parameter, block.bytes.data(),
                                        static_cast<std::uint32_t>(size), 0);
  if (!done || FAILED(status)) return std::nullopt;
  return block;
}

}  // namespace

DspReadback::DspReadback(Machine& machine, const std::string& device_id)
    : machine_(machine),
      simulated_(dynamic_cast<SimulatedMachine*>(&machine)),
      device_id_(WideFromUtf8(device_id)) {
  if (simulated_ != nullptr) before_ = simulated_->LatestRequestNumber();
}

DspReadback::~DspReadback() {
  const Silence silence;
  skylake_.reset();
  broadwell_.reset();
}

bool DspReadback::CanRead(const std::string& driver) const {
  return driver == kSkylakeDriver || (simulated() && driver == kBroadwellDriver);
}

std::optional<std::vector<DspBlock>> DspReadback::Received() const {
  if (!simulated()) return std::nullopt;
  std::vector<DspBlock> blocks;
  for (const DriverRecord& record : simulated_->ReceivedRecords())
    if (record.number > before_) blocks.push_back(BlockOf(record));
  return blocks;
}

std::optional<std::string> DspReadback::Refusal(const std::string& driver,
                                                const std::string& request,
                                                std::uint32_t parameter) const {
  if (!simulated()) return std::nullopt;
  const auto refusals = simulated_->RefusedRequests();
  const auto found = std::find_if(refusals.rbegin(), refusals.rend(), [&](const auto& refusal) {
    return refusal.number > before_ && refusal.driver == driver && refusal.parameter == parameter &&
           refusal.request.starts_with(request);
  });
  if (found == refusals.rend()) return std::nullopt;
  return found->reason;
}

std::vector<std::string> DspReadback::Findings(const std::string& driver) const {
  std::vector<std::string> findings;
  if (!simulated()) return findings;
  for (const DriverFinding& finding : simulated_->DriverFindings()) {
    if (finding.driver != driver) continue;
    const bool module = finding.parameter == 0 && driver != kBroadwellDriver;
    const std::string block = module ? "" : BlockName({driver, finding.parameter, {}, 0}) + ": ";
    findings.push_back(block + finding.text);
  }
  return findings;
}

DspReadback::Answer DspReadback::Read(const DspBlock& planned) {
  if (simulated()) {
    const auto held = simulated_->HeldParameter(planned.driver, planned.parameter);
    if (!held) return {std::nullopt, "the driver has received nothing for it"};
    if (held->size() != planned.bytes.size())
      return {std::nullopt, fmt::format("the driver holds {} bytes instead of {}", held->size(),
                                        planned.bytes.size())};
    if (planned.driver == kQualcommDriver)
      return {DspBlock{planned.driver, planned.parameter, *held, 0}, ""};
  }
  if (auto block = Ask(planned.driver, planned.parameter, planned.bytes.size()))
    return {std::move(block), ""};
  const auto refusal = Refusal(planned.driver, request::kParameter, planned.parameter);
  return {std::nullopt, "the driver refuses to be read" + (refusal ? ": " + *refusal : "")};
}

bool DspReadback::HasReceived(const DspBlock& planned) const {
  return simulated() && simulated_->HeldParameter(planned.driver, planned.parameter);
}

std::optional<DspBlock> DspReadback::Held(const std::string& driver, std::uint32_t parameter,
                                          std::size_t size) {
  if (simulated()) {
    const auto held = simulated_->HeldParameter(driver, parameter);
    if (held && held->size() >= size) return DspBlock{driver, parameter, *held, 0};
  }
  return Ask(driver, parameter, size);
}

bool DspReadback::Open(const std::string& driver) {
  if (driver == kSkylakeDriver && skylake_ == nullptr) {
    // The session's machine outlives this object.
    const std::shared_ptr<Machine> machine(std::shared_ptr<void>(), &machine_);
    auto client = std::make_unique<KELAPOIntelDriverInterface_SKL>(machine, nullptr);
    if (SUCCEEDED(client->ActivateIKsControls(device_id_))) skylake_ = std::move(client);
  }
  if (driver == kBroadwellDriver && broadwell_ == nullptr) {
    HRESULT status = E_FAIL;
    auto client = std::make_unique<ORVAPOIntelDriverInterface_BRW>(
        machine_, status, broadwell::kPostProcessingModule);
    if (SUCCEEDED(status)) broadwell_ = std::move(client);
  }
  return driver == kSkylakeDriver ? skylake_ != nullptr : broadwell_ != nullptr;
}

std::optional<DspBlock> DspReadback::Ask(const std::string& driver, std::uint32_t parameter,
                                         std::size_t size) {
  const Silence silence;
  if (driver == kQualcommDriver || !Open(driver)) return std::nullopt;
  return driver == kSkylakeDriver ? ReadFrom(*skylake_, driver, parameter, size)
                                  : ReadFrom(*broadwell_, driver, parameter, size);
}

std::optional<bool> DspReadback::ReadModule(const std::string& driver) {
  const Silence silence;
  HRESULT status = E_FAIL;
  std::uint8_t enabled = 0;
  if (driver != kSkylakeDriver || !Open(driver)) return std::nullopt;
  if (!skylake_->GetStatus(status, enabled, 0)) return std::nullopt;
  return enabled != 0;
}

bool DspReadback::ReadsSwitch() {
  return ReadModule(kSkylakeDriver) &&
         Ask(kSkylakeDriver, skylake::kVQ3D, skylake::kBlocks.front().size);
}

}  // namespace orv::cli
