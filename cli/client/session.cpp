#include "cli/client/session.h"

#include "analysis/loopback_stream.h"
#include "cli/client/component_text.h"
#include "cli/client/host.h"
#include "cli/client/technology.h"
#include "cli/show/failure.h"
#include "cli/show/names.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

const char* const kReportBug = "Run again with -v to see what the component reports.";

std::string CheckRights() {
  return "The endpoint's registry key may be closed to this user. What examines it: " +
         CommandLine("doctor");
}

template <class Object, class Getter>
std::string GetText(Object* object, Getter getter, const char* asked) {
  Text text;
  Require((object->*getter)(text.Put()), asked, kReportBug);
  return text.Utf8();
}

// The same for a name or text of a configuration file.
template <class Object, class Getter>
std::string GetName(Object* object, Getter getter, const char* asked) {
  Text text;
  Require((object->*getter)(text.Put()), asked, kReportBug);
  return Utf8FromName(text.view());
}

std::vector<std::string> ActiveRenderDevices(Machine& machine) {
  std::vector<std::string> identifiers;
  ComPtr<IMMDeviceEnumerator> enumerator;
  const char* asked = "asking the machine for its audio endpoints";
  const char* remedy = "The machine's audio service does not answer.";
  Require(machine.CreateDeviceEnumerator(enumerator.Put()), asked, remedy);
  ComPtr<IMMDeviceCollection> devices;
  Require(enumerator->EnumAudioEndpoints(eRender, DEVICE_STATE_ACTIVE, devices.Put()), asked,
          remedy);
  UINT count = 0;
  Require(devices->GetCount(&count), asked, remedy);
  for (UINT i = 0; i < count; ++i) {
    ComPtr<IMMDevice> device;
    if (FAILED(devices->Item(i, device.Put()))) continue;
    const std::wstring id = DeviceIdentifier(*device);
    if (!id.empty()) identifiers.push_back(Utf8FromWide(id));
  }
  return identifiers;
}

std::unique_ptr<Machine> OpenPreparedMachine(const SessionOptions& options,
                                             std::filesystem::path& folder) {
  folder = options.machine;
  std::unique_ptr<Machine> machine = OpenMachine(folder);
  PrepareComponent(folder, options.diagnostics);
  return machine;
}

}  // namespace

std::string Control::DisplayName() const {
  return GetName(object_.get(), &IORVAPOControl::get_DisplayValue, "reading a control's name");
}

ORV_QVT_SCALE Control::Scale() const {
  ORV_QVT_SCALE scale = ORV_QVT_SCALE_COUNT;
  Require(object_->get_Scale(&scale), "reading the scale of \"" + name_ + "\"", kReportBug);
  return scale;
}

std::int32_t Control::Minimum() const {
  LONG minimum = 0;
  Require(object_->get_MinValue(&minimum), "reading the range of \"" + name_ + "\"", kReportBug);
  return minimum;
}

std::int32_t Control::Maximum() const {
  LONG maximum = 0;
  Require(object_->get_MaxValue(&maximum), "reading the range of \"" + name_ + "\"", kReportBug);
  return maximum;
}

std::optional<std::int32_t> Control::Value() const {
  LONG value = 0;
  if (FAILED(object_->get_Value(&value))) return std::nullopt;
  return value;
}

void Control::SetValue(std::int32_t value) const {
  Require(object_->put_Value(value), "setting \"" + name_ + "\" to " + std::to_string(value),
          is_private_ ? "It is a private control, and clients change public ones only."
                      : CheckRights());
}

std::optional<Control> ControlList::Find(const std::string& name) const {
  for (const std::wstring& stored : NamesFromUtf8(name)) {
    ComPtr<IORVAPOControl> control;
    const HRESULT status = object_->GetControlFromName(Text(stored).get(), control.Put());
    if (status == orv_apo::kNotFound) continue;
    Require(status, "asking for the control \"" + name + "\"", kReportBug);
    return Control(std::move(control), name, is_private_);
  }
  return std::nullopt;
}

