// A configuration document of any content: read for every type and location, at once and deferred,
// with and without an observer. All ways must agree.
#include <tinyxml2.h>

#include <memory>

#include "config/configuration_reader.h"
#include "fuzzer.h"

namespace orv::fuzz {
namespace {

bool Same(const ORVQVTValueList& a, const ORVQVTValueList& b) {
  return std::ranges::equal(a, b, [](const auto& left, const auto& right) {
    return left.first == right.first && left.second.Equals(right.second);
  });
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

void ReadEveryWay(const std::shared_ptr<SharedDocument>& shared, std::uint32_t type,
                  std::uint32_t location) {
  ConfigurationContent watched;
  bool reported_error = false;
  const LoadStatus status = ReadConfiguration(
      *shared->document, type, location, watched, [&](const ConfigurationFinding& finding) {
        Require(finding.line >= 0 && *finding.code != '\0' && !finding.text.empty());
        reported_error =
            reported_error || finding.severity == ConfigurationFinding::Severity::Error;
      });
  Require(status == LoadStatus::Loaded || reported_error);
  ConfigurationContent content;
  Require(ReadConfigurationDeferred(shared, type, location, content) == status);
  Require(content.modes.size() == watched.modes.size());
  Require(content.mode_lines == watched.mode_lines);
  Require(content.product_name == watched.product_name);
  Require(Same(content.properties, watched.properties));
  for (std::size_t i = 0; i < content.modes.size(); ++i)
    Compare(*content.modes[i], *watched.modes[i]);
}

}  // namespace

void Run(std::span<const std::uint8_t> bytes) {
  const auto document = std::make_shared<tinyxml2::XMLDocument>();
  document->Parse(TextOf(bytes).data(), bytes.size());
  const auto shared = std::make_shared<SharedDocument>();
  shared->document = document;
  for (std::uint32_t type = 0; type < 3; ++type)
    for (std::uint32_t location = 0; location < 5; ++location) ReadEveryWay(shared, type, location);
}

}  // namespace orv::fuzz
