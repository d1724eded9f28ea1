#include "config/configuration_file.h"

#include "config/configuration_document.h"
#include "platform/diagnostics.h"

namespace orv {

LoadStatus ORVAPOConfigurationFile::Load(const std::wstring& path, std::uint32_t config_type,
                                         std::uint32_t location) {
  config_type_ = config_type;
  product_name_.clear();
  properties_.Clear();
  modes_.clear();

  const auto document = ConfigurationDocument::Shared(machine_, path);
  Diagnose(ORV_HERE("ORVAPOConfigurationFile::Load"), L"pXML->load %d\n", document ? 1 : 0);
  if (!document) return LoadStatus::NoDocument;
  Diagnose(ORV_HERE("ORVAPOConfigurationFile::Load"), L"pXML->get_documentElement 0x%p\n",
           document->root());

  const ConfigurationDocument::Reading& reading = document->Read(config_type, location);
  properties_ = reading.content.properties;
  product_name_ = reading.content.product_name;
  modes_ = reading.content.modes;
  if (IsUsable(reading.status)) SetDefaultMode();
  return reading.status;
}

bool ORVAPOConfigurationFile::SetDefaultMode() {
  if (default_key_.ReadFrom(properties_)) return true;
  if (!modes_.empty()) {
    default_key_ = modes_.front()->GetModeKey();
    return true;
  }
  Diagnose(ORV_HERE("ORVAPOConfigurationFile::SetDefaultMode"),
           L"SetDefaultMode returning false...no modes available.\n");
  return false;
}

bool ORVAPOConfigurationFile::FindMode(const ORVAPOModeKey& key, ORVAPOOperatingMode& mode) const {
  std::size_t matches = 0;
  const ORVAPOOperatingMode* last = nullptr;
  for (const auto& one : modes_) {
    if (!one->GetModeKey().Equals(key)) continue;
    last = one.get();
    ++matches;
  }
  if (last != nullptr) mode = *last;
  return matches == 1;
}

bool ORVAPOConfigurationFile::FindModeForKey(const ORVAPOModeKey& key,
                                             ORVAPOOperatingMode& mode) const {
  const std::string speaker_type = key.speaker_type().ToString();
  std::size_t stand_ins = 0;
  const ORVAPOOperatingMode* exact = nullptr;
  const ORVAPOOperatingMode* stand_in = nullptr;
  for (const auto& one : modes_) {
    if (one->GetModeKey().Equals(key)) {
      exact = one.get();
    } else if (one->IsAutoMic() &&
               one->GetModeKey().speaker_type().EqualsText(speaker_type.c_str())) {
      stand_in = one.get();
      ++stand_ins;
    }
  }
  const ORVAPOOperatingMode* chosen = stand_in != nullptr ? stand_in : exact;
  if (chosen == nullptr) return false;
  mode = *chosen;
  return stand_ins <= 1;
}

}  // namespace orv