Mode::Mode(ComPtr<IORVOperatingMode> object)
    : object_(std::move(object)),
      name_(GetName(object_.get(), &IORVOperatingMode::get_Name, "reading a mode's name")) {}

ControlList Mode::Controls(ORVAPOControlType type) const {
  ComPtr<IORVAPOControlEnumerator> enumerator;
  Require(object_->get_ORVAPOControlEnumerator(type, enumerator.Put()),
          "reading the controls of " + name_, kReportBug);
  auto list = enumerator.As<IORVAPOControlEnumerator2>();
  if (!list) ComponentFailure("finding controls by name", E_NOINTERFACE, kReportBug);
  return ControlList(std::move(list), type == kORVAPO_Cont_Private);
}

void Mode::RestoreDefaults() const {
  Require(object_->RestoreDefaults(), "restoring the defaults of " + name_, CheckRights());
}

bool Mode::Enabled() const {
  LONG enabled = 0;
  Require(object_->get_APOEnable(&enabled), "asking whether processing is on", CheckRights());
  return enabled != 0;
}

void Mode::SetEnabled(bool enabled) const {
  Require(object_->put_APOEnable(enabled ? 1 : 0),
          enabled ? "switching processing on" : "switching processing off", CheckRights());
}

Endpoint::Endpoint(ComPtr<IORVEndpointInfo5> object, std::string id, std::size_t number)
    : object_(std::move(object)),
      id_(std::move(id)),
      number_(number),
      name_(GetText<IORVEndpointInfo>(object_.get(), &IORVEndpointInfo::get_FriendlyName,
                                      "reading an endpoint's name")) {}

std::string Endpoint::ConfigFile() const {
  return GetText<IORVEndpointInfo>(object_.get(), &IORVEndpointInfo::get_ConfigFile,
                                   "reading the configuration file's path");
}

std::string Endpoint::RegistryPath() const {
  return GetText<IORVEndpointInfo>(object_.get(), &IORVEndpointInfo::get_RegistryPath,
                                   "reading the registry path");
}

std::vector<Mode> Endpoint::Modes() const {
  ComPtr<IORVAPOOpModeEnumerator> enumerator;
  const std::string asked = "listing the modes of " + name_;
  Require(object_->GetOpModeEnumerator(enumerator.Put()), asked, kReportBug);
  std::vector<Mode> modes;
  for (;;) {
    ComPtr<IORVOperatingMode> mode;
    const HRESULT status = enumerator->Next(mode.Put());
    Require(status, asked, kReportBug);
    if (status == S_FALSE || !mode) return modes;
    modes.emplace_back(std::move(mode));
  }
}

std::optional<Mode> Endpoint::CurrentMode() const {
  ComPtr<IORVOperatingMode> mode;
  const HRESULT status = object_->get_OpMode(mode.Put());
  if (status == orv_apo::kNotFound) return std::nullopt;
  Require(status, "reading the current mode of " + name_, kReportBug);
  return Mode(std::move(mode));
}

void Endpoint::SetCurrentMode(const Mode& mode) const {
  Require(object_->put_OpMode(mode.object()), "switching to " + mode.name(), CheckRights());
}

void Endpoint::SetDefaultMode() const {
  Require(object_->SetDefault(), "switching to the default mode", CheckRights());
}

ORVAPOEndpointConfig Endpoint::Config() const {
  ORVAPOEndpointConfig config = kORVAPO_EPCfg_None;
  Require(object_->GetConfig(&config), "reading the configuration type", kReportBug);
  return config;
}

void Endpoint::SetConfig(ORVAPOEndpointConfig config) const {
  Require(object_->SetConfig(config),
          "loading configuration type " + std::to_string(config) + " of " + name_,
          "What examines its configuration file: " + CommandLine("doctor " + number()));
}

Headset Endpoint::HeadsetState() const {
  LONG connected = 0;
  const HRESULT status = object_->get_HeadsetConnected(&connected);
  Require(status, "asking for the headset", kReportBug);
  if (status != S_OK) return Headset::Unknown;
  return connected != 0 ? Headset::Connected : Headset::Absent;
}

