// doctor
#include <algorithm>
#include <atomic>
#include <chrono>

#include "cli/client/dsp_objects.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/show/names.h"
#include "cli/show/remedy.h"
#include "cli/show/select.h"
#include "config/configuration_file.h"
#include "config/mode_selector.h"
#include "config/technology_library.h"
#include "endpoints/endpoint_info.h"
#include "endpoints/endpoint_registry.h"
#include "intel_dsp/broadwell/driver_records.h"
#include "intel_dsp/skylake/driver_client.h"
#include "platform/driver_names.h"
#include "platform/files.h"
#include "platform/text.h"
#include "properties/property_image.h"
#include "qc_dsp/driver_interface.h"

namespace orv::cli {
namespace {

struct Check {
  std::string endpoint;  // empty when the whole machine is meant
  std::string name;
  bool ok = false;
  std::string detail;
  std::string remedy;  // empty when all is well
};

class Doctor {
 public:
  explicit Doctor(Context& context) : context_(context), machine_(context.session().machine()) {}

  void ExamineMachine() { ExamineTechnology(); }
  void Examine(const ORVAPOEndpointInfo& info, const std::string& label);
  void Missing(const std::string& label, const char* detail);
  const std::vector<Check>& checks() const noexcept { return checks_; }

 private:
  void Add(const char* name, bool ok, const std::string& detail, const std::string& remedy) {
    checks_.push_back({label_, name, ok, detail, ok ? std::string() : remedy});
  }
  void ExamineTechnology();
  void ExamineEffects(const ORVAPOEndpointInfo& info);
  void ExamineConfiguration(const ORVAPOEndpointInfo& info);
  void ExamineRights(const ORVAPOEndpointInfo& info);
  void ExamineStored(const ORVAPOEndpointInfo& info, const std::vector<Mode>& modes);
  std::string RestoreLine(const std::string& value, const std::vector<Mode>& modes) const;
  std::string ImageFaults(const std::string& value, const ImageBytes& bytes);
  void ExamineThroughComponent(const ORVAPOEndpointInfo& info);
  void ExamineDsp(const Endpoint& endpoint);
  std::string DriverThatRefuses(const Endpoint& endpoint);
  std::string MachineFolder() const;  // one word of a command line; empty for the system's machine

