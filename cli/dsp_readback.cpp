#include "cli/dsp_readback.h"

#include <algorithm>

#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/skylake/driver_client.h"
#include "platform/diagnostics.h"
#include "platform/simulated/drivers/driver_memory.h"
#include "platform/simulated/drivers/driver_requests.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

// The component tells its own story; the second look does not add to it.
class Silence {
 private:
  DiagnosticCapture capture_{[](std::wstring_view) {}};
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

struct DspReadback::Clients {
  std::unique_ptr<KELAPOIntelDriverInterface_SKL> skylake;
  std::unique_ptr<ORVAPOIntelDriverInterface_BRW> broadwell;
};

DspReadback::DspReadback(SimulatedMachine& machine, std::wstring device_id)
    : machine_(machine),
      device_id_(std::move(device_id)),
      received_before_(machine.ReceivedRecords().size()),
      clients_(std::make_unique<Clients>()) {}

DspReadback::~DspReadback() {
  const Silence silence;
  clients_.reset();
}

std::unique_ptr<DspReadback> DspReadback::Begin(Machine& machine, const std::string& device_id) {
  auto* simulated = dynamic_cast<SimulatedMachine*>(&machine);
  if (simulated == nullptr) return nullptr;
  return std::unique_ptr<DspReadback>(new DspReadback(*simulated, WideFromUtf8(device_id)));
}

std::vector<DspBlock> DspReadback::Received() const {
  std::vector<DriverRecord> records = machine_.ReceivedRecords();
  // Once a machine drops its oldest records their number tells nothing any more, and all that are
  // left are taken: the later ones win anyway.
  const bool dropping = records.size() >= DriverMemory::kKeptRecords;
  std::vector<DspBlock> blocks;
  for (std::size_t i = dropping ? 0 : received_before_; i < records.size(); ++i) {
    DspBlock block = BlockOf(records[i]);
    const auto known = std::find_if(blocks.begin(), blocks.end(), [&](const DspBlock& other) {
      return other.driver == block.driver && other.parameter == block.parameter;
    });
    if (known != blocks.end()) {
      *known = std::move(block);
    } else {
      blocks.push_back(std::move(block));
    }
  }
  return blocks;
}

std::optional<DspBlock> DspReadback::Latest(const std::string& driver,
                                            std::uint32_t parameter) const {
  std::vector<DriverRecord> records = machine_.ReceivedRecords();
  const auto found = std::find_if(records.rbegin(), records.rend(), [&](const auto& record) {
    return record.driver == driver && record.parameter == parameter;
  });
  if (found == records.rend()) return std::nullopt;
  return BlockOf(*found);
}

std::optional<DspBlock> DspReadback::Read(const std::string& driver, std::uint32_t parameter,
                                          std::size_t size) {
  const Silence silence;
  if (driver == kSkylakeDriver) {
    if (clients_->skylake == nullptr) {
      // The session's machine outlives this.
      const std::shared_ptr<Machine> machine(std::shared_ptr<void>(), &machine_);
      auto client = std::make_unique<KELAPOIntelDriverInterface_SKL>(machine, nullptr);
      if (FAILED(client->ActivateIKsControls(device_id_))) return std::nullopt;
      clients_->skylake = std::move(client);
    }
    return ReadFrom(*clients_->skylake, driver, parameter, size);
  }
  if (driver == kBroadwellDriver) {
    if (clients_->broadwell == nullptr) {
      HRESULT status = E_FAIL;
      auto client = std::make_unique<ORVAPOIntelDriverInterface_BRW>(
          machine_, status, broadwell::kPostProcessingModule);
      if (FAILED(status)) return std::nullopt;
      clients_->broadwell = std::move(client);
    }
    return ReadFrom(*clients_->broadwell, driver, parameter, size);
  }
  return Latest(driver, parameter);
}

std::vector<DspDifference> CompareWithDriver(DspReadback& readback,
                                             const std::vector<DspBlock>& blocks) {
  std::vector<DspDifference> differences;
  for (const DspBlock& block : blocks) {
    std::optional<DspBlock> read = readback.Read(block.driver, block.parameter, block.bytes.size());
    // A driver that refuses to be read holds nothing that could be trusted.
    if (!read) read = DspBlock{block.driver, block.parameter, {}};
    const std::vector<DspDifference> found = CompareBlocks(block, *read);
    differences.insert(differences.end(), found.begin(), found.end());
  }
  return differences;
}

}  // namespace orv::cli
