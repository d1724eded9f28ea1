#include "cli/offline/check.h"

#include <tinyxml2.h>

#include <algorithm>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <map>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "cli/show/names.h"
#include "cli/show/select.h"
#include "platform/text.h"
#include "properties/property_image.h"

namespace orv::cli {
namespace {

using Severity = ConfigurationFinding::Severity;

constexpr std::uint32_t kTypes = 2;
constexpr std::uint32_t kLocations = 4;

class Findings {
 public:
  // The same finding from several readings is kept once, in its gravest form.
  void Add(const ConfigurationFinding& one) {
    const auto [place, added] =
        positions_.try_emplace({one.line, std::string(one.code), one.text}, findings_.size());
    if (added) {
      findings_.push_back({one.line, one.code, one.severity, one.text});
    } else {
      Severity& severity = findings_[place->second].severity;
      severity = std::max(severity, one.severity);
    }
  }

  std::vector<Finding> Sorted() && {
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const Finding& a, const Finding& b) { return a.line < b.line; });
    return std::move(findings_);
  }

 private:
  std::vector<Finding> findings_;
  std::map<std::tuple<int, std::string, std::string>, std::size_t> positions_;
};

// The list of modes tells which type reads a mode and where its chains are used. Another reading
// than that of an endpoint (type 0, location 0) reports everything once more; what it finds
// missing says nothing when the file has no modes for its type.
bool IsNews(const ConfigurationFinding& one, bool is_endpoints_reading, bool has_modes) {
  const std::string_view code = one.code;
  if (code == "mode-selector" || code == "chain-location") return false;
  if (is_endpoints_reading) return true;
  return code != "no-modes" && (code != "default-mode-missing" || has_modes);
}

// The modes of a type are the same at every location, in document order; only their chains differ.
// A line may hold several modes.
void AddModes(const ConfigurationContent& content, std::uint32_t type, std::uint32_t location,
              std::vector<CheckedMode>& modes) {
  if (location == 0) {
    for (std::size_t i = 0; i < content.modes.size(); ++i) {
      const ORVAPOOperatingMode& mode = *content.modes[i];
      modes.push_back({Utf8FromName(mode.GetModeKey().GetModeName()),
                       content.mode_lines[i],
                       static_cast<int>(type),
                       mode.IsAutoMic(),
                       mode.GetPublicControls().Count(),
                       mode.GetPrivateControls().Count(),
                       {}});
    }
  }
  const std::size_t first = modes.size() - content.modes.size();
  for (std::size_t i = 0; i < content.modes.size(); ++i)
    modes[first + i].chains[location] = content.modes[i]->GetChainDefinition().chains().size();
}

// The text as the component reads it; nothing where that has its answer for no number.
std::optional<std::int32_t> WholeNumber(const std::string& text) {
  const ORVQVTValue value("", boost::any(text));
  const std::int32_t number = value.ToLong();
  if (number != -1) return number;
  double real = 0;
  const bool is_minus_one =
      boost::conversion::try_lexical_convert(text, real) && real > -2 && real <= -1;
  return is_minus_one ? std::optional(number) : std::nullopt;
}

// What the description has against the text; empty when it fits.
std::string ValueFault(const ORVQVTControlInfo& info, const std::string& text) {
  if (info.scale() == ORV_QVT_SCALE_STRING || info.names().Contains(text)) return {};
  const std::optional<std::int32_t> number = WholeNumber(text);
  if (!number) return info.names().Count() != 0 ? "is none of its choices" : "is no whole number";
  const bool ranged = info.minimum() < info.maximum();
  if (ranged && (*number < info.minimum() || *number > info.maximum()))
    return "is outside " + std::to_string(info.minimum()) + " to " + std::to_string(info.maximum());
  if (info.names().Count() == 0) return {};
  // A choice that a client stores has the place of the text in force, and is found only if that is
  // a choice too; "Enabled" and "Disabled" are numbers by themselves.
  const std::optional<std::string> choice = ChoiceText(info.names(), *number);
  if (choice && WholeNumber(*choice) == number) return {};
  return "is a number where a choice is expected: once changed, the control reads as -1" +
         (choice ? "; write \"" + *choice + "\"" : "");
}

// Names that the registry or a stored image cannot hold. A mode's two texts name its value.
void CheckStorage(const tinyxml2::XMLElement& element, const std::string& name,
                  const std::string& text, Findings& findings) {
  constexpr std::size_t kLongest = kImageNameLimit / 2;  // UTF-16 units
  constexpr char kLineEnds[] = "\r\n";
  const auto warn = [&](const char* code, const std::string& what) {
    findings.Add({element.GetLineNum(), code, Severity::Warning, what});
  };
  if (const std::size_t length = Widen(name).size(); length > kLongest) {
    warn("name-too-long", "a control name of " + std::to_string(length) + " characters: stored " +
                              "values end before one of more than " + std::to_string(kLongest));
  }
  const bool names_mode = name == kOperatingModeControl || name == kSpeakerTypeControl;
  if (name.find_first_of(kLineEnds) != std::string::npos ||
      (names_mode && text.find_first_of(kLineEnds) != std::string::npos)) {
    warn("line-end-in-name", names_mode ? "the text of \"" + name + "\" has a line end: it is " +
                                              "part of the mode's registry value name"
                                        : "a control name with a line end cannot be the name of "
                                          "a registry value");
  }
}

