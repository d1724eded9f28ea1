#include "simulated/drivers/driver_remarks.h"

#include <optional>
#include <span>
#include <string>
#include <utility>

#include "simulated/drivers/block_format.h"
#include "simulated/drivers/driver_requests.h"
#include "simulated/drivers/wire_bytes.h"

namespace orv {
namespace {

constexpr std::uint32_t kCustom = 9;  // code of a size or cut-off that has coefficients of its own

// A word of a block that stands for coefficients in another block.
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
class Remarks {
 public:
  Remarks(const DriverMemory& memory, const char* driver, std::vector<DriverRemark>& remarks)
      : memory_(memory), driver_(driver), remarks_(remarks) {}

  void Add(std::uint32_t parameter, std::string text) {
    remarks_.push_back({driver_, parameter, std::move(text)});
  }

  // Null unless the driver took one.
  const std::vector<std::byte>* Held(std::uint32_t parameter) const {
    const auto held = memory_.blocks.find({driver_, parameter});
    return held == memory_.blocks.end() ? nullptr : &held->second.now;
  }
  // The word of a block that the driver took; nothing otherwise.
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
      Add(code.parameter, std::string(code.name) + " is custom, but parameter " +
                              ParameterText(code.coefficients) + " never came");
    }
  }

  void OnFilters(const std::vector<BlockFormat>& formats) {
    for (const BlockFormat& format : formats) {
      const std::vector<std::byte>* block = Held(format.parameter);
      if (block == nullptr || format.sets == nullptr) continue;
      for (const CoefficientSet& set : format.sets(*block))
        AddUnlessEmpty(format.parameter, PlayingFault(set, *block));
    }
  }

  void OnResonators(std::uint32_t parameter, std::size_t offset) {
    if (const std::vector<std::byte>* block = Held(parameter))
      AddUnlessEmpty(parameter, ResonatorFault(offset, *block));
  }

 private:
  void AddUnlessEmpty(std::uint32_t parameter, std::string text) {
    if (!text.empty()) Add(parameter, std::move(text));
  }

  const DriverMemory& memory_;
  const char* driver_;
  std::vector<DriverRemark>& remarks_;
};

void OnSkylake(Remarks remarks, const DriverMemory& memory, const SkylakeDescription& driver) {
  if (!driver.module_instantiated)
    remarks.Add(0, "the module is not instantiated");
  else if (!memory.IsEnabled(kSkylakeDriver, driver.module))
    remarks.Add(0, "the module is switched off");
  remarks.OnProcessing(0x10014401);
  remarks.OnCustomCodes(kSkylakeCodes);
  remarks.OnFilters(SkylakeFormats());
  remarks.OnResonators(0x1001440F, 0);
}

void OnBroadwell(Remarks remarks, const DriverMemory& memory, const BroadwellDescription& driver) {
  if (!memory.IsEnabled(kBroadwellDriver, driver.module))
    remarks.Add(0, "no client has switched the module on");
  remarks.OnProcessing(0);
  remarks.OnCustomCodes(kBroadwellCodes);
  if ((remarks.WordOf(21, 56) == kCustom) != (remarks.WordOf(21, 60) == kCustom))
    remarks.Add(21, "only one of the two sizes is custom");
  remarks.OnFilters(BroadwellFormats());
  remarks.OnResonators(100, 0);
}

void OnQualcomm(Remarks remarks) {
  // Both kinds of record have the flag of bass enhancement at one place.
  constexpr std::uint32_t kBass = 4;
  remarks.OnProcessing(0x10005011);
  remarks.OnFilters(QualcommFormats());
  for (const auto& [parameter, offset] : {std::pair(0x10005012U, 28U), std::pair(0x10005013U, 24U)})
    if ((remarks.WordOf(parameter, 0).value_or(0) & kBass) != 0)
      remarks.OnResonators(parameter, offset);
}

}  // namespace

std::vector<DriverRemark> RemarksOn(const DriverMemory& memory, const DriversDescription& drivers) {
  std::vector<DriverRemark> remarks;
  if (drivers.skylake)
    OnSkylake(Remarks(memory, kSkylakeDriver, remarks), memory, *drivers.skylake);
  if (drivers.broadwell)
    OnBroadwell(Remarks(memory, kBroadwellDriver, remarks), memory, *drivers.broadwell);
  if (drivers.qualcomm) OnQualcomm(Remarks(memory, kQualcommDriver, remarks));
  return remarks;
}

}  // namespace orv
