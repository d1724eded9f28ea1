#include "cli/client/session.h"

#include <fmt/format.h>

#include <map>
#include <set>

#include "analysis/loopback_stream.h"
#include "analysis/spectrum.h"
#include "cli/client/host.h"
#include "cli/client/user_machines.h"
#include "cli/show/failure.h"
#include "cli/show/names.h"
#include "config/technology_library.h"
#include "endpoints/endpoint_registry.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

const char* const kReportBug = "Run again with -v to see what the component reports.";
const char* const kServiceSilent = "The machine's audio service does not answer.";

std::string CheckRights() {
  return "The endpoint's registry key may be closed to this user. What examines it: " +
         CommandLine("doctor");
}

// What `object.*getter` hands out: a value, or a text.
template <class Value, class Object, class Getter>
Value Get(const ComPtr<Object>& object, Getter getter, const std::string& asked,
          const std::string& remedy = kReportBug) {
  Value value{};
  Require((object.get()->*getter)(&value), asked, remedy);
  return value;
}
template <class Object, class Getter>
std::string GetText(const ComPtr<Object>& object, Getter getter, const std::string& asked) {
  return Utf8FromWide(ViewOf(UniqueBstr(Get<BSTR>(object, getter, asked)).get()));
}
// The same for a name or text of a configuration file.
template <class Object, class Getter>
std::string GetName(const ComPtr<Object>& object, Getter getter, const std::string& asked) {
  return Utf8FromName(ViewOf(UniqueBstr(Get<BSTR>(object, getter, asked)).get()));
}

// Calls `take` with each object of the enumeration.
template <class Object, class Enumerator, class Take>
void ForEach(Enumerator& enumerator, const std::string& asked, Take take) {
  for (;;) {
    ComPtr<Object> object;
    const HRESULT status = enumerator.Next(object.Put());
    Require(status, asked, kReportBug);
    if (status == S_FALSE || !object) return;
    take(std::move(object));
  }
}

Endpoint::Property PropertyOf(const ComPtr<IORVAPOConfigProperty>& property,
                              const std::string& asked) {
  return {GetName(property, &IORVAPOConfigProperty::get_Key, asked),
          GetName(property, &IORVAPOConfigProperty::get_Value, asked)};
}

std::wstring AsFolder(std::wstring path) {
  if (!path.empty() && path.back() != L'\\') path += L'\\';
  return path;
}

std::wstring SystemFolder(Machine& machine) {
  return AsFolder(machine.SystemDirectory().value_or(std::wstring()));
}

// Drops the update at the end of the scope unless it was committed.
class OpenUpdate {
 public:
  OpenUpdate(const ComPtr<IORVOperatingMode>& mode, const std::string& asked)
      : update_(mode.As<IORVValueUpdate>()) {
    if (!update_) {
      ComponentFailure(asked, E_NOINTERFACE,
                       "The component is older than this program. To register the one beside it: " +
                           CommandLine("register"));
    }
    Require(update_->BeginUpdate(), asked, CheckRights());
  }
  ~OpenUpdate() { update_->CancelUpdate(); }
  OpenUpdate(const OpenUpdate&) = delete;
  OpenUpdate& operator=(const OpenUpdate&) = delete;

  HRESULT Commit() { return update_->CommitUpdate(); }

 private:
  ComPtr<IORVValueUpdate> update_;
};

// The library's folder as the first of the endpoints names it, else the system directory.
std::wstring FindTechnologyFolder(Machine& machine, const std::vector<std::string>& endpoints) {
  Registry& registry = machine.registry();
  for (const std::string& endpoint : endpoints) {
    const std::wstring id = WideFromUtf8(endpoint);
    const std::wstring guid = ToUpperAscii(id.substr(id.rfind(L'.') + 1));
    const std::wstring file =
        ReadKeyText(registry, ProcessingKeyPath(registry, guid), kTechnologyPathValue);
    if (!file.empty()) return AsFolder(RemoveLastPathElement(file));
  }
  return SystemFolder(machine);
}

}  // namespace

ControlInfo Control::Info() const {
  const std::string range = fmt::format("reading the range of \"{}\"", name_);
  return {GetName(object_, &IORVAPOControl::get_DisplayValue, "reading a control's name"),
          Get<LONG>(object_, &IORVAPOControl::get_MinValue, range),
          Get<LONG>(object_, &IORVAPOControl::get_MaxValue, range),
          Get<ORV_QVT_SCALE>(object_, &IORVAPOControl::get_Scale,
                             fmt::format("reading the scale of \"{}\"", name_))};
}

std::optional<std::int32_t> Control::Value() const {
  LONG value = 0;
  if (FAILED(object_->get_Value(&value))) return std::nullopt;
  return value;
}

void Control::SetValue(std::int32_t value) const {
  Require(object_->put_Value(value), fmt::format("setting \"{}\" to {}", name_, value),
          is_private_ ? "It is a private control, and clients change public ones only."
                      : CheckRights());
}

