// What a listener would notice of what the drivers hold.
#include <fmt/format.h>

#include "platform/driver_names.h"
#include "simulated/drivers/block_format.h"
#include "simulated/drivers/driver_memory.h"

namespace orv {
namespace {

constexpr std::uint32_t kCustom = 9;  // code of a size or cut-off that has coefficients of its own

// A word of a block whose custom code means coefficients in another block.
struct CustomCode {
  std::uint32_t parameter;
  std::size_t offset;
  std::uint32_t coefficients;
  const char* name;
};
constexpr CustomCode kSkylakeCodes[] = {{0x10014404, 8, 0x1001440F, "the audio size"},
                                        {0x10014405, 20, 0x10014410, "the space cut-off"}};
constexpr CustomCode kBroadwellCodes[] = {{21, 56, 100, "the audio size"},
                                          {21, 60, 100, "the analysis size"},
                                          {21, 20, 101, "the space cut-off"}};

// One driver's blocks.
class Findings {
 public:
  Findings(const DriverMemory& memory, const char* driver, std::vector<DriverFinding>& findings)
      : memory_(memory), driver_(driver), findings_(findings) {}

  // Empty text is not a finding.
  void Add(std::uint32_t parameter, std::string text) {
    if (text.empty()) return;
    findings_.push_back({driver_, parameter, std::move(text)});
  }

  // Null unless the driver accepted one.
  const std::vector<std::byte>* Held(std::uint32_t parameter) const {
    const HeldBlock* held = memory_.Held(driver_, parameter);
    return held == nullptr ? nullptr : &held->now;
  }
  // A word of a block that the driver accepted; nullopt if there is none.
  std::optional<std::uint32_t> WordOf(std::uint32_t parameter, std::size_t offset) const {
    const std::vector<std::byte>* block = Held(parameter);
    if (block == nullptr) return std::nullopt;
    return ReadWire<std::uint32_t>(*block, offset);
  }

  void OnProcessing(std::uint32_t parameter) {
    if ((WordOf(parameter, 0).value_or(1) & 1) == 0) Add(parameter, "processing is switched off");
  }

  void OnCustomCodes(std::span<const CustomCode> codes) {
    for (const CustomCode& code : codes) {
      if (WordOf(code.parameter, code.offset) != kCustom || Held(code.coefficients) != nullptr)
        continue;
      Add(code.parameter, fmt::format("{} is custom, but parameter {} never came", code.name,
                                      ParameterText(code.coefficients)));
    }
  }

  void OnFilters(const std::vector<BlockFormat>& formats) {
    for (const BlockFormat& format : formats) {
      const std::vector<std::byte>* block = Held(format.parameter);
      if (block == nullptr || format.sets == nullptr) continue;
      for (const CoefficientSet& set : format.sets(*block))
        Add(format.parameter, PlayingFault(set, *block));
    }
  }

  void OnResonators(std::uint32_t parameter, std::size_t offset) {
    if (const std::vector<std::byte>* block = Held(parameter))
      Add(parameter, ResonatorFault(offset, *block));
  }

 private:
  const DriverMemory& memory_;
  const char* driver_;
  std::vector<DriverFinding>& findings_;
};

void OnSkylake(Findings findings, const DriverMemory& memory, const SkylakeDescription& driver) {
  if (!driver.module_instantiated)
    findings.Add(0, "the module is not instantiated");
  else if (!memory.IsEnabled(kSkylakeDriver, driver.module))
    findings.Add(0, "the module is switched off");
  findings.OnProcessing(0x10014401);
  findings.OnCustomCodes(kSkylakeCodes);
  findings.OnFilters(SkylakeFormats());
  findings.OnResonators(0x1001440F, 0);
}

void OnBroadwell(Findings findings, const DriverMemory& memory,
                 const BroadwellDescription& driver) {
  if (!memory.IsEnabled(kBroadwellDriver, driver.module))
    findings.Add(0, "no client has switched the module on");
  findings.OnProcessing(0);
  findings.OnCustomCodes(kBroadwellCodes);
  if ((findings.WordOf(21, 56) == kCustom) != (findings.WordOf(21, 60) == kCustom))
    findings.Add(21, "only one of the two sizes is custom");
  findings.OnFilters(BroadwellFormats());
  findings.OnResonators(100, 0);
}

void OnQualcomm(Findings findings) {
  // Both kinds of record have the flag of bass enhancement in the same place.
  constexpr std::uint32_t kBass = 4;
  findings.OnProcessing(0x10005011);
  findings.OnFilters(QualcommFormats());
  for (const auto& [parameter, offset] : {std::pair(0x10005012U, 28U), std::pair(0x10005013U, 24U)})
    if ((findings.WordOf(parameter, 0).value_or(0) & kBass) != 0)
      findings.OnResonators(parameter, offset);
}

}  // namespace

std::vector<DriverFinding> FindingsOn(const DriverMemory& memory,
                                      const DriversDescription& drivers) {
  std::vector<DriverFinding> findings;
  if (drivers.skylake)
    OnSkylake(Findings(memory, kSkylakeDriver, findings), memory, *drivers.skylake);
  if (drivers.broadwell)
    OnBroadwell(Findings(memory, kBroadwellDriver, findings), memory, *drivers.broadwell);
  if (drivers.qualcomm) OnQualcomm(Findings(memory, kQualcommDriver, findings));
  return findings;
}

}  // namespace orv
