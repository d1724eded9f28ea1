#include "cli/dsp/dsp_check.h"

#include "cli/dsp/readback.h"
#include "cli/show/failure.h"
#include "cli/show/remedy.h"
#include "intel_dsp/broadwell/driver_records.h"
#include "intel_dsp/skylake/driver_client.h"
#include "platform/driver_names.h"
#include "platform/text.h"
#include "qc_dsp/driver_interface.h"

namespace orv::cli {
namespace {

// How the component answers when it is asked for an endpoint's DSP objects.
struct DspAnswer {
  explicit DspAnswer(const Endpoint& endpoint) {
    ComPtr<IKELAPOIntelDSP> intel_dsp;
    ComPtr<IORVAPOQCDSP> qualcomm_dsp;
    intel = endpoint.object()->GetIntelInterface(intel_dsp.Put());
    qualcomm = endpoint.object()->GetQCDSPInterface(qualcomm_dsp.Put());
  }
  bool present() const { return SUCCEEDED(intel) || SUCCEEDED(qualcomm); }

  HRESULT intel;
  HRESULT qualcomm;
};

// Statuses of a wave filter that knows nothing of the request.
bool MeansUnknownProperty(HRESULT status) {
  constexpr DWORD kSetNotFound = 1170;
  return status == orv_apo::kNotFound || status == orv_apo::StatusOfSystemError(kSetNotFound) ||
         status == E_NOTIMPL || status == E_NOINTERFACE;
}

// Why the wave filter behind an endpoint gives no module; empty when there is none to give.
std::string SkylakeRefusal(Machine& machine, const std::string& endpoint) {
  ComPtr<IMMDeviceEnumerator> devices;
  ComPtr<IMMDevice> device;
  WaveFilter filter;
  const std::wstring id = WideFromUtf8(endpoint);
  if (FAILED(machine.CreateDeviceEnumerator(devices.Put())) ||
      FAILED(devices->GetDevice(id.c_str(), device.Put())) ||
      TopologyWalk(*devices.get()).FindWaveFilter(*device.get(), filter) != S_OK)
    return {};
  const std::shared_ptr<Machine> borrowed(std::shared_ptr<void>(), &machine);
  KELAPOIntelDriverInterface_SKL client(borrowed, nullptr);
  const HRESULT status = client.ActivateIKsControls(id);
  HRESULT asked = S_OK;
  std::uint8_t version = 0;
  std::uint8_t features = 0;
  if (!client.GetAPIVersion(asked, version, features)) {
    return MeansUnknownProperty(status)
               ? ""
               : "the Intel driver behind this endpoint does not report its version: " +
                     StatusText(status);
  }
  if (version != skylake::kSupportedInterface) {
    return "the Intel driver behind this endpoint has interface version " +
           std::to_string(version) + " instead of " + std::to_string(skylake::kSupportedInterface);
  }
  if (SUCCEEDED(status)) return "the Intel driver refused at first and answers now";
  return client.lists_modules()
             ? ""
             : "the Intel driver does not list its modules: " + StatusText(status);
}

// The driver that is there although the component has no DSP object for the endpoint; empty when
// there is none.
std::string DriverThatRefuses(Machine& machine, const Endpoint& endpoint) {
  const auto unopened = [&](const GUID& interface_class) -> std::optional<std::uint32_t> {
    std::uint32_t error = 0;
    const std::vector<std::wstring> paths = machine.DeviceInterfaces(interface_class);
    for (const std::wstring& path : paths)
      if (machine.OpenDevice(path, error) != nullptr) return 0;
    return paths.empty() ? std::nullopt : std::optional(error);
  };
  const auto told = [](const char* driver, std::uint32_t error) {
    return std::string("the ") + driver + " driver is there, but " +
           (error == 0 ? "the component did not get its object"
                       : "cannot be opened: " + StatusText(orv_apo::StatusOfSystemError(error)));
  };
  if (const auto error = unopened(broadwell::kDeviceInterface)) return told("Intel", *error);
  if (const auto error = unopened(kQualcommInterfaceClass)) return told("Qualcomm", *error);
  return SkylakeRefusal(machine, endpoint.id());
}

// An endpoint's Intel DSP as its driver answers at the moment.
struct IntelDspState {
  std::string fault;   // the first request that was refused, with its status; empty if none was
  std::string driver;  // "skylake" or "broadwell"; empty if the DSP cannot be opened
  IntelDsp::Versions versions;
  // Whether the module is on and processes; empty if the driver does not report it.
  std::optional<bool> enabled;
};

IntelDspState AskIntelDsp(Machine& machine, const Endpoint& endpoint) {
  IntelDspState state;
  try {
    const IntelDsp dsp(endpoint);
    state.driver = dsp.Kind();
    const std::string name =
        state.driver == kSkylakeDriver ? "VQ3D-Process Enable" : "ZENSND-Process Enable";
    std::int32_t value = 0;
    const HRESULT status = dsp.GetProperty(name, false, value);
    if (SUCCEEDED(status)) state.enabled = value != 0;
    state.versions = dsp.ReadVersions();
    DspReadback readback(machine, endpoint.id());
    if (state.driver == kSkylakeDriver && value == 0 && !readback.ReadsSwitch())
      throw Failure(kRefused, "it does not report whether it is switched on");
    Require(status, "reading \"" + name + "\"", "");
  } catch (const Failure& failure) {
    state.fault = failure.what();
  }
  return state;
}

}  // namespace

DspCheck CheckDsp(Machine& machine, const Endpoint& endpoint) {
  const DspAnswer answer(endpoint);
  if (!answer.present()) {
    const std::string refusal = DriverThatRefuses(machine, endpoint);
    return {refusal.empty(),
            refusal.empty() ? "none: the effects run in the audio engine" : refusal,
            CommandLine("-v doctor " + endpoint.number())};
  }
  if (FAILED(answer.intel)) {
    return {true, "Qualcomm driver present; it does not report what it holds", ""};
  }
  const IntelDspState state = AskIntelDsp(machine, endpoint);
  if (!state.fault.empty()) {
    return {false,
            "the Intel driver is there, but " + state.fault.substr(0, state.fault.find('\n')),
            CommandLine("-v doctor " + endpoint.number())};
  }
  const std::string switch_name =
      state.driver == kSkylakeDriver ? "VQ3D-Process Enable" : "ZENSND-Process Enable";
  return {*state.enabled,
          "Intel driver (" + state.driver + ", interface version " +
              std::to_string(state.versions.api) + ", module " + state.versions.module_version +
              "), " + (*state.enabled ? "switched on" : "switched off"),
          CommandLine("dsp intel " + endpoint.number() + " set \"" + switch_name + "\" 1")};
}

}  // namespace orv::cli