std::string Nearest(const ORVAPOProcessInfo& technology, const std::string& name) {
  std::vector<std::string> names;
  for (const ORVQVTControlInfo& info : technology.control_infos()) names.push_back(info.name());
  const std::string suggestion = Suggestion(names, name);
  return suggestion.empty() ? "" : "." + suggestion;
}

void CheckControl(const tinyxml2::XMLElement& element, const ORVAPOProcessInfo* technology,
                  Findings& findings) {
  const char* name = element.Attribute("name");
  const tinyxml2::XMLNode* last = element.LastChild();
  if (name == nullptr || *name == 0 || last == nullptr || last->Value() == nullptr) return;
  CheckStorage(element, name, last->Value(), findings);
  if (technology == nullptr) return;
  ORVQVTControlInfo info;
  const std::string quoted = "\"" + std::string(name) + "\"";
  if (!technology->FindControlInfo(ORVQVTValue(name, 0), info)) {
    findings.Add({element.GetLineNum(), "unknown-control", Severity::Warning,
                  "the technology library has no control " + quoted + Nearest(*technology, name)});
    return;
  }
  if (const std::string fault = ValueFault(info, last->Value()); !fault.empty()) {
    findings.Add({element.GetLineNum(), "value-out-of-range", Severity::Warning,
                  "\"" + std::string(last->Value()) + "\" " + fault + ": control " + quoted});
  }
}

// The controls of a mode and those of its chains' processes.
void CheckControlsBelow(const tinyxml2::XMLElement& parent, const ORVAPOProcessInfo* technology,
                        Findings& findings) {
  for (const auto* child = parent.FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    const std::string_view name(child->Name());
    if (EqualsIgnoringCase(name, "control"))
      CheckControl(*child, technology, findings);
    else if (EqualsIgnoringCase(name, "chain") || EqualsIgnoringCase(name, "chain_v2") ||
             EqualsIgnoringCase(name, "process"))
      CheckControlsBelow(*child, technology, findings);
  }
}

void CheckControls(const tinyxml2::XMLElement& root, const ORVAPOProcessInfo* technology,
                   Findings& findings) {
  for (const auto* mode = root.FirstChildElement(); mode != nullptr;
       mode = mode->NextSiblingElement()) {
    if (EqualsIgnoringCase(std::string_view(mode->Name()), "operating_mode"))
      CheckControlsBelow(*mode, technology, findings);
  }
}

}  // namespace

bool CheckReport::clean() const {
  return status == LoadStatus::Loaded &&
         std::all_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.severity == Severity::Note; });
}

CheckReport CheckConfiguration(const std::string& xml, const ORVAPOProcessInfo* technology) {
  tinyxml2::XMLDocument document;
  document.Parse(xml.data(), xml.size());
  CheckReport report;
  Findings findings;
  for (std::uint32_t type = 0; type < kTypes; ++type) {
    for (std::uint32_t location = 0; location < kLocations; ++location) {
      ConfigurationContent content;
      std::vector<ConfigurationFinding> reported;
      const LoadStatus status =
          ReadConfiguration(document, type, location, content,
                            [&](ConfigurationFinding one) { reported.push_back(std::move(one)); });
      const bool is_endpoints_reading = type == 0 && location == 0;
      if (is_endpoints_reading) report.status = status;
      for (const ConfigurationFinding& one : reported)
        if (IsNews(one, is_endpoints_reading, !content.modes.empty())) findings.Add(one);
      AddModes(content, type, location, report.modes);
    }
  }
  const tinyxml2::XMLElement* root = document.Error() ? nullptr : document.RootElement();
  if (root != nullptr) CheckControls(*root, technology, findings);
  std::stable_sort(report.modes.begin(), report.modes.end(),
                   [](const CheckedMode& a, const CheckedMode& b) { return a.line < b.line; });
  report.findings = std::move(findings).Sorted();
  return report;
}

const char* SeverityWord(Severity severity) {
  switch (severity) {
    case Severity::Error:
      return "error";
    case Severity::Warning:
      return "warning";
    case Severity::Note:
      break;
  }
  return "note";
}

const char* LoadStatusWords(LoadStatus status) {
  switch (status) {
    case LoadStatus::Loaded:
      return "loads";
    case LoadStatus::EmptyProperties:
      return "refused: <properties> is empty";
    case LoadStatus::BadMode:
      return "refused: a mode has no valid key";
    default:
      return "refused: no usable document";
  }
}

}  // namespace orv::cli
