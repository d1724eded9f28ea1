#include "cli/dsp/dsp_check.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/client/dsp_objects.h"
#include "cli/dsp/readback.h"
#include "cli/show/failure.h"
#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/skylake/driver_client.h"
#include "platform/driver_names.h"
#include "platform/text.h"
#include "qc_dsp/driver_interface.h"

namespace orv::cli {
namespace {

// Statuses of a wave filter that does not know the request.
bool MeansUnknownProperty(HRESULT status) {
  constexpr DWORD kSetNotFound = 1170;
  return status == orv_apo::kNotFound || status == orv_apo::StatusOfSystemError(kSetNotFound) ||
         status == E_NOTIMPL || status == E_NOINTERFACE;
}

// Why the wave filter of an endpoint has no module; empty if it is not expected to have one.
std::string SkylakeRefusal(Machine& machine, const std::string& endpoint) {
  ComPtr<IMMDeviceEnumerator> devices;
  ComPtr<IMMDevice> device;
  skylake::WaveFilter filter;
  const std::wstring id = WideFromUtf8(endpoint);
  if (FAILED(machine.CreateDeviceEnumerator(devices.Put())) ||
      FAILED(devices->GetDevice(id.c_str(), device.Put())) ||
      skylake::FindWaveFilter(*devices.get(), *device.get(), filter) != S_OK)
    return {};
  const std::shared_ptr<Machine> borrowed(std::shared_ptr<void>(), &machine);
  KELAPOIntelDriverInterface_SKL client(borrowed, nullptr);
  const HRESULT status = client.ActivateIKsControls(id);
  HRESULT asked = S_OK;
  std::uint8_t version = 0;
  std::uint8_t features = 0;
  if (!client.GetAPIVersion(asked, version, features)) {
    if (MeansUnknownProperty(status)) return {};
    return "the Intel driver behind this endpoint does not report its version: " +
           StatusText(status);
  }
  if (version != skylake::kSupportedInterface) {
    return fmt::format(
        "the Intel driver behind this endpoint has interface version {} instead of {}", version,
        skylake::kSupportedInterface);
  }
  if (SUCCEEDED(status)) return "the Intel driver refused at first and answers now";
  if (client.lists_modules()) return {};
  return "the Intel driver does not list its modules: " + StatusText(status);
}

// The driver that exists although the component has no DSP object for the endpoint; empty if there
// is none.
std::string DriverThatRefuses(Machine& machine, const Endpoint& endpoint) {
  const auto refusal = [&](const char* driver, const GUID& interface_class) -> std::string {
    std::uint32_t error = 0;
    const std::vector<std::wstring> paths = machine.DeviceInterfaces(interface_class);
    if (paths.empty()) return {};
    const bool opens = std::ranges::any_of(
        paths, [&](const auto& path) { return machine.OpenDevice(path, error) != nullptr; });
    return fmt::format(
        "the {} driver is there, but {}", driver,
        opens ? "the component did not get its object"
              : "cannot be opened: " + StatusText(orv_apo::StatusOfSystemError(error)));
  };
  std::string text = refusal("Intel", broadwell::kDeviceInterface);
  if (text.empty()) text = refusal("Qualcomm", kQualcommInterfaceClass);
  return text.empty() ? SkylakeRefusal(machine, endpoint.id()) : text;
}

// An endpoint's Intel DSP as its driver answers at the moment.
struct IntelDspState {
  std::string switch_name;
  std::string text;  // driver, interface and module
  bool enabled = false;
};

// Throws Failure for the first request that is refused.
IntelDspState AskIntelDsp(Machine& machine, const Endpoint& endpoint) {
  const IntelDsp dsp(endpoint);
  const std::string driver = dsp.Kind();
  IntelDspState state;
  state.switch_name = driver == kSkylakeDriver ? "VQ3D-Process Enable" : "ZENSND-Process Enable";
  std::int32_t value = 0;
  const HRESULT status = dsp.GetProperty(state.switch_name, false, value);
  const IntelDsp::Versions versions = dsp.ReadVersions();
  if (driver == kSkylakeDriver && value == 0 && !DspReadback(machine, endpoint.id()).ReadsSwitch())
    throw Failure(kRefused, "it does not report whether it is switched on");
  Require(status, fmt::format("reading \"{}\"", state.switch_name), "");
  state.enabled = value != 0;
  state.text = fmt::format("Intel driver ({}, interface version {}, module {})", driver,
                           versions.api, versions.module_version);
  return state;
}

}  // namespace

void ExamineDsp(Diagnosis& diagnosis, Machine& machine, const Endpoint& endpoint) {
  const auto add = [&](bool ok, const std::string& detail, const std::string& remedy) {
    diagnosis.Add("DSP", ok, detail, CommandLine(remedy));
  };
  const std::string doctor = "-v doctor " + endpoint.number();
  ComPtr<IKELAPOIntelDSP> intel;
  ComPtr<IORVAPOQCDSP> qualcomm;
  if (FAILED(endpoint.object()->GetIntelInterface(intel.Put()))) {
    if (SUCCEEDED(endpoint.object()->GetQCDSPInterface(qualcomm.Put())))
      return add(true, "Qualcomm driver present; it does not report what it holds", "");
    const std::string refusal = DriverThatRefuses(machine, endpoint);
    return add(refusal.empty(),
               refusal.empty() ? "none: the effects run in the audio engine" : refusal, doctor);
  }
  try {
    const IntelDspState state = AskIntelDsp(machine, endpoint);
    add(state.enabled, state.text + (state.enabled ? ", switched on" : ", switched off"),
        fmt::format("dsp intel {} set \"{}\" 1", endpoint.number(), state.switch_name));
  } catch (const Failure& failure) {
    const std::string text = failure.what();
    add(false, "the Intel driver is there, but " + text.substr(0, text.find('\n')), doctor);
  }
}

}  // namespace orv::cli
