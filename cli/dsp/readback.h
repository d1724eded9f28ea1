// Reads DSP drivers without the component: on a simulated machine what they received, refused and
// hold, on a real one what a Skylake driver answers.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/dsp/blocks.h"
#include "platform/machine.h"

namespace orv {
namespace skylake {
class KELAPOIntelDriverInterface_SKL;
}
namespace broadwell {
class ORVAPOIntelDriverInterface_BRW;
}
class SimulatedMachine;
}  // namespace orv

namespace orv::cli {

class DspReadback {
 public:
  // `device_id` is the endpoint's. What the drivers received or refused before does not count.
  DspReadback(Machine& machine, const std::string& device_id);
  ~DspReadback();

  bool simulated() const noexcept { return simulated_ != nullptr; }
  // Whether the driver answers what it holds, and a refusal means that it does not hold it.
  bool CanRead(const std::string& driver) const;
  // Records received since, in their order; nullopt if the machine is not simulated.
  std::optional<std::vector<DspBlock>> Received() const;
  // Why the driver refused the latest request of this kind; nullopt if it did not.
  std::optional<std::string> Refusal(const std::string& driver, const std::string& request,
                                     std::uint32_t parameter) const;
  // What a listener would notice of the driver's blocks; simulated machines only.
  std::vector<std::string> Findings(const std::string& driver) const;

  struct Answer {
    std::optional<DspBlock> block;
    std::string reason;  // why there is none
  };
  // The block that the driver holds for a planned one. A simulated driver is not asked for what it
  // would refuse: a block that it never received or holds in another size. The Qualcomm driver of a
  // simulated machine answers with what it received.
  Answer Read(const DspBlock& planned);
  // Whether a simulated driver ever received the parameter.
  bool HasReceived(const DspBlock& planned) const;
  // Whether the module is on; nullopt if the driver does not answer.
  std::optional<bool> ReadModule(const std::string& driver);
  // Whether a Skylake driver answers both parts of "VQ3D-Process Enable": the module's status and
  // the VQ3D block. The component returns 0 for a driver that does not.
  bool ReadsSwitch();
  // `size` bytes that the driver holds, valid or not; nullopt if it does not answer.
  std::optional<DspBlock> Held(const std::string& driver, std::uint32_t parameter,
                               std::size_t size);

 private:
  bool Open(const std::string& driver);
  std::optional<DspBlock> Ask(const std::string& driver, std::uint32_t parameter, std::size_t size);

  Machine& machine_;
  SimulatedMachine* simulated_;
  std::wstring device_id_;
  std::uint64_t before_ = 0;  // number of the latest request before this object
  // Opened for the first request.
  std::unique_ptr<skylake::KELAPOIntelDriverInterface_SKL> skylake_;
  std::unique_ptr<broadwell::ORVAPOIntelDriverInterface_BRW> broadwell_;
};

}  // namespace orv::cli
