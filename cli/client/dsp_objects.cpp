#include "cli/client/dsp_objects.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "cli/show/names.h"
#include "config/configuration_file.h"
#include "frame/public_controls.h"
#include "platform/driver_names.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

// What shows why a driver refuses.
std::string Examination(const Endpoint& endpoint) {
  return "-v shows what the component met: " + CommandLine("-v doctor " + endpoint.number());
}

// The words are those of the operation, because the status has several meanings.
[[noreturn]] void OpeningFailure(const Endpoint& endpoint, const char* dsp, HRESULT status,
                                 const char* words, const std::string& remedy) {
  throw Failure(kRefused, "opening the {} DSP of {}: {} ({})\n{}", dsp, endpoint.name(),
                StatusText(status).substr(0, 10), words, remedy);
}

// What to do for an endpoint without an Intel DSP that can be opened.
std::string OtherDsp(const Endpoint& endpoint) {
  ComPtr<IORVAPOQCDSP> qualcomm;
  if (FAILED(endpoint.object()->GetQCDSPInterface(qualcomm.Put())) || !qualcomm)
    return Examination(endpoint);
  return "This endpoint's DSP is Qualcomm: " +
         CommandLine("dsp qualcomm {} push", endpoint.number());
}

[[noreturn]] void RefuseFile(Machine& machine, const std::wstring& path, const std::string& name,
                             LoadStatus status) {
  const auto host = machine.HostFile(path);
  std::string reason;
  if (!machine.FileExists(path)) {
    reason = ": there is no such file.";
  } else if (host && !std::filesystem::is_regular_file(*host)) {
    reason = ": it is not a file.";
  } else if (!machine.HostPath(path)) {
    reason =
        ": the component opens only paths whose characters are not beyond U+00FF.\n"
        "Copy the file to such a path.";
  } else {
    reason = ".\nWhat reports its faults: " +
             CommandLine("check " + ShellWord(host ? PathText(*host) : name));
  }
  throw Failure(kRefused, "the configuration file {} cannot be read (load status {}){}", name,
                NumberOf(status), reason);
}

struct DestroyArray {
  void operator()(SAFEARRAY* array) const noexcept { SafeArrayDestroy(array); }
};

// One number of each band as an array for the component.
template <class Number, class Field>
std::unique_ptr<SAFEARRAY, DestroyArray> NewArray(VARTYPE type, Field field,
                                                  const std::vector<EqualizerBand>& bands) {
  std::unique_ptr<SAFEARRAY, DestroyArray> array(
      SafeArrayCreateVector(type, 0, static_cast<ULONG>(bands.size())));
  void* data = nullptr;
  if (array == nullptr || FAILED(SafeArrayAccessData(array.get(), &data))) throw std::bad_alloc();
  std::ranges::transform(bands, static_cast<Number*>(data), field);
  SafeArrayUnaccessData(array.get());
  return array;
}

}  // namespace

IntelDsp::IntelDsp(const Endpoint& endpoint) : examination_(Examination(endpoint)) {
  ComPtr<IKELAPOIntelDSP> dsp;
  const HRESULT status = endpoint.object()->GetIntelInterface(dsp.Put());
  if (FAILED(status))
    OpeningFailure(endpoint, "Intel", status,
                   "no Intel DSP driver for this endpoint, or the driver refused",
                   OtherDsp(endpoint));
  object_ = dsp.As<IKELAPOIntelDSP4>();
  if (!object_)
    ComponentFailure("opening the Intel DSP of " + endpoint.name(), E_NOINTERFACE,
                     Examination(endpoint));
}

std::string IntelDsp::Kind() const {
  // Readable on one kind of module only; the other has no such property.
  std::int32_t ignored = 0;
  return GetProperty("ZENSND-Process Enable", false, ignored) == E_NOTIMPL ? kSkylakeDriver
                                                                           : kBroadwellDriver;
}

IntelDsp::Versions IntelDsp::ReadVersions() const {
  Versions versions;
  BYTE api = 0;
  BYTE features = 0;
  Require(object_->GetAPIVersion(&api, &features), "asking the driver for its version",
          examination_);
  versions.api = api;
  versions.features = features;
  UniqueBstr name;
  UniqueBstr version;
  Require(object_->GetModuleInfo(OutPtr(name), OutPtr(version)), "asking the driver for its module",
          examination_);
  versions.module_name = Utf8FromWide(ViewOf(name.get()));
  versions.module_version = Utf8FromWide(ViewOf(version.get()));
  UniqueBstr component;
  Require(object_->get_ApoVersion(OutPtr(component)), "asking for the component's version", "");
  versions.component = Utf8FromWide(ViewOf(component.get()));
  return versions;
}

