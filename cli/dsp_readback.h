// What the drivers of a simulated machine received, and what they answer when they are read: the
// second opinion on a push. Real machines cannot be looked into; there the component's own
// verification counts.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/dsp_blocks.h"
#include "platform/simulated/simulated_machine.h"

namespace orv::cli {

class DspReadback {
 public:
  // Null when the machine is no simulated one. `device_id` is the endpoint's. What was received
  // before does not count.
  static std::unique_ptr<DspReadback> Begin(Machine& machine, const std::string& device_id);
  ~DspReadback();

  // The latest record of every parameter received since, in the order of their first arrival.
  std::vector<DspBlock> Received() const;
  // The latest record of a driver's parameter whenever it came.
  std::optional<DspBlock> Latest(const std::string& driver, std::uint32_t parameter) const;
  // What the driver answers for the parameter now, `size` bytes; nothing when it refuses. The
  // Qualcomm driver answers nothing, so its latest record is taken.
  std::optional<DspBlock> Read(const std::string& driver, std::uint32_t parameter,
                               std::size_t size);

 private:
  struct Clients;
  DspReadback(SimulatedMachine& machine, std::wstring device_id);

  SimulatedMachine& machine_;
  std::wstring device_id_;
  std::size_t received_before_;
  std::unique_ptr<Clients> clients_;  // opened when first asked for
};

// Differences between every block and what its driver answers for it.
std::vector<DspDifference> CompareWithDriver(DspReadback& readback,
                                             const std::vector<DspBlock>& blocks);

}  // namespace orv::cli
