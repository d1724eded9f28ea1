// The component's objects as values: texts as UTF-8, failures as Failure with the request.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/component.h"
#include "cli/show/analysis_view.h"
#include "orv_apo/orv_apo.h"
#include "platform/com_ptr.h"
#include "platform/machine.h"

namespace orv {
class ORVAPOProcessInfo;
}

namespace orv::cli {

// How a control is shown.
struct ControlInfo {
  std::string display;  // empty if the control is not described
  std::int32_t minimum = 0;
  std::int32_t maximum = 0;
  ORV_QVT_SCALE scale = ORV_QVT_SCALE_COUNT;
};

class Control {
 public:
  Control(ComPtr<IORVAPOControl> object, std::string name, bool is_private)
      : object_(std::move(object)), name_(std::move(name)), is_private_(is_private) {}

  const std::string& name() const noexcept { return name_; }
  bool is_private() const noexcept { return is_private_; }
  ControlInfo Info() const;
  // nullopt if the mode does not hold the control's value.
  std::optional<std::int32_t> Value() const;
  void SetValue(std::int32_t value) const;

 private:
  ComPtr<IORVAPOControl> object_;
  std::string name_;
  bool is_private_;
};

// One of a mode's three lists, unchanged by later changes of the mode.
class ControlList {
 public:
  ControlList(ComPtr<IORVAPOControlEnumerator2> object, bool is_private)
      : object_(std::move(object)), is_private_(is_private) {}
  // nullopt if the list has no control of exactly this name.
  std::optional<Control> Find(const std::string& name) const;

 private:
  ComPtr<IORVAPOControlEnumerator2> object_;
  bool is_private_;
};

class Mode {
 public:
  explicit Mode(ComPtr<IORVOperatingMode> object);

  const std::string& name() const noexcept { return name_; }
  IORVOperatingMode* object() const noexcept { return object_.get(); }
  ControlList Controls(ORVAPOControlType type) const;  // read again from the registry
  // Stores the values by control name with one write, all or none.
  void Store(const std::map<std::string, std::int32_t>& values) const;
  void RestoreDefaults() const;
  // The switch as it was when this mode object was made, or last set through it.
  bool Enabled() const;
  void SetEnabled(bool enabled) const;

 private:
  ComPtr<IORVOperatingMode> object_;
  std::string name_;
};

enum class Headset { Unknown, Absent, Connected };

class Endpoint {
 public:
  Endpoint(ComPtr<IORVEndpointInfo5> object, std::string id, std::size_t number);

  const std::string& id() const noexcept { return id_; }
  const std::string& name() const noexcept { return name_; }
  // Its number in "endpoints", as commands take it.
  std::string number() const { return std::to_string(number_); }
  IORVEndpointInfo5* object() const noexcept { return object_.get(); }
  std::string ConfigFile() const;
  std::string RegistryPath() const;  // relative to HKEY_LOCAL_MACHINE
  std::vector<Mode> Modes() const;
  // nullopt if the configuration does not have the stored mode.
  std::optional<Mode> CurrentMode() const;
  void SetCurrentMode(const Mode& mode) const;
  void SetDefaultMode() const;
  ORVAPOEndpointConfig Config() const;
  void SetConfig(ORVAPOEndpointConfig config) const;
  Headset HeadsetState() const;
  struct Property {
    std::string key;
    std::string value;
  };
  std::vector<Property> Properties() const;
  std::optional<Property> FindProperty(const std::string& key) const;

 private:
  ComPtr<IORVEndpointInfo5> object_;
  std::string id_;
  std::size_t number_;
  std::string name_;
};

struct SessionOptions {
  std::filesystem::path machine;  // empty: DefaultMachineFolder
  std::string technology;         // folder of the technology library; empty: found
  Diagnostics diagnostics = Diagnostics::None;
};

// The machine, the component on it, and its system object. Outlives everything that is made from
// it.
class Session {
 public:
  explicit Session(const SessionOptions& options);

  Machine& machine() const noexcept { return *machine_; }
  const std::filesystem::path& machine_folder() const noexcept { return machine_folder_; }
  // Ends in a backslash; empty if none is known.
  const std::wstring& technology_folder() const noexcept { return technology_folder_; }
  const Component& component() const noexcept { return component_; }

  // Identifiers of the machine's active render endpoints, in its own order.
  std::vector<std::string> DeviceIdentifiers() const;
  // The endpoints of these devices that the component finds. One that it finds but cannot open is
  // left out, and its identifier added to `unopened` (may be null).
  std::vector<Endpoint> Endpoints(std::vector<std::string>* unopened = nullptr) const;
  // The stream that the endpoint plays.
  struct Stream {
    std::uint32_t sample_rate = 0;  // Hz
    std::size_t channels = 0;
  };
  Stream StreamOf(const Endpoint& endpoint) const;

 private:
  IORVAPOSystem* System() const;

  std::filesystem::path machine_folder_;
  std::unique_ptr<Machine> machine_;
  Component component_;
  std::wstring technology_folder_;
  mutable ComPtr<IORVAPOSystem> system_;  // made for the first request
};

// Removes the bands that a stream of this rate (Hz) cannot have, and marks bands with the same
// bins.
void FitToStream(std::vector<Band>& bands, std::uint32_t sample_rate);

// The library in the folder that the options name, or in the system directory; null if it describes
// no control. Throws Failure if the machine or folder that the options name is not there.
std::unique_ptr<ORVAPOProcessInfo> OpenTechnology(const SessionOptions& options);

}  // namespace orv::cli
