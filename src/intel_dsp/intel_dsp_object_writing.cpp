// Whole operating modes, configuration files and equalisers into the DSP.
#include <boost/core/noncopyable.hpp>
#include <cmath>
#include <span>
#include <utility>
#include <vector>

#include "config/configuration_file.h"
#include "frame/public_controls.h"
#include "intel_dsp/filter_designs.h"
#include "intel_dsp/intel_dsp_object.h"
#include "intel_dsp/skylake/blocks.h"
#include "platform/com_memory.h"
#include "platform/diagnostics.h"
#include "platform/text.h"

namespace orv {
namespace {

constexpr std::uint32_t kDspConfiguration = 1;

constexpr wchar_t kHighPassTechnology[] = L"HPF";
struct EqualizerTechnology {
  const wchar_t* name;
  std::uint32_t channel;
};
constexpr EqualizerTechnology kEqualizerTechnologies[] = {
    {L"PEQLEFT", KELAPOIntelDSP_BRW::kLeft},
    {L"PEQRIGHT", KELAPOIntelDSP_BRW::kRight},
    {L"PEQALL", KELAPOIntelDSP_BRW::kBothChannels},
};

const EqualizerTechnology* FindEqualizer(std::wstring_view name) {
  for (const EqualizerTechnology& technology : kEqualizerTechnologies) {
    if (name == technology.name) return &technology;
  }
  return nullptr;
}

// An exception ends a write; `report` receives the reason. Lack of memory is passed on.
template <class Body, class Reporter>
HRESULT AbortOnException(Body&& body, Reporter&& report) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    report(Widen(error.what()));
    return orv_apo::kAborted;
  }
}

// Locks a one-dimensional array of one type, with any bounds, and gives access to its elements.
template <class Element>
class SafeArrayView : boost::noncopyable {
 public:
  SafeArrayView(SAFEARRAY* array, VARTYPE type) {
    VARTYPE actual = VT_EMPTY;
    if (array == nullptr || SafeArrayGetDim(array) != 1 ||
        FAILED(SafeArrayGetVartype(array, &actual)) || actual != type ||
        array->cbElements != sizeof(Element))
      return;
    void* data = nullptr;
    if (FAILED(SafeArrayAccessData(array, &data))) return;
    array_ = array;
    if (data != nullptr) elements_ = {static_cast<Element*>(data), array->rgsabound[0].cElements};
  }
  ~SafeArrayView() {
    if (array_ != nullptr) SafeArrayUnaccessData(array_);
  }

  // False for a null array and for one of another rank or type.
  explicit operator bool() const noexcept { return array_ != nullptr; }
  std::span<const Element> elements() const noexcept { return elements_; }

 private:
  SAFEARRAY* array_ = nullptr;
  std::span<const Element> elements_;
};

// One value for each band; false if a band cannot be designed.
bool MakeBands(std::span<const float> gains, std::span<const float> qualities,
               std::span<const LONG> frequencies, std::vector<FilterBand>& bands) {
  for (std::size_t i = 0; i < gains.size(); ++i) {
    if (!std::isfinite(gains[i]) || !std::isfinite(qualities[i]) || !(qualities[i] > 0) ||
        frequencies[i] <= 0)
      return false;
    bands.push_back(
        {kORVFilter_Traditional, static_cast<float>(frequencies[i]), qualities[i], gains[i], 0});
  }
  bands.front().type = kORVFilter_LowShelf;
  bands.back().type = kORVFilter_HighShelf;
  return true;
}

// Logs both images, and every byte in which they differ. E_FAIL if there is one.
HRESULT VerifyImages(const SkylakeImage& sent, const SkylakeImage& held) {
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::SetControlParams");
  skylake::DumpBuffer(sent);
  skylake::DumpBuffer(held);
  if (sent == held) {
    Diagnose(here, L"OK: VQ3D parameters in DSP values matched inputs\n");
    return S_OK;
  }
  Diagnose(here, L"Error: VQ3D parameters to/from DSP does NOT match\n");
  for (std::size_t i = 0; i < sent.size(); ++i) {
    if (sent[i] == held[i]) continue;
    Diagnose(here, L"i=%d, 0x0%x, 0x0%x\n", i, std::to_integer<int>(sent[i]),
             std::to_integer<int>(held[i]));
  }
  return E_FAIL;
}

}  // namespace

