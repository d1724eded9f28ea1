// Fills one endpoint record: the platform's two keys of the endpoint, the fallback key, defaults,
// the choice of the configuration file, and the processing object's key.
#pragma once

#include <array>
#include <string>

#include "endpoints/endpoint_info.h"
#include "properties/property_set.h"

namespace orv {

class EndpointLoader {
 public:
  explicit EndpointLoader(ORVAPOEndpointInfo& info);
  bool Run();

 private:
  enum class Source { PropertyKey, EffectKey };

  // One registry value, where its text goes, and its replacement.
  struct Descriptor {
    Source source;
    bool default_fills_empty;
    const wchar_t* value_name;
    std::wstring& destination;
    const std::wstring& default_text;
  };

  struct Defaults {
    std::wstring apo_key_path;
    std::wstring data_folder;
    std::wstring config_file;
    std::wstring system_effects = L"1";
    std::wstring none;
  };

  enum class KeyReading { Missing, Unreadable, Complete };

  void ForgetEarlierLoad();
  void TakeIdentity();
  void PrepareDefaults();
  // These three are false when the load ends here, with the result so far.
  bool ReadPropertyKey();
  bool ReadEffectKey();
  bool ReadFallbackKey();
  void FillDefaults();
  void ChoosePresetsFile();
  void ChooseFallbackConfigFile();
  void RegisterTechnologyLibrary();

  // A complete reading makes the load a success.
  KeyReading ReadKey(const std::wstring& path, ORVPropertySet& values);
  std::wstring InKnownFolder(REFGUID folder, const wchar_t* rest);
  std::wstring PresetsFile();
  const std::wstring& Subsystem();

  ORVAPOEndpointInfo& info_;
  Machine& machine_;
  Defaults defaults_;
  std::wstring system_effects_;
  const std::array<Descriptor, 13> descriptors_;
  bool result_ = false;
};

}  // namespace orv
