#include "config/configuration_reporter.h"

#include <algorithm>

namespace orv {

void Reporter::CheckAttributes(const tinyxml2::XMLElement& element,
                               std::initializer_list<std::string_view> known) const {
  if (!wanted()) return;
  for (const auto* one = element.FirstAttribute(); one != nullptr; one = one->Next()) {
    if (std::ranges::find(known, one->Name()) != known.end()) continue;
    Report(Severity::Warning, "unknown-attribute", one->GetLineNum(),
           "attribute \"{}\" of <{}> is not known", one->Name(), element.Name());
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
    reporter_.Report(Severity::Warning, "duplicate-mode", line,
                     "mode {}/{} is already in line {}: it cannot be found by its key", texts.first,
                     texts.second, same->second);
  if (!mode.IsAutoMic()) return;
  const auto [other, alone] = automatic_microphone_lines_.emplace(texts.second, line);
  if (!alone)
    reporter_.Report(Severity::Warning, "duplicate-auto-mic", line,
                     "speaker type {} already has an automatic microphone mode in line {}",
                     texts.second, other->second);
}

void ModeComparison::CheckDefaultMode(const ORVQVTValueList& properties) const {
  if (!reporter_.wanted()) return;
  ORVAPOModeKey key;
  if (key.ReadFrom(properties)) {
    const KeyTexts texts = TextsOf(key);
    if (!lines_.contains(texts))
      reporter_.Report(Severity::Warning, "default-mode-missing", 0,
                       "the properties name {}/{} as default mode, but no mode has it", texts.first,
                       texts.second);
  } else if (lines_.empty()) {
    reporter_.Report(Severity::Warning, "no-modes", 0,
                     "no mode was read, and the properties name no default mode");
  }
}

}  // namespace orv
