// The writers of the high-pass and equaliser coefficients.
#include <algorithm>

#include "intel_dsp/filter_designs.h"
#include "intel_dsp/skylake/blocks.h"
#include "intel_dsp/skylake/writers.h"
#include "platform/diagnostics.h"

namespace orv::skylake {
namespace {

using Utils = KELAPOIntelDSP_Utils;

constexpr const char* kFilterTypeControl = "VQ3D-Custom Filter Type";
constexpr const char* kHighPassFrequency = "VQ3D-HPF Frequency";
constexpr std::size_t kMostBands = kMostIirOrder / 2;
constexpr std::int32_t kPassingSection[] = {2, 1 << 30, 0, 0, 0, 0};
constexpr std::ptrdiff_t kGainWords = 2;

struct HighPassControls {
  std::int32_t order = 0;
  std::int32_t frequency = 0;  // Hz
  bool wanted = false;
};

HighPassControls ReadHighPass(const ControlValueMap& map) {
  const DiagnosticSite site = ORV_HERE(kSkylakeEqualizer.reader);
  HighPassControls controls;
  bool described = true;
  try {
    controls.order = intel::IntegerOf("VQ3D-HPF Order", map);
    controls.frequency = intel::IntegerOf(kHighPassFrequency, map);
  } catch (const IntelException& error) {
    Diagnose(site, L"Not found HPF controls: %S", error.what());
    described = false;
  }
  Utils::Number enable = 0;
  try {
    Utils::SetBoolField({"VQ3D-HPF Enable", map}, enable);
  } catch (const IntelException& error) {
    Diagnose(site, L"Not found HPF Enable controls: %S", error.what());
  }
  controls.wanted = described && enable != 0;
  return controls;
}

void FillHighPass(const ControlValueMap& map, FilterCoefficients& filter) {
  const HighPassControls controls = ReadHighPass(map);
  if (!controls.wanted) return;
  // Before anything is sized by it.
  VerifyFilterOrder(controls.order, kFewestHighPassOrder, kMostHighPassOrder);
  filter.high_pass_words = DesignHighPass(static_cast<float>(controls.frequency), controls.order);
  if (filter.high_pass_words.empty())
    throw IntelException(kHighPassFrequency, "frequency out of range");
  filter.high_pass = true;
  filter.high_pass_order = controls.order;
}

std::vector<FilterBand> ReadBands(const std::string& channel, const ControlValueMap& map) {
  std::vector<FilterBand> bands = ReadEqualizerBands(kSkylakeEqualizer, channel, map);
  VerifyFilterOrder(2 * static_cast<std::int64_t>(bands.size()), 0, kMostIirOrder);
  return bands;
}

// As many sections as the module has: those that the mode does not describe pass everything on, in
// front of the overall gain.
std::vector<std::int32_t> DesignBands(const std::string& channel,
                                      const std::vector<FilterBand>& bands) {
  std::vector<std::int32_t> words = DesignEqualizer(bands);
  if (words.empty())
    throw IntelException(kSkylakeEqualizer.stem + channel, "frequency out of range");
  for (std::size_t i = bands.size(); i < kMostBands; ++i)
    words.insert(words.end() - kGainWords, std::begin(kPassingSection), std::end(kPassingSection));
  return words;
}

void DesignEqualizers(const ControlValueMap& map, FilterCoefficients& left,
                      FilterCoefficients& right) {
  const std::vector<FilterBand> left_bands = ReadBands("Left", map);
  const std::vector<FilterBand> right_bands = ReadBands("Right", map);
  left.iir_words = DesignBands("Left", left_bands);
  // Most modes tune both channels alike, and designing is the most expensive step of a write.
  right.iir_words = left_bands == right_bands ? left.iir_words : DesignBands("Right", right_bands);
  for (FilterCoefficients* channel : {&left, &right}) {
    channel->equalizer = true;
    channel->iir_order = kMostIirOrder;
  }
}

}  // namespace

HRESULT KELAPOIntelDSP_SKL::SetVQ3DHPFAEQControls(const ControlValueMap& map, std::uint8_t apply) {
  return Guarded(kSkylakeEqualizer.reader, [&] {
    FilterCoefficients left;
    FilterCoefficients right;
    if (map.contains(kFilterTypeControl)) {
      Utils::Number type = 0;
      Utils::SetFilterTypeStr_VQ3D({kFilterTypeControl, map}, type);
      left = right = MakeFilterPreset(static_cast<std::uint32_t>(type));
    } else {
      FillHighPass(map, left);
      DesignEqualizers(map, left, right);
    }
    const DiagnosticSite site = ORV_HERE(kSkylakeEqualizer.reader);
    Diagnose(site, L"pBufferInSize=%d, pFilterCntrl_L=0x%p\n",
             static_cast<int>(kLeftFilterLayout.capacity), static_cast<const void*>(&left));
    Diagnose(site, L"pBufferInSize=%d, pFilterCntrl_R=0x%p\n",
             static_cast<int>(kRightFilterLayout.capacity), static_cast<const void*>(&right));
    return SetVQ3DFilterCoeff(left, right, apply);
  });
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DFilterCoeff(const FilterCoefficients& left,
                                               const FilterCoefficients& right,
                                               std::uint8_t apply) {
  const std::vector<std::byte> left_block = MakeLeftFilterBlock(left);
  const std::vector<std::byte> right_block = MakeRightFilterBlock(right);
  const HRESULT status = WriteCoeffToDsp(kLeftFilter, left_block, apply);
  const HRESULT right_status = WriteCoeffToDsp(kRightFilter, right_block, apply);
  return FAILED(status) ? status : right_status;
}

HRESULT KELAPOIntelDSP_SKL::WriteCoeffToDsp(std::uint32_t parameter,
                                            std::span<const std::byte> bytes, std::uint8_t apply) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_SKL::WriteCoeffToDsp");
  Diagnose(site, L"cmd=0x%x, pBuf=0x%p, bufSize=%d\n", parameter,
           static_cast<const void*>(bytes.data()), bytes.size());
  const HRESULT status = SendParameter(driver_, parameter, bytes, apply);
  if (FAILED(status)) {
    Diagnose(site, L"Error: KEL_PARAM_VQSND3D_FILTER_CONTROLS_STU set, status: 0x%x\n", status);
    return status;
  }
  std::vector<std::byte> held(bytes.size());
  const HRESULT read_status = ReadParameter(driver_, parameter, held, apply);
  if (FAILED(read_status))
    Diagnose(site, L"Error: KEL_PARAM_VQSND3D_FILTER_CONTROLS_STU get, status: 0x%x\n",
             read_status);
  if (FAILED(read_status) || !std::ranges::equal(bytes, held)) {
    Diagnose(site, L"Error: coefficients set, status: 0x%x\n", read_status);
    return E_FAIL;
  }
  Diagnose(site, L"OK: coefficients set, status: 0x%x\n", read_status);
  return read_status;
}

}  // namespace orv::skylake
