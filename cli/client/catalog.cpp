#include "cli/client/catalog.h"

#include "cli/client/registry.h"
#include "cli/show/failure.h"
#include "cli/show/names.h"
#include "platform/text.h"
#include "properties/property_image.h"

namespace orv::cli {
namespace {

const ORVQVTValueList& ListOf(const ORVAPOOperatingMode& mode, ORVAPOControlType list) {
  if (list == kORVAPO_Cont_Private) return mode.GetPrivateControls();
  return list == kORVAPO_Cont_Default ? mode.GetDefaultControls() : mode.GetPublicControls();
}

void OverwriteWithStored(const ImageBytes& image, ControlTexts& texts) {
  ORVPropertyList stored;
  DecodeImage(image, ImageReading::Merge, stored);
  for (const ORVPropertyEntry& entry : stored) {
    const auto found = texts.find(Utf8FromName(entry.name));
    const std::optional<std::wstring> text = WideTextOf(entry.value);
    if (found != texts.end() && text) found->second = Utf8FromName(*text);
  }
}

}  // namespace

ControlFacts Catalog::Describe(const std::string& name) const {
  ControlFacts facts;
  ORVQVTControlInfo info;
  for (const std::wstring& stored : NamesFromUtf8(name)) {
    const ORVQVTValue value(Narrow(stored), 0);
    facts.described = facts.described || technology_.FindControlInfo(value, info);
  }
  if (!facts.described) return facts;
  facts.factor = info.factor();
  facts.minimum = info.minimum();
  facts.maximum = info.maximum();
  facts.scale = static_cast<ORV_QVT_SCALE>(info.scale());
  for (const std::string& choice : info.names()) facts.choices.push_back(Utf8FromName(choice));
  return facts;
}

ValueForm Catalog::FormOf(const std::string& name) const {
  const ControlFacts facts = Describe(name);
  return cli::FormOf(name, facts.scale, facts.factor, facts.maximum, facts.choices);
}

std::vector<std::string> Catalog::DescribedNames() const {
  std::vector<std::string> names;
  for (const ORVQVTControlInfo& info : technology_.control_infos())
    names.push_back(Utf8FromName(info.name()));
  return names;
}

const ORVAPOConfigurationFile& Catalog::File(const Endpoint& endpoint) {
  const std::string path = endpoint.ConfigFile();
  const ORVAPOEndpointConfig type = endpoint.Config();
  std::unique_ptr<ORVAPOConfigurationFile>& file = files_[{path, type}];
  if (file == nullptr) {
    auto loaded = std::make_unique<ORVAPOConfigurationFile>(machine_);
    const LoadStatus status = loaded->Load(WideFromUtf8(path), static_cast<std::uint32_t>(type), 0);
    if (status != LoadStatus::Loaded) {
      throw Failure(kRefused,
                    "the configuration file {} cannot be read (load status {}).\nWhat "
                    "examines it: {}",
                    path, NumberOf(status), CommandLine("doctor " + endpoint.number()));
    }
    file = std::move(loaded);
  }
  return *file;
}

ControlTexts Catalog::Texts(const Endpoint& endpoint, const std::string& mode,
                            ORVAPOControlType list) {
  for (const auto& candidate : File(endpoint).GetModes()) {
    if (Utf8FromName(candidate->GetModeKey().GetModeName()) != mode) continue;
    ControlTexts texts;
    for (const auto& [name, value] : ListOf(*candidate, list))
      texts.emplace(Utf8FromName(name), Utf8FromName(value.ToString()));
    if (list == kORVAPO_Cont_Public) {
      if (const auto image = ReadImage(machine_, endpoint.RegistryPath(), mode))
        OverwriteWithStored(*image, texts);
    }
    return texts;
  }
  throw Failure(kRefused, "the configuration file {} has no mode named {}.", endpoint.ConfigFile(),
                mode);
}

std::string Catalog::DefaultMode(const Endpoint& endpoint) {
  return Utf8FromName(File(endpoint).GetDefaultModeKey().GetModeName());
}

}  // namespace orv::cli
