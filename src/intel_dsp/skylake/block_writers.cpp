// The writers of the control blocks.
#include <algorithm>

#include "dsp_math/elementary.h"
#include "dsp_math/fixed_point.h"
#include "intel_dsp/skylake/blocks.h"
#include "platform/diagnostics.h"

namespace orv {
namespace {

using namespace skylake;

constexpr std::int64_t kDefaultVolumeStep = 25;

// A missing input gain of the tone control becomes -6 dB: 10^-0.3.
constexpr std::int64_t kDefaultToneInputGain = 16423;

HRESULT WriteFromControls(SkylakeDriver& driver, const Block& block, const ControlValueMap& map,
                          std::uint8_t apply, const FieldRescue& rescue = {}) {
  return Guarded(block.writer, [&] {
    BlockBytes bytes{};
    FillBlock(block, map, bytes, rescue);
    const auto coefficients =
        block.coefficients != nullptr ? block.coefficients(bytes, map) : std::nullopt;
    return WriteBlock(driver, block, bytes, coefficients, apply, MethodName(block.writer));
  });
}

// If controls are missing, the DSP keeps its block. If that cannot be read, the block is sent as
// far as it was built, after `complete`.
template <class Complete>
HRESULT WriteOrKeep(SkylakeDriver& driver, const Block& block, const ControlValueMap& map,
                    std::uint8_t apply, const wchar_t* ignored, Complete complete) {
  return Guarded(block.writer, [&] {
    const char* const operation = MethodName(block.writer);
    BlockBytes bytes{};
    try {
      FillBlock(block, map, bytes);
    } catch (const IntelException& error) {
      Diagnose(ORV_HERE(block.writer), ignored, error.what());
      BlockBytes held{};
      const HRESULT status = ReadBlock(driver, block, held, apply);
      if (SUCCEEDED(status)) {
        RememberBlock(block, held);
        ShowtOpStatus(true, block.name, operation);
        return status;
      }
      complete(bytes);
    }
    return WriteBlock(driver, block, bytes, std::nullopt, apply, operation);
  });
}

}  // namespace

HRESULT KELAPOIntelDSP_SKL::SetVQ3DControls(const ControlValueMap& map, std::uint8_t apply) {
  const Block& block = BlockOf(kVQ3D);
  return Guarded(block.writer, [&] {
    BlockBytes bytes{};
    FillBlock(block, map, bytes);
    const char* const operation = MethodName(block.writer);
    const HRESULT status = WriteBlock(driver_, block, bytes, std::nullopt, apply, operation);

    BlockBytes config{};
    FillBlock(kCommonConfigBlock, map, config);
    const HRESULT config_status =
        SendParameter(driver_, kCommonConfigBlock.parameter,
                      std::span(config).first(kCommonConfigBlock.size), apply);
    ShowtOpStatus(SUCCEEDED(config_status), kCommonConfigBlock.name, operation);
    return FAILED(status) ? status : config_status;
  });
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DEVolHDControls(const ControlValueMap& map, std::uint8_t apply) {
  return WriteFromControls(driver_, BlockOf(kEVolHD), map, apply);
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DVocadiagControls(const ControlValueMap& map,
                                                    std::uint8_t apply) {
  return WriteFromControls(driver_, BlockOf(kVocalift), map, apply);
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DCommonControls(const ControlValueMap& map, std::uint8_t apply) {
  return WriteFromControls(driver_, BlockOf(kCommon), map, apply);
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DPX3DControls(const ControlValueMap& map, std::uint8_t apply) {
  return WriteFromControls(driver_, BlockOf(kPX3D), map, apply);
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DMXHPControls(const ControlValueMap& map, std::uint8_t apply) {
  return WriteFromControls(driver_, BlockOf(kMXHP), map, apply);
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DGEQControls(const ControlValueMap& map, std::uint8_t apply) {
  return WriteFromControls(driver_, BlockOf(kGEQ), map, apply);
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DToneControls(const ControlValueMap& map, std::uint8_t apply) {
  return WriteOrKeep(driver_, BlockOf(kTone), map, apply, L"VQ3D Tone Controls are ignored: %S\n",
                     [](BlockBytes&) {});
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DAEQControls(const ControlValueMap& map, std::uint8_t apply) {
  return WriteFromControls(driver_, BlockOf(kAEQ), map, apply);
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DMvolControls(const ControlValueMap& map, std::uint8_t apply) {
  const auto complete = [](BlockBytes& bytes) {
    constexpr std::int64_t kValues[] = {kDefaultVolumeStep, /*balance*/ 0, /*mute*/ 0};
    for (std::size_t i = 0; i < std::size(kValues); ++i) {
      const Field& field = kMasterVolumeFields[i + 1];
      StoreField(bytes, field.offset, field.type, kValues[i]);
    }
  };
  return WriteOrKeep(driver_, BlockOf(kMasterVolume), map, apply,
                     L"VQ3D-Master Volume controls are ignored: %S\n", complete);
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DHdLmtControls(const ControlValueMap& map, std::uint8_t apply) {
  return WriteFromControls(driver_, BlockOf(kHardLimiter), map, apply);
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DAdvGainControls(const ControlValueMap& map, std::uint8_t apply) {
  const Block& block = BlockOf(kAdvancedGains);
  const auto rescue = [&](const Field& field, const IntelException& error, BlockBytes& bytes) {
    if (field.offset != kToneInputGain.offset) return false;
    const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DAdvGainControls");
    Diagnose(site, L"VQ3D-Tone Input Gain is ignored: %S\n", error.what());
    std::int64_t gain = kDefaultToneInputGain;
    BlockBytes held{};
    if (SUCCEEDED(ReadBlock(driver_, block, held, apply))) {
      Diagnose(site, L"VQ3D-Tone Input Gain got from DSP: \n");
      gain = ReadField(held, field.offset, field.type);
    }
    StoreField(bytes, field.offset, field.type, gain);
    return true;
  };
  return WriteFromControls(driver_, block, map, apply, rescue);
}

HRESULT KELAPOIntelDSP_SKL::SetPPModuleStatus(std::uint8_t enable, std::uint8_t apply) {
  Diagnose(ORV_HERE("KELAPOIntelDSP_SKL::SetPPModuleStatus"), L"Setting PP Module status to: %d\n",
           static_cast<int>(enable));
  HRESULT status = E_FAIL;
  const bool succeeded = driver_.SetStatus(status, enable, apply);
  status = StatusOf(succeeded, status);
  ShowtOpStatus(SUCCEEDED(status), "SetStatus", "SetPPModuleStatus");
  return status;
}

HRESULT KELAPOIntelDSP_SKL::SetProcessEnable(std::uint32_t value, std::uint8_t apply) {
  const Block& block = BlockOf(kVQ3D);
  BlockBytes bytes{};
  const HRESULT status = ReadBlock(driver_, block, bytes, apply);
  if (FAILED(status)) return status;
  StoreField(bytes, kProcessEnable.offset, kProcessEnable.type, value);
  RememberBlock(block, bytes);
  const HRESULT sent =
      SendParameter(driver_, block.parameter, std::span(bytes).first(block.size), apply);
  ShowtOpStatus(SUCCEEDED(sent), block.name, "SetProcessEnable");
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
  const auto current = static_cast<int>(ReadField(bytes, field.offset, field.type));
  Diagnose(site, L"cur GEQControls.bgain[%d] = %d (0x%x) \n", band, current, current);
  const std::int64_t wanted = ToFixed16(DecibelsToGain(gain / 10.0), field.integer_bits);
  const auto value = static_cast<int>(std::clamp(wanted, field.low, field.high));
  Diagnose(site, L"new GEQControls.bgain[%d] = %d (0x%x) \n", band, value, value);
  StoreField(bytes, field.offset, field.type, value);
  return Guarded(site.function, [&] {
    return WriteBlock(driver_, block, bytes, std::nullopt, apply, "SetGEQBandGain");
  });
}

}  // namespace orv