HRESULT CKELAPOIntelDSP::WriteControls(IORVOperatingMode* op_mode, BSTR tech_name,
                                       LONG set_default) {
  return WithDriverClients([&]() -> HRESULT {
    if (op_mode == nullptr) return E_POINTER;
    const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::WriteControls");
    return AbortOnException(
        [&] {
          ORVQVTValueList list;
          HRESULT status = ReadControls(*op_mode, list);
          if (list.Count() != 0)
            status = WriteList(std::move(list), ViewOf(tech_name), ApplyFlag(set_default));
          if (status == S_OK) {
            Diagnose(here, L"Operating Mode change successful\n");
            SetKELDSPControlChangeEvent();
          }
          return status;
        },
        [&](const std::wstring& reason) { Diagnose(here, L"Error: %s\n", reason); });
  });
}

// The status is that of asking for the controls; a failure of the enumerator ends the walk.
HRESULT CKELAPOIntelDSP::ReadControls(IORVOperatingMode& op_mode, ORVQVTValueList& list) {
  // The DSP keeps its value of a control that the mode cannot read.
  return ForEachControl(op_mode, kORVAPO_Cont_Public, UnreadableControl::LeftOut,
                        [&list](std::wstring_view text, LONG value) {
                          const std::string name = Narrow(text);
                          if (name.empty()) {
                            Diagnose(ORV_HERE("CKELAPOIntelDSP::WriteControls"),
                                     L"Warning: the last parameter is unrecognized by QVT.\n");
                            return;
                          }
                          list.GetOrAdd(name) = ORVQVTValue(name, value);
                        })
      .asked;
}

HRESULT CKELAPOIntelDSP::WriteList(ORVQVTValueList list, std::wstring_view technology,
                                   std::uint8_t apply) {
  const ControlValueMap map(list.begin(), list.end());
  last_written_.Clear();
  const EqualizerTechnology* equalizer = FindEqualizer(technology);
  const bool high_pass = technology == kHighPassTechnology;
  if (auto* const driver = Skylake()) {
    last_written_ = std::move(list);
    KELAPOIntelDSP_SKL writers(*driver);
    if (high_pass || equalizer != nullptr) return writers.SetVQ3DHPFAEQControls(map, apply);
    return SetSkylakeParams(writers, map, apply);
  }
  auto* const driver = Broadwell();
  if (driver == nullptr) return S_OK;
  KELAPOIntelDSP_BRW broadwell(*driver);
  if (equalizer != nullptr) {
    broadwell.ProcessPEQControls(map, apply, equalizer->channel);
    return S_OK;
  }
  broadwell.ProcessHPFControls(map, apply);
  if (high_pass) return S_OK;
  // The order for an operating mode; SetControlParams has another one for configuration files.
  broadwell.ProcessEvenvolumeControls(map, apply);
  broadwell.ProcessHLControls(map, apply);
  broadwell.ProcessAMHDControls(map, apply);
  broadwell.ProcessGlobalControls(map, apply);
  broadwell.ProcessPEQControls(map, apply, KELAPOIntelDSP_BRW::kBothChannels);
  return S_OK;
}

HRESULT CKELAPOIntelDSP::SetControlParams(const ControlValueMap& map, std::uint8_t apply) {
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::SetControlParams");
  if (auto* const driver = Skylake())
    return SetSkylakeParams(KELAPOIntelDSP_SKL(*driver), map, apply);
  auto* const driver = Broadwell();
  if (driver == nullptr) {
    Diagnose(here, L"Error: Unsupported DSP type\n");
    return S_OK;
  }
  Diagnose(here, L"Processing ENDSND DSP controls ...\n");
  KELAPOIntelDSP_BRW broadwell(*driver);
  broadwell.ProcessHPFAndPEQControls(map, apply);
  broadwell.ProcessGlobalControls(map, apply);
  broadwell.ProcessEvenvolumeControls(map, apply);
  broadwell.ProcessAMHDControls(map, apply);
  broadwell.ProcessHLControls(map, apply);
  return S_OK;
}

