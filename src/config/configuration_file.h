// An endpoint's XML configuration file: free-form properties and operating modes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "config/configuration_reader.h"
#include "config/operating_mode.h"
#include "platform/machine.h"

namespace orv {

using ORVAPOModeList = std::vector<std::shared_ptr<ORVAPOOperatingMode>>;

// Used by one thread at a time. Parsed documents are shared by all objects of the process, by
// machine and path, and read once: a file changed on disk after its first successful load is not
// read again. The modes are shared as well, and never change.
class ORVAPOConfigurationFile {
 public:
  explicit ORVAPOConfigurationFile(Machine& machine) : machine_(machine) {}
  virtual ~ORVAPOConfigurationFile() = default;

  // Reads the modes for `config_type` (0 without selector, 1 "dsp") and the chains for the location
  // (0 "PreBlue" plain chains, 1 "SFX", 2 "MFX", 3 "EFX"). Clears the earlier content first; with a
  // non-zero status the modes read so far stay and the default mode key keeps its previous value.
  virtual LoadStatus Load(const std::wstring& path, std::uint32_t config_type,
                          std::uint32_t location);
  // Valid until the next Load.
  virtual const ORVAPOModeList& GetModes() const { return modes_; }
  virtual const ORVAPOModeKey& GetDefaultModeKey() const { return default_key_; }
  virtual const ORVQVTValueList& GetProperties() const { return properties_; }
  virtual const std::wstring& GetProductName() const { return product_name_; }
  virtual std::uint32_t GetEndpointConfig() const { return config_type_; }
  // Copies the mode with this key; true when exactly one has it (with several, the last one is
  // copied and the result is false).
  virtual bool FindMode(const ORVAPOModeKey& key, ORVAPOOperatingMode& mode) const;
  // The same, but an automatic microphone mode of the key's speaker type wins over the mode with
  // the key.
  virtual bool FindModeForKey(const ORVAPOModeKey& key, ORVAPOOperatingMode& mode) const;

  // Chooses the default mode key: the properties' own, else the first mode's. False when there is
  // neither.
  bool SetDefaultMode();

 private:
  Machine& machine_;
  ORVQVTValueList properties_;
  std::wstring product_name_;
  ORVAPOModeList modes_;
  ORVAPOModeKey default_key_;
  std::uint32_t config_type_ = 0;
};

}  // namespace orv
