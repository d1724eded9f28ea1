// A configuration document from arbitrary bytes: read for every type and location, at once and
// deferred, with and without an observer. All ways must agree.
#include <tinyxml2.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "config/configuration_reader.h"

namespace {

using namespace orv;

void Require(bool holds) {
  if (!holds) std::abort();
}

bool Same(const ORVQVTValueList& a, const ORVQVTValueList& b) {
  if (a.Count() != b.Count()) return false;
  auto other = b.begin();
  for (const auto& [name, value] : a) {
    if (name != other->first || !value.Equals(other->second)) return false;
    ++other;
  }
  return true;
}

void Compare(const ORVAPOOperatingMode& a, const ORVAPOOperatingMode& b) {
  Require(a.GetModeKey().IsValid() && a.GetModeKey().Equals(b.GetModeKey()));
  Require(a.IsAutoMic() == b.IsAutoMic());
  Require(Same(a.GetPublicControls(), b.GetPublicControls()));
  Require(Same(a.GetPrivateControls(), b.GetPrivateControls()));
  Require(Same(a.GetDefaultControls(), b.GetDefaultControls()));
  const auto& chains = a.GetChainDefinition();
  const auto& others = b.GetChainDefinition();
  Require(chains.size() == others.size());
  for (std::size_t i = 0; i < chains.size(); ++i) {
    Require(!chains[i].processes.empty() && chains[i].processes == others[i].processes);
    Require(chains[i].input_layouts == others[i].input_layouts);
    Require(chains[i].output_layouts == others[i].output_layouts);
    Require(chains[i].render == others[i].render);
    Require(Same(chains[i].controls, others[i].controls));
  }
}

void ReadEveryWay(const std::shared_ptr<const tinyxml2::XMLDocument>& document, std::uint32_t type,
                  std::uint32_t location) {
  ConfigurationContent watched;
  bool reported_error = false;
  const LoadStatus status = ReadConfiguration(
      *document, type, location, watched, [&](const ConfigurationFinding& finding) {
        Require(finding.line >= 0 && *finding.code != '\0' && !finding.text.empty());
        reported_error =
            reported_error || finding.severity == ConfigurationFinding::Severity::Error;
      });
  Require(status == LoadStatus::Loaded || reported_error);
  ConfigurationContent content;
  Require(ReadConfigurationDeferred(document, type, location, content) == status);
  Require(content.modes.size() == watched.modes.size());
  Require(content.mode_lines == watched.mode_lines);
  Require(content.product_name == watched.product_name);
  Require(Same(content.properties, watched.properties));
  for (std::size_t i = 0; i < content.modes.size(); ++i)
    Compare(*content.modes[i], *watched.modes[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = std::make_shared<tinyxml2::XMLDocument>();
  document->Parse(reinterpret_cast<const char*>(data), size);
  DecodeDocument(*document);
  for (std::uint32_t type = 0; type < 3; ++type)
    for (std::uint32_t location = 0; location < 5; ++location)
      ReadEveryWay(document, type, location);
  return 0;
}