  Context& context_;
  Machine& machine_;
  std::string label_;
  std::string number_;  // of the endpoint, as commands take it
  std::vector<Check> checks_;
};

std::string Doctor::MachineFolder() const {
  const std::filesystem::path& folder = context_.session().machine_folder();
  return folder.empty() ? "" : ShellWord(PathText(std::filesystem::absolute(folder)));
}

void Doctor::ExamineTechnology() {
  label_.clear();
  // Reading the descriptions settles where the library is looked for.
  const std::size_t count = context_.catalog().described_controls();
  const std::wstring path = ORVAPOProcessLibrary::LibraryPath(machine_);
  const std::string file = Utf8FromWide(path);
  if (count != 0) {
    Add("technology library", true, file + " describes " + Counted(count, "control"), "");
  } else if (!machine_.FileExists(path)) {
    Add("technology library", false, file + " is missing",
        "Install the library there, or name its folder with --technology.");
  } else {
    Add("technology library", false, file + " cannot be loaded or describes no control",
        "Install a library built for this system.");
  }
}

void Doctor::ExamineEffects(const ORVAPOEndpointInfo& info) {
  std::string registered;
  const auto add = [&](const char* kind, const EffectIdentifier& effect) {
    if (!effect.text.empty()) registered += (registered.empty() ? "" : ", ") + std::string(kind);
  };
  add("pre-mix", info.premix_effect());
  add("stream", info.stream_effect());
  add("mode", info.mode_effect());
  add("endpoint", info.endpoint_effect());
  Add("effect registration", !registered.empty(),
      registered.empty() ? "no effect is registered on the endpoint" : registered + " effect",
      "Install the effects driver for this endpoint again.");
  Add("system effects", !info.system_effects_disabled(),
      info.system_effects_disabled() ? "switched off for this endpoint" : "allowed",
      "Switch audio enhancements on in the endpoint's properties.");
}

void Doctor::ExamineConfiguration(const ORVAPOEndpointInfo& info) {
  const std::string path = Utf8FromWide(info.config_file());
  if (path.empty()) {
    return Add("configuration file", false, "the endpoint names none",
               "Install the effects driver for this endpoint again.");
  }
  ORVAPOConfigurationFile file(machine_);
  const std::uint32_t status = file.Load(info.config_file(), kORVAPO_EPCfg_None, 0);
  const auto found = machine_.HostFile(info.config_file());
  const std::string host = found ? PathText(std::filesystem::absolute(*found)) : path;
  if (status == kConfigLoaded) {
    return Add("configuration file", true, path + " has " + Counted(file.GetModes().size(), "mode"),
               "");
  }
  const bool exists = machine_.FileExists(info.config_file());
  Add("configuration file", false,
      path + (exists ? " is refused (load status " + std::to_string(status) + ")" : " is missing"),
      exists ? CommandLine("check " + ShellWord(host)) : "Put the configuration file there.");
}

// Writes a value of its own into the key, reads it and takes it away again.
RegStatus TryKey(Machine& machine, const std::wstring& path) {
  static std::atomic<unsigned> count{0};
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  const std::wstring name =
      L"orvctl doctor " + std::to_wstring(now) + L'.' + std::to_wstring(++count);
  std::unique_ptr<RegistryKey> key;
  RegStatus status = machine.registry().OpenKey(RegRoot::LocalMachine, path, kSettingsAccess, key);
  if (status != kRegOk) return status;
  constexpr std::uint32_t kProbe = 0x0D0C7023;
  std::uint32_t found = 0;
  std::uint32_t size = sizeof found;
  status = key->SetValue(name, kRegDword, &kProbe, sizeof kProbe);
  if (status == kRegOk) status = key->QueryValue(name, nullptr, &found, &size);
  if (status == kRegOk && found != kProbe) status = kRegWriteFault;
  const RegStatus deleted = key->DeleteValue(name);
  return status == kRegOk ? deleted : status;
}

void Doctor::ExamineRights(const ORVAPOEndpointInfo& info) {
  const std::string path = "HKEY_LOCAL_MACHINE\\" + Utf8FromWide(info.apo_key_path());
  const std::string folder = MachineFolder();
  const RegStatus status = TryKey(machine_, info.apo_key_path());
  Add("registry rights", status == kRegOk,
      path + (status == kRegOk
                  ? ": a value was written, read and removed"
                  : ": a value could not be written, read and removed: " +
                        StatusText(orv_apo::StatusOfSystemError(static_cast<DWORD>(status)))),
      "Give this user the rights to read and set values of that key" +
          (folder.empty() ? "." : ", and room and the right to write in " + folder + "."));
}

// What an image holds that no reader takes, or that lies outside the control's range; empty when
// all is well.
std::string Doctor::ImageFaults(const std::string& value, const ImageBytes& bytes) {
  ORVPropertyList list;
  const ImageDecoding decoding = DecodeImage(bytes, ImageReading::Replace, list);
  std::string faults;
  const auto add = [&](const std::string& what) { faults += (faults.empty() ? "" : "; ") + what; };
  if (decoding.fault != ImageFault::None) {
    add("the image \"" + value + "\" cannot be decoded from offset " +
        std::to_string(decoding.fault_offset) + " of " + std::to_string(bytes.size()));
  }
  if (decoding.unknown_tags != 0) {
    add("the image \"" + value + "\" has " + Counted(decoding.unknown_tags, "record") +
        " of unknown kind");
  }
  for (const ORVPropertyEntry& entry : list) {
    const std::string name = Utf8FromName(entry.name);
    const std::string text = Utf8FromName(WideTextOf(entry.value).value_or(std::wstring()));
    const std::optional<int> number = ParseNumber(text);
    const ControlFacts facts = context_.catalog().Describe(name);
    if (!facts.described || !number || facts.minimum >= facts.maximum) continue;
    if (*number < facts.minimum || *number > facts.maximum) {
      add("\"" + name + "\" is stored as " + text + ", outside " + std::to_string(facts.minimum) +
          " to " + std::to_string(facts.maximum) + ", in \"" + value + "\"");
    }
  }
  return faults;
}

// The command that stores a value of the endpoint's key anew.
std::string Doctor::RestoreLine(const std::string& value, const std::vector<Mode>& modes) const {
  if (value == Utf8FromWide(kGlobalSettingsValue)) return CommandLine("enable " + number_ + " on");
  for (const Mode& mode : modes)
    if (mode.name() == value) {
      return CommandLine("restore " + number_ + " --mode " + ShellWord(value));
    }
  if (value == Utf8FromWide(ORVAPOModeSelector::kCurrentModeValue))
    return CommandLine("mode " + number_ + " --default");
  return "Delete that value: no mode of the configuration has this name.";
}

// Every value of the endpoint's key that the component reads as an image.
void Doctor::ExamineStored(const ORVAPOEndpointInfo& info, const std::vector<Mode>& modes) {
  std::unique_ptr<RegistryKey> key;
  if (machine_.registry().OpenKey(RegRoot::LocalMachine, info.apo_key_path(), kQueryAccess, key) !=
      kRegOk)
    return;  // "registry rights" says so
  std::size_t count = 0;
  bool well = true;
  std::wstring name;
  for (std::uint32_t i = 0; key->EnumValue(i, name) == kRegOk; ++i) {
    if (!name.starts_with(L"ApoOpMode:") && name != kGlobalSettingsValue &&
        name != ORVAPOModeSelector::kCurrentModeValue)
      continue;
    ++count;
    const std::string value = Utf8FromName(name);
    std::uint32_t type = 0;
    ImageBytes bytes;
    const RegStatus status = ReadValue(*key, name, type, bytes);
    std::string faults;
    if (status != kRegOk) {
      faults = "\"" + value + "\" cannot be read: " +
               StatusText(orv_apo::StatusOfSystemError(static_cast<DWORD>(status)));
    } else if (type != kRegBinary) {
      faults = "\"" + value + "\" is not binary";
    } else {
      faults = ImageFaults(value, bytes);
    }
    if (faults.empty()) continue;
    Add("stored values", false, faults, RestoreLine(value, modes));
    well = false;
  }
  if (well) Add("stored values", true, Counted(count, "image") + " decoded, values in range", "");
}

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
std::string Doctor::DriverThatRefuses(const Endpoint& endpoint) {
  const auto unopened = [&](const GUID& interface_class) -> std::optional<std::uint32_t> {
    std::uint32_t error = 0;
    const std::vector<std::wstring> paths = machine_.DeviceInterfaces(interface_class);
    for (const std::wstring& path : paths)
      if (machine_.OpenDevice(path, error) != nullptr) return 0;
    return paths.empty() ? std::nullopt : std::optional(error);
  };
  const auto told = [](const char* driver, std::uint32_t error) {
    return std::string("the ") + driver + " driver is there, but " +
           (error == 0 ? "the component did not get its object"
                       : "cannot be opened: " + StatusText(orv_apo::StatusOfSystemError(error)));
  };
  if (const auto error = unopened(broadwell::kDeviceInterface)) return told("Intel", *error);
  if (const auto error = unopened(kQualcommInterfaceClass)) return told("Qualcomm", *error);
  return SkylakeRefusal(machine_, endpoint.id());
}

void Doctor::ExamineDsp(const Endpoint& endpoint) {
  const DspAnswer answer(endpoint);
  if (!answer.present()) {
    const std::string refusal = DriverThatRefuses(endpoint);
    return Add("DSP", refusal.empty(),
               refusal.empty() ? "none: the effects run in the audio engine" : refusal,
               CommandLine("-v doctor " + number_));
  }
  if (FAILED(answer.intel)) {
    return Add("DSP", true, "Qualcomm driver present; it does not report what it holds", "");
  }
  const IntelDspState state = AskIntelDsp(machine_, endpoint);
  if (!state.fault.empty()) {
    return Add("DSP", false,
               "the Intel driver is there, but " + state.fault.substr(0, state.fault.find('\n')),
               CommandLine("-v doctor " + number_));
  }
  const std::string switch_name =
      state.driver == kSkylakeDriver ? "VQ3D-Process Enable" : "ZENSND-Process Enable";
  Add("DSP", *state.enabled,
      "Intel driver (" + state.driver + ", interface version " +
          std::to_string(state.versions.api) + ", module " + state.versions.module_version + "), " +
          (*state.enabled ? "switched on" : "switched off"),
      CommandLine("dsp intel " + number_ + " set \"" + switch_name + "\" 1"));
}

void Doctor::ExamineThroughComponent(const ORVAPOEndpointInfo& info) {
  const std::string id = Utf8FromWide(info.endpoint_id());
  const std::vector<Endpoint> endpoints = context_.session().Endpoints();
  for (std::size_t i = 0; i < endpoints.size(); ++i) {
    const Endpoint& endpoint = endpoints[i];
    if (!EqualsIgnoringCase(endpoint.id(), id)) continue;
    number_ = std::to_string(i);
    Add("component", true, "finds the endpoint", "");
    const std::optional<Mode> mode = endpoint.CurrentMode();
    Add("current mode", mode.has_value(),
        mode ? mode->name() : "the stored mode is none of the configuration's",
        CommandLine("mode " + number_ + " --default"));
    const std::vector<Mode> modes = endpoint.Modes();
    const bool enabled = !modes.empty() && modes.front().Enabled();
    Add("processing", enabled, enabled ? "on" : "off", CommandLine("enable " + number_ + " on"));
    ExamineStored(info, modes);
    return ExamineDsp(endpoint);
  }
  Add("component", false, "does not find the endpoint",
      "What is wrong above comes first; if nothing is: " + CommandLine("-v endpoints"));
}

void Doctor::Examine(const ORVAPOEndpointInfo& info, const std::string& label) {
  label_ = label;
  ExamineEffects(info);
  ExamineConfiguration(info);
  ExamineRights(info);
  try {
    ExamineThroughComponent(info);
  } catch (const Failure& failure) {
    // What happened, and below it what to do about it.
    const std::string text = failure.what();
    const std::size_t end = text.find('\n');
    Add("component", false, text.substr(0, end),
        end != std::string::npos ? text.substr(end + 1) : CommandLine("-v endpoints"));
  }
}

void Doctor::Missing(const std::string& label, const char* detail) {
  label_ = label;
  Add("effect registration", false, detail, "Install the audio driver again.");
}

std::string NameOf(const ORVAPOEndpointInfo& info) {
  const std::string name = Utf8FromWide(info.display_name());
  return name.find_first_not_of(' ') == std::string::npos ? Utf8FromWide(info.endpoint_id()) : name;
}

// Every active render endpoint, also those that the component passes over. One that cannot be read
// to the end has an empty key path, one that cannot be read at all no name either.
std::vector<ORVAPOEndpointInfo> ReadEndpoints(Session& session) {
  std::vector<ORVAPOEndpointInfo> infos;
  ComPtr<IMMDeviceEnumerator> enumerator;
  Require(session.machine().CreateDeviceEnumerator(enumerator.Put()),
          "asking the machine for its audio endpoints", "");
  for (const std::string& id : session.DeviceIdentifiers()) {
    ComPtr<IMMDevice> device;
    if (FAILED(enumerator->GetDevice(WideFromUtf8(id).c_str(), device.Put()))) continue;
    infos.emplace_back(session.machine());
    infos.back().Attach(device.get(), true);
  }
  return infos;
}

// The endpoint that the text names, as "endpoints" numbers them or by name or identifier.
std::vector<ORVAPOEndpointInfo> Chosen(Context& context, const std::string& text,
                                       std::vector<ORVAPOEndpointInfo> infos) {
  if (text.empty()) return infos;
  std::string wanted = text;
  if (ParseNumber(text)) wanted = context.SelectEndpoint(text).id();
  for (const ORVAPOEndpointInfo& info : infos)
    if (EqualsIgnoringCase(Utf8FromWide(info.endpoint_id()), wanted)) return {info};
  std::vector<std::string> names;
  names.reserve(infos.size());
  for (const ORVAPOEndpointInfo& info : infos) names.push_back(NameOf(info));
  return {infos[SelectOrFail(names, wanted, "endpoint")]};
}

void ShowChecks(Context& context, const std::vector<Check>& checks) {
  Json array = Json::array();
  for (const Check& check : checks) {
    const std::string prefix = check.endpoint.empty() ? "" : check.endpoint + ": ";
    array.push_back({{"check", check.name},
                     {"ok", check.ok},
                     {"detail", prefix + check.detail},
                     {"remedy", check.remedy}});
    if (!check.ok) context.exit_status = kDiffering;
  }
  if (context.output.json()) return context.output.Value(array);
  for (std::size_t i = 0; i < checks.size();) {
    const std::string& endpoint = checks[i].endpoint;
    if (!endpoint.empty())
      context.output.Line(context.output.Painted(Printable(endpoint), ansi::kBold));
    Table table({{""}, {""}, {""}});
    for (; i < checks.size() && checks[i].endpoint == endpoint; ++i) {
      const Check& check = checks[i];
      table.Add({Cell(check.ok ? "ok" : "NO", check.ok ? ansi::kGood : ansi::kBad), check.name,
                 check.ok ? check.detail : check.detail + " -> " + check.remedy});
    }
    context.output.Show(table, endpoint.empty() ? 0 : 2);
  }
}

void Examine(Context& context, const std::string& endpoint) {
  const std::vector<ORVAPOEndpointInfo> infos =
      Chosen(context, endpoint, ReadEndpoints(context.session()));
  Doctor doctor(context);
  doctor.ExamineMachine();
  for (const ORVAPOEndpointInfo& info : infos) {
    if (info.apo_key_path().empty()) {
      doctor.Missing(NameOf(info), info.display_name().empty()
                                       ? "neither of the endpoint's registry keys can be read"
                                       : "a value in the endpoint's registry keys cannot be read");
    } else {
      doctor.Examine(info, NameOf(info));
    }
  }
  if (infos.empty()) {
    context.output.Remark("The machine has no active render endpoint.");
    context.exit_status = kDiffering;
  }
  ShowChecks(context, doctor.checks());
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Context& context) {
  const auto endpoint = std::make_shared<std::string>();
  CLI::App* doctor = AddCommand(
      app, "doctor", "Is processing really active? What is wrong, and what to do about it",
      "orvctl doctor\n  orvctl doctor 0",
      "Examines every active render endpoint, also those that the component passes over.\n"
      "Exit status 3 when something is wrong.");
  doctor->add_option("ENDPOINT", *endpoint, kEndpointHelp);
  doctor->callback([&context, endpoint] { Examine(context, *endpoint); });
}

}  // namespace orv::cli
