#include "config/configuration_reporter.h"

#include <algorithm>

namespace orv {

void Reporter::CheckAttributes(const tinyxml2::XMLElement& element,
                               std::initializer_list<std::string_view> known) const {
  if (!wanted()) return;
  for (const auto* one = element.FirstAttribute(); one != nullptr; one = one->Next()) {
    if (std::find(known.begin(), known.end(), one->Name()) != known.end()) continue;
    ReportLine(Severity::Warning, "unknown-attribute", one->GetLineNum(), "attribute \"",
               one->Name(), "\" of <", element.Name(), "> is not known");
  }
}

ModeComparison::KeyTexts ModeComparison::TextsOf(const ORVAPOModeKey& key) {
  return {key.operating_mode().ToString(), key.speaker_type().ToString()};
}

void ModeComparison::Add(const ORVAPOOperatingMode& mode, int line) {
  if (!reporter_.wanted()) return;
  const KeyTexts texts = TextsOf(mode.GetModeKey());
  const auto [same, added] = lines_.emplace(texts, line);
  if (!added)
    reporter_.ReportLine(Severity::Warning, "duplicate-mode", line, "mode ", texts.first, "/",
                         texts.second, " is already in line ", std::to_string(same->second),
                         ": it cannot be found by its key");
  if (!mode.IsAutoMic()) return;
  const auto [other, alone] = automatic_microphone_lines_.emplace(texts.second, line);
  if (!alone)
    reporter_.ReportLine(Severity::Warning, "duplicate-auto-mic", line, "speaker type ",
                         texts.second, " already has an automatic microphone mode in line ",
                         std::to_string(other->second));
}

void ModeComparison::CheckDefaultMode(const ORVQVTValueList& properties) const {
  if (!reporter_.wanted()) return;
  ORVAPOModeKey key;
  if (key.ReadFrom(properties)) {
    const KeyTexts texts = TextsOf(key);
    if (lines_.count(texts) == 0)
      reporter_.ReportLine(Severity::Warning, "default-mode-missing", 0, "the properties name ",
                           texts.first, "/", texts.second, " as default mode, but no mode has it");
  } else if (lines_.empty()) {
    reporter_.ReportLine(Severity::Warning, "no-modes", 0,
                         "no mode was read, and the properties name no default mode");
  }
}

}  // namespace orv
