// The writers of the control blocks.
#include <algorithm>

#include "dsp_math/elementary.h"
#include "dsp_math/fixed_point.h"
#include "intel_dsp/skylake/blocks.h"
#include "intel_dsp/skylake/writers.h"
#include "platform/diagnostics.h"

namespace orv::skylake {
namespace {

// Volume step, balance and mute of a master volume whose controls are missing.
constexpr std::int64_t kDefaultVolume[] = {25, 0, 0};

// A missing input gain of the tone control becomes -6 dB: 10^-0.3.
constexpr std::int64_t kDefaultToneInputGain = 16423;

constexpr const char* MethodName(const char* qualified) {
  const char* name = qualified;
  for (; *qualified != 0; ++qualified)
    if (*qualified == ':') name = qualified + 1;
  return name;
}

// The DSP's own input gain of the tone control, or the default one, replaces a missing one.
bool KeepToneInputGain(SkylakeDriver& driver, const Field& field, const IntelException& error,
                       BlockBytes& bytes, std::uint8_t apply) {
  if (&field != &kToneInputGain) return false;
  const Block& block = BlockOf(kAdvancedGains);
  const DiagnosticSite site = ORV_HERE(block.writer);
  Diagnose(site, L"VQ3D-Tone Input Gain is ignored: %S\n", error.what());
  std::int64_t gain = kDefaultToneInputGain;
  BlockBytes held{};
  if (SUCCEEDED(ReadBlock(driver, block, held, apply))) {
    Diagnose(site, L"VQ3D-Tone Input Gain got from DSP: \n");
    gain = field.Read(held);
  }
  field.Store(bytes, gain);
  return true;
}

}  // namespace

HRESULT KELAPOIntelDSP_SKL::WriteControls(const Block& block, const ControlValueMap& map,
                                          std::uint8_t apply) {
  return Guarded(block.writer, [&] {
    const char* const operation = MethodName(block.writer);
    BlockBytes bytes{};
    try {
      FillBlock(block, map, bytes, [&](const Field& field, const auto& error, BlockBytes& filled) {
        return KeepToneInputGain(driver_, field, error, filled, apply);
      });
    } catch (const IntelException& error) {
      if (block.ignored == nullptr) throw;
      Diagnose(ORV_HERE(block.writer), block.ignored, error.what());
      BlockBytes held{};
      const HRESULT status = ReadBlock(driver_, block, held, apply);
      if (SUCCEEDED(status)) {
        RememberBlock(block, held);
        ReportOperation(true, block.name, operation);
        return status;
      }
      if (block.parameter == kMasterVolume)
        for (std::size_t i = 0; i < std::size(kDefaultVolume); ++i)
          kMasterVolumeFields[i + 1].Store(bytes, kDefaultVolume[i]);
    }
    const auto coefficients =
        block.coefficients != nullptr ? block.coefficients(bytes, map) : std::nullopt;
    const HRESULT status = WriteBlock(driver_, block, bytes, coefficients, apply, operation);
    if (block.parameter != kVQ3D) return status;
    BlockBytes config{};
    FillBlock(kCommonConfigBlock, map, config);
    const HRESULT config_status = SendBlock(driver_, kCommonConfigBlock, config, apply, operation);
    return FAILED(status) ? status : config_status;
  });
}

HRESULT KELAPOIntelDSP_SKL::SetPPModuleStatus(std::uint8_t enable, std::uint8_t apply) {
  Diagnose(ORV_HERE("KELAPOIntelDSP_SKL::SetPPModuleStatus"), L"Setting PP Module status to: %d\n",
           static_cast<int>(enable));
  HRESULT status = E_FAIL;
  const bool succeeded = driver_.SetStatus(status, enable, apply);
  status = StatusOf(succeeded, status);
  ReportOperation(SUCCEEDED(status), "SetStatus", "SetPPModuleStatus");
  return status;
}

HRESULT KELAPOIntelDSP_SKL::SetProcessEnable(std::uint32_t value, std::uint8_t apply) {
  const Block& block = BlockOf(kVQ3D);
  BlockBytes bytes{};
  const HRESULT status = ReadBlock(driver_, block, bytes, apply);
  if (FAILED(status)) return status;
  kProcessEnable.Store(bytes, value);
  RememberBlock(block, bytes);
  SendBlock(driver_, block, bytes, apply, "SetProcessEnable");
  return status;
}

HRESULT KELAPOIntelDSP_SKL::SetGEQBandGain(int band, std::int16_t gain, std::uint8_t apply) {
  if (band < 0 || static_cast<std::size_t>(band) >= kBandFields.size()) return E_INVALIDARG;
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_SKL::SetGEQBandGain");
  const Block& block = BlockOf(kGEQ);
  BlockBytes bytes{};
  const HRESULT status = ReadBlock(driver_, block, bytes, apply);
  if (FAILED(status)) {
    Diagnose(site, L"Error: [GEQ Band %d] set aborted due to DSP GetParameter() failed.", band);
    return status;
  }
  const Field& field = kBandFields[static_cast<std::size_t>(band)];
  const auto current = static_cast<int>(field.Read(bytes));
  Diagnose(site, L"cur GEQControls.bgain[%d] = %d (0x%x) \n", band, current, current);
  const std::int64_t wanted = ToFixed16(DecibelsToGain(gain / 10.0), field.integer_bits);
  const auto value = static_cast<int>(std::clamp(wanted, field.low, field.high));
  Diagnose(site, L"new GEQControls.bgain[%d] = %d (0x%x) \n", band, value, value);
  field.Store(bytes, value);
  return Guarded(site.function, [&] {
    return WriteBlock(driver_, block, bytes, std::nullopt, apply, "SetGEQBandGain");
  });
}

}  // namespace orv::skylake