HRESULT CKELAPOIntelDSP::SetSkylakeParams(KELAPOIntelDSP_SKL writers, const ControlValueMap& map,
                                          std::uint8_t apply) {
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::SetControlParams");
  KELAPOIntelDSP_SKL::ClearCache();
  Diagnose(here, L"Sending VQ3D parameters to DSP \n");
  HRESULT combined = S_OK;
  for (const skylake::Block& block : skylake::kBlocks)
    combined |= writers.WriteControls(block, map, apply);
  combined |= writers.SetVQ3DHPFAEQControls(map, apply);
  combined |= writers.SetPPModuleStatus(KELAPOIntelDSP_SKL::CachedProcessEnable() ? 1 : 0, apply);
  if (FAILED(combined)) Diagnose(here, L"Error: failed to set VQ3D parameters\n");

  SkylakeImage held{};
  if (FAILED(writers.GetVQ3DParameters(held)))
    Diagnose(here, L"Error: failed to get VQ3D parameters\n");
  const HRESULT status = VerifyImages(KELAPOIntelDSP_SKL::CachedImage(), held);
  if (SUCCEEDED(status))
    skylake::ReportOperation(true, "Verify: VQ3D parameters to/From DSP", "SetControlParams");
  return status;
}

HRESULT CKELAPOIntelDSP::ProcessConfigFile(BSTR filename, BSTR* error_string, LONG set_default) {
  return WithDriverClients([&]() -> HRESULT {
    if (filename == nullptr) return E_POINTER;
    if (error_string != nullptr) *error_string = nullptr;
    const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::ProcessConfigFile");
    const HRESULT status = AbortOnException(
        [&] { return SendConfiguration(std::wstring(ViewOf(filename)), ApplyFlag(set_default)); },
        [&](const std::wstring& reason) {
          if (error_string != nullptr) ReturnText(reason, error_string);
          Diagnose(here, L"Error: setting controls from preset file failed. %s\n", reason);
        });
    if (status == S_OK) {
      Diagnose(here, L"call SetKELDSPControlChangeEvent()");
      SetKELDSPControlChangeEvent();
    }
    return status;
  });
}

HRESULT CKELAPOIntelDSP::SendConfiguration(const std::wstring& path, std::uint8_t apply) {
  if (machine_ == nullptr) return E_UNEXPECTED;
  ORVAPOConfigurationFile configuration(*machine_);
  if (!IsUsableByDsp(configuration.Load(path, kDspConfiguration, kEndpointLocation))) return E_FAIL;
  ORVAPOOperatingMode mode;
  if (!configuration.FindMode(configuration.GetDefaultModeKey(), mode)) return E_FAIL;
  ORVQVTValueList list = mode.GetDefaultControls();  // public and private ones
  const ControlValueMap map(list.begin(), list.end());
  last_written_.Clear();
  if (Skylake() != nullptr) last_written_ = std::move(list);
  return SetControlParams(map, apply);
}

HRESULT CKELAPOIntelDSP::SetPEQ(KELChannel channel, SAFEARRAY* gains_in_db, SAFEARRAY* q,
                                SAFEARRAY* freq, LONG set_default) {
  return WithDriverClients([&]() -> HRESULT {
    const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::SetPEQ");
    if (channel < kKELAPO_Left || channel > kKELAPO_ChannelCount) return E_INVALIDARG;
    const SafeArrayView<float> gains(gains_in_db, VT_R4);
    const SafeArrayView<float> qualities(q, VT_R4);
    const SafeArrayView<LONG> frequencies(freq, VT_I4);
    if (!gains || !qualities || !frequencies) return E_INVALIDARG;
    const std::size_t count = gains.elements().size();
    if (count == 0 || qualities.elements().size() != count ||
        frequencies.elements().size() != count)
      return E_INVALIDARG;
    std::vector<FilterBand> bands;
    broadwell::Bytes bytes;
    if (MakeBands(gains.elements(), qualities.elements(), frequencies.elements(), bands))
      bytes = broadwell::EqualizerBlock(bands);
    HRESULT status = E_FAIL;
    const std::uint32_t parameter =
        channel == kKELAPO_Left ? broadwell::kLeftEqualizer : broadwell::kRightEqualizer;
    if (!bytes.empty() && clients_.broadwell() != nullptr &&
        clients_.broadwell()->SetParameter(status, parameter, bytes.data(),
                                           static_cast<std::uint32_t>(bytes.size()),
                                           ApplyFlag(set_default)) &&
        status == S_OK) {
      Diagnose(here, L"Setting of PEQ succeeded, status 0x%x\n", status);
      return S_OK;
    }
    Diagnose(here, L"Unable to set PEQ.");
    return bytes.empty() ? E_INVALIDARG : E_FAIL;
  });
}

}  // namespace orv
