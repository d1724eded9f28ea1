// Audio endpoints: identity, names, paths and effect registration, gathered from the registry in
// one pass.
#pragma once

#include <string>
#include <vector>

#include "orv_apo/com.h"
#include "platform/com_ptr.h"
#include "platform/machine.h"

namespace orv {

// An effect's class identifier with its upper-case text; zero with empty text if none is
// registered.
struct EffectIdentifier {
  GUID guid = GUID_NULL;
  std::wstring text;
};

// Text that a copy of its owner starts without.
struct WorkingText {
  std::wstring text;

  WorkingText() = default;
  WorkingText(const WorkingText&) noexcept {}
  WorkingText& operator=(const WorkingText& other) noexcept {
    if (&other != this) text.clear();
    return *this;
  }
};

// A copy shares the device; the fallback key path and the subsystem text are not copied.
class ORVAPOEndpointInfo {
 public:
  explicit ORVAPOEndpointInfo(Machine& machine) : machine_(&machine) {}
  ORVAPOEndpointInfo(const ORVAPOEndpointInfo&) = default;
  ORVAPOEndpointInfo& operator=(const ORVAPOEndpointInfo&) = default;
  virtual ~ORVAPOEndpointInfo() = default;

  virtual void Reset();
  // Reset, take the device, then Load.
  virtual bool Attach(IMMDevice* device, bool is_render);
  // Reads everything; false if none of its keys could be read. Missing values leave defaults.
  // Creates the key for the processing object and names the technology library there. Nothing of an
  // earlier load remains.
  bool Load();

  Machine& machine() const noexcept { return *machine_; }
  IMMDevice* device() const noexcept { return device_.get(); }
  bool is_render() const noexcept { return is_render_; }
  const GUID& guid() const noexcept { return guid_; }
  const std::wstring& guid_text() const noexcept { return guid_text_; }  // upper case, with braces
  const std::wstring& endpoint_id() const noexcept { return endpoint_id_; }
  // Device name, blank, description.
  const std::wstring& display_name() const noexcept { return display_name_; }
  const std::wstring& device_name() const noexcept { return device_name_; }
  const std::wstring& description() const noexcept { return description_; }
  // Relative to HKEY_LOCAL_MACHINE.
  const std::wstring& apo_key_path() const noexcept { return apo_key_path_; }
  const std::wstring& data_folder() const noexcept { return data_folder_; }
  const std::wstring& config_file() const noexcept { return config_file_; }
  const std::wstring& setting3() const noexcept { return setting3_; }
  const std::wstring& setting4() const noexcept { return setting4_; }
  const EffectIdentifier& premix_effect() const noexcept { return premix_effect_; }
  const EffectIdentifier& stream_effect() const noexcept { return stream_effect_; }
  const EffectIdentifier& mode_effect() const noexcept { return mode_effect_; }
  const EffectIdentifier& endpoint_effect() const noexcept { return endpoint_effect_; }
  bool system_effects_disabled() const noexcept { return system_effects_disabled_; }

 private:
  friend class EndpointLoader;

  Machine* machine_;
  ComPtr<IMMDevice> device_;
  GUID guid_ = GUID_NULL;
  std::wstring guid_text_;
  std::wstring endpoint_id_;
  bool is_render_ = true;
  WorkingText fallback_key_path_;
  std::wstring display_name_;
  std::wstring apo_key_path_;
  std::wstring data_folder_;
  std::wstring config_file_;
  std::wstring setting3_;
  std::wstring setting4_;
  WorkingText subsystem_;  // of the device, for the presets file's name; found when first needed
  std::wstring device_name_;
  std::wstring description_;
  EffectIdentifier premix_effect_;
  EffectIdentifier stream_effect_;
  EffectIdentifier mode_effect_;
  EffectIdentifier endpoint_effect_;
  bool system_effects_disabled_ = false;
};

class ORVAPOEndpointTools {
 public:
  explicit ORVAPOEndpointTools(Machine& machine) : machine_(machine) {}

  // Replaces the list by the active render endpoints whose Load succeeds, in the platform's order;
  // returns true if there is one.
  bool EnumerateEndpoints(std::vector<ORVAPOEndpointInfo>& endpoints);

 private:
  Machine& machine_;
};

}  // namespace orv
