// The writers of the high-pass and equaliser coefficients.
#include <algorithm>
#include <cstring>

#include "intel_dsp/equalizer_bands.h"
#include "intel_dsp/skylake/blocks.h"
#include "intel_dsp/skylake/filter_presets.h"
#include "platform/diagnostics.h"

namespace orv {
namespace {

using namespace skylake;

using Utils = KELAPOIntelDSP_Utils;

constexpr const char* kFilterName = "KELAPOIntelDSP_SKL::SetVQ3DHPFAEQControls";
constexpr const char* kFilterTypeControl = "VQ3D-Custom Filter Type";
constexpr const char* kHighPassFrequency = "VQ3D-HPF Frequency";
constexpr int kPresetRate = 48;  // kHz
constexpr std::size_t kMostBands = kMostIirOrder / 2;
constexpr std::int32_t kPassingSection[] = {2, 1 << 30, 0, 0, 0, 0};
constexpr std::ptrdiff_t kGainWords = 2;

struct HighPassControls {
  std::int32_t order = 0;
  std::int32_t frequency = 0;  // Hz
  bool wanted = false;
};

HighPassControls ReadHighPass(const ControlValueMap& map) {
  const DiagnosticSite site = ORV_HERE(kFilterName);
  HighPassControls controls;
  bool described = true;
  try {
    Utils::SetIntegerValue("VQ3D-HPF Order", map, controls.order);
    Utils::SetIntegerValue(kHighPassFrequency, map, controls.frequency);
  } catch (const IntelException& error) {
    Diagnose(site, L"Not found HPF controls: %S", error.what());
    described = false;
  }
  std::uint32_t enable = 0;
  try {
    Utils::SetBoolField("VQ3D-HPF Enable", map, enable);
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
  filter.high_pass_words =
      DesignHighPass(static_cast<float>(controls.frequency), controls.order, kIntelSampleRate);
  if (filter.high_pass_words.empty())
    throw IntelException(kHighPassFrequency, "frequency out of range");
  filter.high_pass = true;
  filter.high_pass_order = controls.order;
}

std::vector<FilterBand> ReadBands(const std::string& channel, const ControlValueMap& map) {
  std::vector<FilterBand> bands = ReadEqualizerBands(kSkylakeEqualizer, channel, map);
  VerifyFilterOrder(2 * static_cast<std::int64_t>(bands.size()), 0, kMostIirOrder);
  for (std::size_t i = 0; i < bands.size(); ++i) {
    if (bands[i].type == kUnknownBandType || IsFilter(bands[i])) continue;
    Diagnose(ORV_HERE(kFilterName),
             L"%S%S Band %d passes its input on: frequency or quality factor not above zero\n",
             kSkylakeEqualizer.stem, channel, i);
    bands[i].type = kUnknownBandType;
  }
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

bool Alike(const std::vector<FilterBand>& left, const std::vector<FilterBand>& right) {
  return left.size() == right.size() &&
         (left.empty() ||
          std::memcmp(left.data(), right.data(), left.size() * sizeof(FilterBand)) == 0);
}

void DesignEqualizers(const ControlValueMap& map, FilterCoefficients& left,
                      FilterCoefficients& right) {
  const std::vector<FilterBand> left_bands = ReadBands("Left", map);
  const std::vector<FilterBand> right_bands = ReadBands("Right", map);
  left.iir_words = DesignBands("Left", left_bands);
  // Most modes tune both channels alike, and designing is the dearest step of a write.
  right.iir_words =
      Alike(left_bands, right_bands) ? left.iir_words : DesignBands("Right", right_bands);
  for (FilterCoefficients* channel : {&left, &right}) {
    channel->equalizer = true;
    channel->iir_order = kMostIirOrder;
  }
}

}  // namespace

HRESULT KELAPOIntelDSP_SKL::SetVQ3DHPFAEQControls(const ControlValueMap& map, std::uint8_t apply) {
  return Guarded(kFilterName, [&] {
    FilterCoefficients left;
    FilterCoefficients right;
    if (map.contains(kFilterTypeControl)) {
      std::uint32_t type = 0;
      Utils::SetFilterTypeStr_VQ3D(kFilterTypeControl, map, type);
      left = right = MakeFilterPreset(type, kPresetRate);
    } else {
      FillHighPass(map, left);
      DesignEqualizers(map, left, right);
    }
    const DiagnosticSite site = ORV_HERE(kFilterName);
    Diagnose(site, L"pBufferInSize=%d, pFilterCntrl_L=0x%p\n",
             static_cast<int>(kLeftFilterCapacity), static_cast<const void*>(&left));
    Diagnose(site, L"pBufferInSize=%d, pFilterCntrl_R=0x%p\n",
             static_cast<int>(kRightFilterCapacity), static_cast<const void*>(&right));
    return SetVQ3DFilterCoeff(left, right, apply);
  });
}

HRESULT KELAPOIntelDSP_SKL::SetVQ3DFilterCoeff(const FilterCoefficients& left,
                                               const FilterCoefficients& right,
                                               std::uint8_t apply) {
  const FilterBlock left_block = MakeLeftFilterBlock(left);
  const FilterBlock right_block = MakeRightFilterBlock(right);
  const HRESULT status = WriteCoeffToDsp(kLeftFilter, left_block.bytes.get(),
                                         static_cast<std::uint32_t>(left_block.size), apply);
  const HRESULT right_status = WriteCoeffToDsp(kRightFilter, right_block.bytes.get(),
                                               static_cast<std::uint32_t>(right_block.size), apply);
  return FAILED(status) ? status : right_status;
}

HRESULT KELAPOIntelDSP_SKL::WriteCoeffToDsp(std::uint32_t parameter, const void* buffer,
                                            std::uint32_t size, std::uint8_t apply) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_SKL::WriteCoeffToDsp");
  Diagnose(site, L"cmd=0x%x, pBuf=0x%p, bufSize=%d\n", parameter, buffer, size);
  const std::span sent(static_cast<const std::byte*>(buffer), size);
  const HRESULT status = SendParameter(driver_, parameter, sent, apply);
  if (FAILED(status)) {
    Diagnose(site, L"Error: KEL_PARAM_VQSND3D_FILTER_CONTROLS_STU set, status: 0x%x\n", status);
    return status;
  }
  std::vector<std::byte> held(size);
  const HRESULT read_status = ReadParameter(driver_, parameter, held, apply);
  if (FAILED(read_status))
    Diagnose(site, L"Error: KEL_PARAM_VQSND3D_FILTER_CONTROLS_STU get, status: 0x%x\n",
             read_status);
  if (FAILED(read_status) || !std::equal(sent.begin(), sent.end(), held.begin())) {
    Diagnose(site, L"Error: coefficients set, status: 0x%x\n", read_status);
    return E_FAIL;
  }
  Diagnose(site, L"OK: coefficients set, status: 0x%x\n", read_status);
  return read_status;
}

}  // namespace orv