std::vector<Endpoint::Property> Endpoint::Properties() const {
  const char* asked = "reading the configuration's properties";
  ComPtr<IORVAPOConfigEnumerator> enumerator;
  Require(object_->get_config_enum(enumerator.Put()), asked, kReportBug);
  std::vector<Property> properties;
  for (;;) {
    ComPtr<IORVAPOConfigProperty> property;
    const HRESULT status = enumerator->Next(property.Put());
    Require(status, asked, kReportBug);
    if (status == S_FALSE || !property) return properties;
    properties.push_back({GetName(property.get(), &IORVAPOConfigProperty::get_Key, asked),
                          GetName(property.get(), &IORVAPOConfigProperty::get_Value, asked)});
  }
}

std::optional<Endpoint::Property> Endpoint::FindProperty(const std::string& key) const {
  const char* asked = "reading a property of the configuration";
  ComPtr<IORVAPOConfigEnumerator> enumerator;
  Require(object_->get_config_enum(enumerator.Put()), asked, kReportBug);
  for (const std::wstring& stored : NamesFromUtf8(key)) {
    ComPtr<IORVAPOConfigProperty> property;
    const HRESULT status = enumerator->get_ConfigProperty(Text(stored).get(), property.Put());
    if (status == E_INVALIDARG) continue;
    Require(status, asked, kReportBug);
    return Property{GetName(property.get(), &IORVAPOConfigProperty::get_Key, asked),
                    GetName(property.get(), &IORVAPOConfigProperty::get_Value, asked)};
  }
  return std::nullopt;
}

Session::Session(const SessionOptions& options)
    : machine_(OpenPreparedMachine(options, machine_folder_)),
      technology_folder_(options.technology.empty()
                             ? FindTechnologyFolder(*machine_, ActiveRenderDevices(*machine_))
                             : AsFolder(WideFromUtf8(options.technology))) {}

IORVAPOSystem* Session::System() const {
  if (!system_) {
    ComPtr<IORVAPOSystem> system;
    Require(component_.CreateSystem(system.Put()), "creating the component's system object",
            kReportBug);
    Require(system->InitializeSystem(Text(technology_folder_).get()), "initialising the system",
            kReportBug);
    system_ = std::move(system);
  }
  return system_.get();
}

std::vector<std::string> Session::DeviceIdentifiers() const {
  return ActiveRenderDevices(*machine_);
}

std::vector<Endpoint> Session::Endpoints(std::vector<std::string>* unopened) const {
  ComPtr<IORVEndpointEnumerator> enumerator;
  Require(System()->EnumerateORVEndpoints(enumerator.Put()), "listing the endpoints", kReportBug);
  std::vector<Endpoint> endpoints;
  for (const std::string& id : DeviceIdentifiers()) {
    ComPtr<IORVEndpointInfo> info;
    const HRESULT status = enumerator->GetEndpointFromDevice(Text(id).get(), info.Put());
    if (status == E_INVALIDARG) continue;  // the component does not manage this device
    auto endpoint = info.As<IORVEndpointInfo5>();
    if (FAILED(status) || !endpoint) {
      if (unopened != nullptr) unopened->push_back(id);
      continue;
    }
    endpoints.emplace_back(std::move(endpoint), id, endpoints.size());
  }
  return endpoints;
}

std::uint32_t Session::SampleRate(const Endpoint& endpoint) const {
  const std::string asked = "asking for the sample rate of " + endpoint.name();
  const char* remedy = "The machine's audio service does not answer.";
  ComPtr<IMMDevice> device;
  Require(FindDevice(*machine_, WideFromUtf8(endpoint.id()), device), asked, remedy);
  ComPtr<IAudioClient> client;
  MixFormat format;
  Require(ActivateAudioClient(*device, client, format), asked, remedy);
  return format->nSamplesPerSec;
}

}  // namespace orv::cli