HRESULT IntelDsp::WriteControls(const Mode& mode, const std::string& technology,
                                bool set_default) const {
  const UniqueBstr text = technology.empty() ? nullptr : NewText(WideFromUtf8(technology));
  return object_->WriteControls(mode.object(), text.get(), set_default ? 1 : 0);
}

HRESULT IntelDsp::ProcessConfigFile(const std::wstring& path, bool set_default,
                                    std::string& error) const {
  UniqueBstr reason;
  const HRESULT status =
      object_->ProcessConfigFile(NewText(path).get(), OutPtr(reason), set_default ? 1 : 0);
  error = Utf8FromName(ViewOf(reason.get()));
  return status;
}

HRESULT IntelDsp::GetProperty(const std::string& name, bool set_default,
                              std::int32_t& value) const {
  VARIANT answer;
  VariantInit(&answer);
  const HRESULT status =
      object_->get_Property(NewText(NameFromUtf8(name)).get(), set_default ? 1 : 0, &answer);
  if (SUCCEEDED(status)) value = answer.lVal;
  VariantClear(&answer);
  return status;
}

HRESULT IntelDsp::PutProperty(const std::string& name, bool set_default,
                              const VARIANT& value) const {
  return object_->put_Property(NewText(NameFromUtf8(name)).get(), set_default ? 1 : 0, value);
}

HRESULT IntelDsp::SetEqualizer(KELChannel channel, const std::vector<EqualizerBand>& bands,
                               bool set_default) const {
  const auto gains = NewArray<float>(VT_R4, &EqualizerBand::gain_db, bands);
  const auto qualities = NewArray<float>(VT_R4, &EqualizerBand::q, bands);
  const auto frequencies = NewArray<LONG>(VT_I4, &EqualizerBand::frequency, bands);
  return object_->SetPEQ(channel, gains.get(), qualities.get(), frequencies.get(),
                         set_default ? 1 : 0);
}

QualcommDsp::QualcommDsp(const Endpoint& endpoint) {
  const HRESULT status = endpoint.object()->GetQCDSPInterface(object_.Put());
  if (FAILED(status))
    OpeningFailure(endpoint, "Qualcomm", status, "no Qualcomm DSP driver",
                   "Which DSP there is: " + CommandLine("doctor " + endpoint.number()));
}

int QualcommDsp::FormFactor() const {
  _ORVQuMediaDeviceType form_factor = ORV_QUMEDIA_RESERVED;
  Require(object_->get_EndpointFormFactor(&form_factor), "reading the form factor", "");
  return static_cast<int>(form_factor);
}

void QualcommDsp::SetFormFactor(int form_factor) const {
  Require(object_->put_EndpointFormFactor(static_cast<_ORVQuMediaDeviceType>(form_factor)),
          fmt::format("setting the form factor to {}", form_factor), "");
}

HRESULT QualcommDsp::WriteControls(const Mode& mode) const {
  return object_->WriteControls(mode.object());
}

std::string FindDriver(const Endpoint& endpoint) {
  ComPtr<IKELAPOIntelDSP> intel;
  if (SUCCEEDED(endpoint.object()->GetIntelInterface(intel.Put())) && intel)
    return IntelDsp(endpoint).Kind();
  ComPtr<IORVAPOQCDSP> qualcomm;
  if (SUCCEEDED(endpoint.object()->GetQCDSPInterface(qualcomm.Put())) && qualcomm)
    return kQualcommDriver;
  return {};
}

DspControlMap DspControls(const std::string& driver, const Mode& mode, ORVAPOControlType list) {
  const std::string asked = "reading the controls of " + mode.name();
  DspControlMap controls;
  const auto policy =
      driver == kQualcommDriver ? UnreadableControl::Zero : UnreadableControl::LeftOut;
  const ControlWalk walk =
      ForEachControl(*mode.object(), list, policy, [&](std::wstring_view name, LONG value) {
        if (!name.empty()) controls.insert_or_assign(std::wstring(name), value);
      });
  Require(walk.asked, asked, "");
  Require(walk.ended, asked, "");
  return controls;
}

ORVQVTValueList::Map DspFileControls(Machine& machine, const std::wstring& path,
                                     const std::string& name) {
  ORVAPOConfigurationFile file(machine);
  const LoadStatus status = file.Load(path, kORVAPO_EPCfg_DSP, kEndpointLocation);
  if (!IsUsableByDsp(status)) RefuseFile(machine, path, name, status);
  ORVAPOOperatingMode mode;
  if (!file.FindMode(file.GetDefaultModeKey(), mode)) return {};
  const ORVQVTValueList& list = mode.GetDefaultControls();
  return {list.begin(), list.end()};
}

}  // namespace orv::cli