std::optional<Control> ControlList::Find(const std::string& name) const {
  for (const std::wstring& stored : NamesFromUtf8(name)) {
    ComPtr<IORVAPOControl> control;
    const HRESULT status = object_->GetControlFromName(NewText(stored).get(), control.Put());
    if (status == orv_apo::kNotFound) continue;
    Require(status, fmt::format("asking for the control \"{}\"", name), kReportBug);
    return Control(std::move(control), name, is_private_);
  }
  return std::nullopt;
}

Mode::Mode(ComPtr<IORVOperatingMode> object)
    : object_(std::move(object)),
      name_(GetName(object_, &IORVOperatingMode::get_Name, "reading a mode's name")) {}

ControlList Mode::Controls(ORVAPOControlType type) const {
  ComPtr<IORVAPOControlEnumerator> enumerator;
  Require(object_->get_ORVAPOControlEnumerator(type, enumerator.Put()),
          "reading the controls of " + name_, kReportBug);
  auto list = enumerator.As<IORVAPOControlEnumerator2>();
  if (!list) ComponentFailure("finding controls by name", E_NOINTERFACE, kReportBug);
  return ControlList(std::move(list), type == kORVAPO_Cont_Private);
}

void Mode::Store(const std::map<std::string, std::int32_t>& values) const {
  if (values.empty()) return;
  const auto& [first, value] = *values.begin();
  const std::string asked = values.size() == 1
                                ? fmt::format("setting \"{}\" to {}", first, value)
                                : fmt::format("storing {} values of {}", values.size(), name_);
  OpenUpdate update(object_, asked);
  const ControlList publics = Controls(kORVAPO_Cont_Public);
  for (const auto& [name, wanted] : values) {
    std::optional<Control> control = publics.Find(name);
    if (!control) control = Controls(kORVAPO_Cont_Private).Find(name);
    if (!control) ComponentFailure("finding \"" + name + "\"", orv_apo::kNotFound, "");
    control->SetValue(wanted);
  }
  Require(update.Commit(), asked, CheckRights());
}

void Mode::RestoreDefaults() const {
  Require(object_->RestoreDefaults(), "restoring the defaults of " + name_, CheckRights());
}

bool Mode::Enabled() const {
  return Get<LONG>(object_, &IORVOperatingMode::get_APOEnable, "asking whether processing is on",
                   CheckRights()) != 0;
}

void Mode::SetEnabled(bool enabled) const {
  Require(object_->put_APOEnable(enabled ? 1 : 0),
          enabled ? "switching processing on" : "switching processing off", CheckRights());
}

Endpoint::Endpoint(ComPtr<IORVEndpointInfo5> object, std::string id, std::size_t number)
    : object_(std::move(object)),
      id_(std::move(id)),
      number_(number),
      name_(GetText(object_, &IORVEndpointInfo5::get_FriendlyName, "reading an endpoint's name")) {}

std::string Endpoint::ConfigFile() const {
  return GetText(object_, &IORVEndpointInfo5::get_ConfigFile,
                 "reading the configuration file's path");
}

std::string Endpoint::RegistryPath() const {
  return GetText(object_, &IORVEndpointInfo5::get_RegistryPath, "reading the registry path");
}

std::vector<Mode> Endpoint::Modes() const {
  ComPtr<IORVAPOOpModeEnumerator> enumerator;
  const std::string asked = "listing the modes of " + name_;
  Require(object_->GetOpModeEnumerator(enumerator.Put()), asked, kReportBug);
  std::vector<Mode> modes;
  ForEach<IORVOperatingMode>(*enumerator, asked,
                             [&](auto mode) { modes.emplace_back(std::move(mode)); });
  return modes;
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
  return Get<ORVAPOEndpointConfig>(object_, &IORVEndpointInfo5::GetConfig,
                                   "reading the configuration type");
}

