// Reports findings about a document to an observer, if there is one.
#pragma once

#include <fmt/format.h>
#include <tinyxml2.h>

#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "config/configuration_reader.h"

namespace orv {

using Severity = ConfigurationFinding::Severity;

class Reporter {
 public:
  Reporter() = default;  // reports to no observer
  explicit Reporter(const ConfigurationObserver& observer)
      : observer_(observer ? &observer : nullptr) {}

  bool wanted() const noexcept { return observer_ != nullptr; }

  template <class... Args>
  void Warn(const char* code, const tinyxml2::XMLNode& where, fmt::format_string<Args...> text,
            Args&&... args) const {
    Report(Severity::Warning, code, where.GetLineNum(), text, std::forward<Args>(args)...);
  }
  template <class... Args>
  void Report(Severity severity, const char* code, int line, fmt::format_string<Args...> text,
              Args&&... args) const {
    if (observer_ == nullptr) return;
    (*observer_)({line, code, severity, fmt::format(text, std::forward<Args>(args)...)});
  }

  void CheckAttributes(const tinyxml2::XMLElement& element,
                       std::initializer_list<std::string_view> known) const;

 private:
  const ConfigurationObserver* observer_ = nullptr;
};

// Findings that need a comparison of modes with one another and with the properties.
class ModeComparison {
 public:
  explicit ModeComparison(const Reporter& reporter) : reporter_(reporter) {}

  void Add(const ORVAPOOperatingMode& mode, int line);
  void CheckDefaultMode(const ORVQVTValueList& properties) const;

 private:
  using KeyTexts = std::pair<std::string, std::string>;
  static KeyTexts TextsOf(const ORVAPOModeKey& key);

  const Reporter& reporter_;
  std::map<KeyTexts, int> lines_;
  std::map<std::string, int> automatic_microphone_lines_;  // by speaker type
};

}  // namespace orv
