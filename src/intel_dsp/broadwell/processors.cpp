#include "intel_dsp/broadwell/processors.h"

#include <algorithm>

#include "intel_dsp/conversion/enumeration_tables.h"
#include "intel_dsp/filter_designs.h"
#include "platform/device_io.h"
#include "platform/diagnostics.h"

namespace orv::broadwell {
namespace {

using intel::FillField;
using intel::IntegerOf;

void FillAll(const Block& block, const ControlValueMap& map, std::span<std::byte> bytes) {
  for (const Field& field : block.fields) FillField(field, map, bytes);
}

// The control's integer, or that of the control that replaces it.
std::int32_t IntegerOr(const char* name, const char* other, const wchar_t* trying,
                       const ControlValueMap& map) {
  try {
    return IntegerOf(name, map);
  } catch (const IntelException& error) {
    Diagnose(ORV_HERE("KELAPOIntelDSP_BRW::ProcessHPFControls"), trying, error.what());
    return IntegerOf(other, map);
  }
}

}  // namespace

bool KELAPOIntelDSP_BRW::Send(std::uint32_t parameter, std::span<const std::byte> bytes,
                              std::uint8_t apply, HRESULT& status) {
  status = E_FAIL;
  return driver_.SetParameter(status, parameter, bytes.data(),
                              static_cast<std::uint32_t>(bytes.size()), apply) &&
         status == S_OK;
}

void KELAPOIntelDSP_BRW::SendOrThrow(std::uint32_t parameter, std::span<const std::byte> bytes,
                                     std::uint8_t apply, const char* group, const char* failure) {
  HRESULT status = E_FAIL;
  if (bytes.empty() || !Send(parameter, bytes, apply, status)) throw IntelException(group, failure);
}

bool KELAPOIntelDSP_BRW::Receive(std::uint32_t parameter, std::span<std::byte> bytes,
                                 std::uint8_t apply) {
  HRESULT status = E_FAIL;
  if (driver_.GetParameter(status, parameter, bytes.data(),
                           static_cast<std::uint32_t>(bytes.size()), apply) &&
      status == S_OK)
    return true;
  Diagnose(ORV_HERE("KELAPOIntelDSP_BRW::Receive"),
           L"Reading parameter %d failed, error %d, status 0x%x\n", parameter, driver_.last_error(),
           status);
  return false;
}

void KELAPOIntelDSP_BRW::SendBlock(const Block& block, const ControlValueMap& map,
                                   std::uint8_t apply, const char* group, const char* failure) {
  Bytes bytes(block.size);
  FillAll(block, map, bytes);
  SendOrThrow(block.parameter, bytes, apply, group, failure);
}

void KELAPOIntelDSP_BRW::ProcessGlobalControls(const ControlValueMap& map, std::uint8_t apply) {
  for (const Block& block : std::span(kBlocks).first<kSingleValues>())
    SendBlock(block, map, apply, "Global", "Settings of parameters in driver failed.");
}

void KELAPOIntelDSP_BRW::ProcessHLControls(const ControlValueMap& map, std::uint8_t apply) {
  const DiagnosticSite here = ORV_HERE("KELAPOIntelDSP_BRW::ProcessHLControls");
  Diagnose(here, L"Setting Hard Limiter controls (Enable and Output Gain) from VM");
  const Block& block = BlockOf(kHardLimiter);
  Bytes bytes(block.size);
  const auto missing = std::ranges::find_if_not(
      block.fields, [&](const Field& f) { return intel::HasControl(f, map); });
  if (missing == block.fields.end()) {
    FillAll(block, map, bytes);
  } else {
    if (!ReceiveForChange(block.parameter, bytes, apply)) {
      Diagnose(here, L"Error: Failed to get Hard Limiter controls from DSP, error: %s\n",
               std::string("no control ") + missing->control);
      throw IntelException("Hard Limiter", "Getting of Hard Limiter controls failed.");
    }
    Diagnose(here, L"OK: Got Hard Limiter controls from DSP\n");
  }
  SendOrThrow(block.parameter, bytes, apply, "Hard Limiter",
              "Error: Setting of Hard Limiter Controls failed. Verify values in XML.");
  Diagnose(here, L"OK: Setting HardLimiter Controls was successful, %d\n", S_OK);
}

void KELAPOIntelDSP_BRW::ProcessHPFControls(const ControlValueMap& map, std::uint8_t apply) {
  const std::int32_t order = IntegerOr("ZENSND-HPF Order", "MFX:ZENSND-HPF Order",
                                       L"Trying MFX:ZENSND-HPF Order instead: %S", map);
  const std::int32_t frequency = IntegerOr("ZENSND-HPF Frequency", "MFX:ZENSND-HPF Frequency",
                                           L"Trying MFX:ZENSND-HPF Frequency instead: %S", map);
  if (!IsOrder(order)) throw IntelException("HPF", "filter order out of range");
  const auto configuration = map.find("ZENSND-HPF Filter Cfg");
  const Bytes bytes = configuration == map.end()
                          ? HighPassBlock(order, frequency)
                          : HighPassPreset(order, configuration->second.ToString());
  SendOrThrow(kHighPassCoefficients, bytes, apply, "HPF", "Unable to set HPF coefficients.");
  Diagnose(ORV_HERE("KELAPOIntelDSP_BRW::ProcessHPFControls"),
           L"Setting of HPF coefficients returned status 0x%x\n", S_OK);
}

void KELAPOIntelDSP_BRW::ProcessPEQControls(const ControlValueMap& map, std::uint8_t apply,
                                            std::uint32_t channel) {
  if (channel != kRight) ProcessChannel(map, apply, kLeft);
  if (channel != kLeft) ProcessChannel(map, apply, kRight);
}

void KELAPOIntelDSP_BRW::ProcessChannel(const ControlValueMap& map, std::uint8_t apply,
                                        std::uint32_t channel) {
  const DiagnosticSite here = ORV_HERE("KELAPOIntelDSP_BRW::ProcessPEQControls");
  const bool left = channel == kLeft;
  const char* const side = left ? "left" : "right";
  Bytes bytes;
  std::uint32_t error = kDeviceInvalidParameter;
  try {
    const auto configuration = map.find("ZENSND-Filter Cfg");
    bytes =
        configuration != map.end()
            ? EqualizerPreset(configuration->second.ToString())
            : EqualizerBlock(ReadEqualizerBands(kBroadwellEqualizer, left ? "Left" : "Right", map));
  } catch (const IntelException& exception) {
    Diagnose(here, L"Error: %s\n", exception.what());
  }
  if (!bytes.empty()) {
    HRESULT status = E_FAIL;
    if (Send(left ? kLeftEqualizer : kRightEqualizer, bytes, apply, status)) {
      Diagnose(here, L"Setting of %S PEQ succeeded, status 0x%x. Buffer size = %d\n", side, status,
               bytes.size());
      return;
    }
    error = driver_.last_error();
  }
  Diagnose(here, L"Setting of %S PEQ parameters failed, error %d\n", side, error);
}

void KELAPOIntelDSP_BRW::ProcessHPFAndPEQControls(const ControlValueMap& map, std::uint8_t apply) {
  try {
    ProcessHPFControls(map, apply);
  } catch (const IntelException& error) {
    Diagnose(ORV_HERE("KELAPOIntelDSP_BRW::ProcessHPFAndPEQControls"),
             L"ProcessHPFControls() failed: %s\n", error.what());
  }
  ProcessPEQControls(map, apply, kBothChannels);
}

void KELAPOIntelDSP_BRW::ProcessAMHDControls(const ControlValueMap& map, std::uint8_t apply) {
  const Block& block = BlockOf(kAmhd);
  Bytes bytes(block.size);
  // From one offset to another, both included.
  const auto fill = [&](std::size_t first, std::size_t last) {
    for (const Field& field : block.fields)
      if (field.offset >= first && field.offset <= last) FillField(field, map, bytes);
  };
  const auto is_custom = [&](const Field& field) { return field.Read(bytes) == kCustomSizeCode; };
  constexpr const Field& kCutoff = RowOf(kAmhdFields, "ZENSND-Space HPF Custom Freq");
  constexpr const Field& kAudio = RowOf(kAmhdFields, "ZENSND-DPHD Speaker Audio Size");
  constexpr const Field& kAnalysis = RowOf(kAmhdFields, "ZENSND-DPHD Speaker Analysis Size");
  // In this order: an exception ends the write, and coefficients come before their block.
  fill(0, 12);
  fill(kAudio.offset, kAnalysis.offset);
  if (is_custom(kAudio) != is_custom(kAnalysis)) {
    throw IntelException(
        "AMHD", "Both analysis and audio speaker sizes must both be custom or not custom.");
  }
  if (is_custom(kAudio)) SendBassCoefficients(map, apply);
  fill(16, kCutoff.offset);
  if (is_custom(kCutoff)) SendSpaceCoefficients(map, apply);
  fill(kCutoff.offset + 1, kAudio.offset - 1);
  fill(kAnalysis.offset + 1, block.size);
  SendAmhd(block.parameter, bytes, apply);
  Diagnose(ORV_HERE("KELAPOIntelDSP_BRW::ProcessAMHDControls"),
           L"Writing AMHD Controls successful, %d\n", S_OK);
}

void KELAPOIntelDSP_BRW::SendBassCoefficients(const ControlValueMap& map, std::uint8_t apply) {
  if (map.contains("ZENSND-DPHD_Speaker Custom Table"))
    return SendAmhd(kBassCoefficients, BassPreset(), apply);
  const auto size = [&map](const std::string& custom, const std::string& plain) {
    return IntegerOf(map.contains(custom) ? custom : plain, map);
  };
  const std::int32_t audio =
      size("ZENSND-DPHD Speaker Audio Custom Size", "ZENSND-DPHD Speaker Audio Size");
  const std::int32_t analysis =
      size("ZENSND-DPHD Speaker Analysis Custom Size", "ZENSND-DPHD Speaker Analysis Size");
  SendAmhd(kBassCoefficients, BassBlock(audio, analysis), apply);
}

void KELAPOIntelDSP_BRW::SendSpaceCoefficients(const ControlValueMap& map, std::uint8_t apply) {
  if (map.contains("ZENSND-Space HPF Custom Freq Table"))
    return SendAmhd(kSpaceCoefficients, SpacePreset(), apply);
  const std::int32_t frequency = IntegerOf("ZENSND-Space HPF Custom Freq", map);
  SendAmhd(kSpaceCoefficients, SpaceBlock(frequency), apply);
}

void KELAPOIntelDSP_BRW::SendAmhd(std::uint32_t parameter, const Bytes& bytes, std::uint8_t apply) {
  SendOrThrow(parameter, bytes, apply, "AMHD", "Setting of AMHD controls failed.");
}

void KELAPOIntelDSP_BRW::ProcessEvenvolumeControls(const ControlValueMap& map, std::uint8_t apply) {
  SendBlock(BlockOf(kEvenvolume), map, apply, "Evenvolume",
            "Setting of Evenvolume controls failed.");
  Diagnose(ORV_HERE("KELAPOIntelDSP_BRW::ProcessEvenvolumeControls"),
           L"  Writing Evenvolume Controls successful, %d\n", S_OK);
}

}  // namespace orv::broadwell