void Endpoint::SetConfig(ORVAPOEndpointConfig config) const {
  Require(object_->SetConfig(config),
          fmt::format("loading configuration type {} of {}", static_cast<int>(config), name_),
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
  const std::string asked = "reading the configuration's properties";
  ComPtr<IORVAPOConfigEnumerator> enumerator;
  Require(object_->get_config_enum(enumerator.Put()), asked, kReportBug);
  std::vector<Property> properties;
  ForEach<IORVAPOConfigProperty>(*enumerator, asked, [&](const auto& property) {
    properties.push_back(PropertyOf(property, asked));
  });
  return properties;
}

std::optional<Endpoint::Property> Endpoint::FindProperty(const std::string& key) const {
  const std::string asked = "reading a property of the configuration";
  ComPtr<IORVAPOConfigEnumerator> enumerator;
  Require(object_->get_config_enum(enumerator.Put()), asked, kReportBug);
  for (const std::wstring& stored : NamesFromUtf8(key)) {
    ComPtr<IORVAPOConfigProperty> property;
    const HRESULT status = enumerator->get_ConfigProperty(NewText(stored).get(), property.Put());
    if (status == E_INVALIDARG) continue;
    Require(status, asked, kReportBug);
    return PropertyOf(property, asked);
  }
  return std::nullopt;
}

Session::Session(const SessionOptions& options)
    : machine_folder_(options.machine.empty() ? DefaultMachineFolder() : options.machine),
      machine_(OpenMachine(machine_folder_)),
      component_(machine_folder_, options.diagnostics),
      technology_folder_(options.technology.empty()
                             ? FindTechnologyFolder(*machine_, DeviceIdentifiers())
                             : AsFolder(WideFromUtf8(options.technology))) {}

IORVAPOSystem* Session::System() const {
  if (!system_) {
    ComPtr<IORVAPOSystem> system;
    Require(component_.CreateSystem(system.Put()), "creating the component's system object",
            kReportBug);
    Require(system->InitializeSystem(NewText(technology_folder_).get()), "initialising the system",
            kReportBug);
    system_ = std::move(system);
  }
  return system_.get();
}

std::vector<std::string> Session::DeviceIdentifiers() const {
  const std::string asked = "asking the machine for its audio endpoints";
  ComPtr<IMMDeviceEnumerator> enumerator;
  Require(machine_->CreateDeviceEnumerator(enumerator.Put()), asked, kServiceSilent);
  ComPtr<IMMDeviceCollection> devices;
  Require(enumerator->EnumAudioEndpoints(eRender, DEVICE_STATE_ACTIVE, devices.Put()), asked,
          kServiceSilent);
  const UINT count = Get<UINT>(devices, &IMMDeviceCollection::GetCount, asked, kServiceSilent);
  std::vector<std::string> identifiers;
  for (UINT i = 0; i < count; ++i) {
    ComPtr<IMMDevice> device;
    if (FAILED(devices->Item(i, device.Put()))) continue;
    const std::wstring id = DeviceIdentifier(*device);
    if (!id.empty()) identifiers.push_back(Utf8FromWide(id));
  }
  return identifiers;
}

std::vector<Endpoint> Session::Endpoints(std::vector<std::string>* unopened) const {
  ComPtr<IORVEndpointEnumerator> enumerator;
  Require(System()->EnumerateORVEndpoints(enumerator.Put()), "listing the endpoints", kReportBug);
  std::vector<Endpoint> endpoints;
  for (const std::string& id : DeviceIdentifiers()) {
    ComPtr<IORVEndpointInfo> info;
    const HRESULT status =
        enumerator->GetEndpointFromDevice(NewText(WideFromUtf8(id)).get(), info.Put());
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

Session::Stream Session::StreamOf(const Endpoint& endpoint) const {
  const std::string asked = "asking for the format of " + endpoint.name();
  ComPtr<IMMDevice> device;
  Require(FindDevice(*machine_, WideFromUtf8(endpoint.id()), device), asked, kServiceSilent);
  ComPtr<IAudioClient> client;
  MixFormat format;
  Require(ActivateAudioClient(*device, client, format), asked, kServiceSilent);
  return {format->nSamplesPerSec, format->nChannels};
}

void FitToStream(std::vector<Band>& bands, std::uint32_t sample_rate) {
  const auto is_outside = [&](std::uint32_t point) { return !IsInBand(point, sample_rate); };
  std::erase_if(bands, [&](const Band& band) { return is_outside(band.frequency); });
  const SpectrumBins bins(sample_rate);
  if (bins.count() == 0) return;
  std::map<std::set<std::uint32_t>, std::uint32_t> first;  // band by its bins
  for (Band& band : bands) {
    std::erase_if(band.points, is_outside);
    std::set<std::uint32_t> held;
    for (const std::uint32_t point : band.points) held.insert(bins.Nearest(point));
    const auto [place, is_new] = first.emplace(std::move(held), band.frequency);
    if (!is_new) band.same_bins_as = place->second;
    // A frequency near 0 Hz has the bin of 0 Hz.
    if (is_new && 2 * band.frequency < sample_rate / 1024) band.same_bins_as = 0;
  }
}

std::unique_ptr<ORVAPOProcessInfo> OpenTechnology(const SessionOptions& options) {
  const std::string& named = options.technology;
  try {
    const std::unique_ptr<Machine> machine = OpenMachine(ReadableMachineFolder(options.machine));
    const std::wstring folder =
        named.empty() ? SystemFolder(*machine) : AsFolder(WideFromUtf8(named));
    if (folder.empty()) return nullptr;
    auto technology = std::make_unique<ORVAPOProcessInfo>(*machine, folder.c_str());
    if (!technology->control_infos().empty()) return technology;
  } catch (const Failure&) {
    // Only a machine that the options name has to be there.
    if (!options.machine.empty()) throw;
  }
  if (named.empty()) return nullptr;
  throw Failure(kRefused,
                "no technology library in {} describes a control.\nName the "
                "folder as the machine knows it, such as C:\\Windows\\System32.",
                named);
}

}  // namespace orv::cli
