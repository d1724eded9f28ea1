#include "cli/offline/check.h"

#include <fmt/format.h>
#include <tinyxml2.h>

#include <algorithm>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <initializer_list>
#include <map>
#include <tuple>

#include "cli/show/names.h"
#include "cli/show/select.h"
#include "platform/text.h"
#include "properties/property_image.h"

namespace orv::cli {
namespace {

using Severity = ConfigurationFinding::Severity;

constexpr const char* kValueOutOfRange = "value-out-of-range";
constexpr const char* kChoiceByNumber = "choice-by-number";
constexpr const char* kNameTooLong = "name-too-long";
constexpr const char* kLineEndInName = "line-end-in-name";
constexpr const char* kNameNotAscii = "name-not-ascii";
constexpr const char* kSameStoredName = "same-stored-name";

class Findings {
 public:
  // Keeps a finding of several readings once, with its highest severity.
  void Add(ConfigurationFinding one) {
    const auto [place, added] =
        positions_.try_emplace({one.line, one.code, one.text}, findings_.size());
    if (!added) {
      Severity& severity = findings_[place->second].severity;
      severity = std::max(severity, one.severity);
    } else {
      findings_.push_back(std::move(one));
    }
  }

  std::vector<ConfigurationFinding> Sorted() && {
    std::ranges::stable_sort(findings_, {}, &ConfigurationFinding::line);
    return std::move(findings_);
  }

 private:
  std::vector<ConfigurationFinding> findings_;
  std::map<std::tuple<int, std::string, std::string>, std::size_t> positions_;
};

// Whether a finding is reported. The list of modes shows already which type reads a mode and where
// its chains are used. Readings other than the endpoint's (type 0, location 0) report everything
// again; what they miss is not a finding if the file has no modes for their type.
bool IsReported(const ConfigurationFinding& one, bool is_endpoints_reading, bool has_modes) {
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
    modes[first + i].chains[location] = content.modes[i]->GetChainDefinition().size();
}

// The number that the component reads from the text; nullopt if the text is not a number.
std::optional<std::int32_t> WholeNumber(const std::string& text) {
  const std::int32_t number = ORVQVTValue("", boost::any(text)).ToLong();
  if (number != -1) return number;
  double real = 0;
  const bool is_minus_one =
      boost::conversion::try_lexical_convert(text, real) && real > -2 && real <= -1;
  return is_minus_one ? std::optional(number) : std::nullopt;
}

// Finds names that the registry or a stored image cannot hold, or that programs convert
// differently. The texts of two controls are part of a value's name.
void CheckStorage(const tinyxml2::XMLElement& element, const std::string& name,
                  const std::string& text, Findings& findings) {
  constexpr std::size_t kLongest = kImageNameLimit / 2;  // UTF-16 units
  constexpr char kLineEnds[] = "\r\n";
  const auto warn = [&](const char* code, const std::string& what) {
    findings.Add({element.GetLineNum(), code, Severity::Warning, what});
  };
  if (const std::size_t length = Widen(name).size(); length > kLongest) {
    warn(kNameTooLong, fmt::format("a control name of {} characters: stored values end before "
                                   "one of more than {}",
                                   length, kLongest));
  }
  const bool names_mode = name == kOperatingModeControl || name == kSpeakerTypeControl;
  if (name.find_first_of(kLineEnds) != std::string::npos ||
      (names_mode && text.find_first_of(kLineEnds) != std::string::npos)) {
    warn(kLineEndInName,
         names_mode ? fmt::format("the text of \"{}\" has a line end: it is part of the mode's "
                                  "registry value name",
                                  name)
                    : "a control name with a line end cannot be the name of a registry value");
  }
  const std::string& stored_as = names_mode ? text : name;
  if (std::ranges::any_of(stored_as, [](char byte) { return (byte & 0x80) != 0; })) {
    warn(
        kNameNotAscii,
        fmt::format("the name \"{}\" is converted by each program's locale: one does not find what "
                    "another stores; use ASCII",
                    stored_as));
  }
}

// What is stored under one name: names are found in any letter case. The first of equal ones is in
// the line that is kept.
class StoredNames {
 public:
  void Add(const std::string& kind, const std::string& name, int line, Findings& findings) {
    const auto [first, added] = first_.try_emplace(name, line);
    if (added || first->first == name) return;  // the same name again is another finding
    findings.Add({line, kSameStoredName, Severity::Warning,
                  fmt::format("{} \"{}\" differs from \"{}\" in line {} in letter case only: one "
                              "value is stored for both; rename one",
                              kind, name, first->first, first->second)});
  }

 private:
  struct AnyCase {
    bool operator()(const std::string& a, const std::string& b) const {
      return CompareIgnoringCase(std::string_view(a), std::string_view(b)) < 0;
    }
  };
  std::map<std::string, int, AnyCase> first_;
};

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
  if (!technology->FindControlInfo(ORVQVTValue(name, 0), info)) {
    findings.Add({element.GetLineNum(), "unknown-control", Severity::Warning,
                  fmt::format("the technology library has no control \"{}\"{}", name,
                              Nearest(*technology, name))});
  } else if (const auto fault = FaultOfValue(info, last->Value())) {
    findings.Add({element.GetLineNum(), fault->code, Severity::Warning,
                  fmt::format("\"{}\" {}: control \"{}\"", last->Value(), fault->text, name)});
  }
}

bool IsNamed(const tinyxml2::XMLElement& element, std::initializer_list<std::string_view> names) {
  const std::string_view own = element.Name();
  return std::ranges::any_of(names, [&](auto name) { return EqualsIgnoringCase(own, name); });
}

// The controls of a mode, which are stored, and those of its chains' processes, which are not.
void CheckControls(const tinyxml2::XMLElement& parent, const ORVAPOProcessInfo* technology,
                   Findings& findings) {
  StoredNames names;
  for (const auto* child = parent.FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    if (IsNamed(*child, {"control"})) {
      CheckControl(*child, technology, findings);
      if (const char* name = child->Attribute("name"); name != nullptr)
        names.Add("control", name, child->GetLineNum(), findings);
    }
    if (IsNamed(*child, {"chain", "chain_v2", "process"}))
      CheckControls(*child, technology, findings);
  }
}

}  // namespace

bool ConcernsClients(const ConfigurationFinding& finding) {
  const auto codes = {kValueOutOfRange, kChoiceByNumber, kNameTooLong,
                      kLineEndInName,   kNameNotAscii,   kSameStoredName};
  return std::ranges::find(codes, std::string_view(finding.code)) != codes.end();
}

bool CheckReport::clean() const {
  return status == LoadStatus::Loaded &&
         std::ranges::all_of(
             findings, [](Severity one) { return one == Severity::Note; },
             &ConfigurationFinding::severity);
}

std::optional<ValueFault> FaultOfValue(const ORVQVTControlInfo& info, const std::string& text) {
  if (info.scale() == ORV_QVT_SCALE_STRING || info.names().Contains(text)) return std::nullopt;
  const std::optional<std::int32_t> number = WholeNumber(text);
  const bool has_choices = info.names().Count() != 0;
  if (!number)
    return ValueFault{kValueOutOfRange,
                      has_choices ? "is none of its choices" : "is not a whole number"};
  const bool ranged = info.minimum() < info.maximum();
  if (ranged && (*number < info.minimum() || *number > info.maximum()))
    return ValueFault{kValueOutOfRange,
                      fmt::format("is outside {} to {}", info.minimum(), info.maximum())};
  if (!has_choices) return std::nullopt;
  // A choice that a client stores has the position of the text in force, and is found only if that
  // text is a choice too; "Enabled" and "Disabled" are numbers by themselves.
  const std::optional<std::string> choice = ChoiceText(info.names(), *number);
  if (choice && WholeNumber(*choice) == number) return std::nullopt;
  const std::string advice = choice ? fmt::format("; write \"{}\"", *choice) : "";
  return ValueFault{
      kChoiceByNumber,
      "is a number where a choice is expected: once changed, the control reads as -1" + advice,
      choice.has_value()};
}

CheckReport CheckConfiguration(const std::string& xml, const ORVAPOProcessInfo* technology) {
  tinyxml2::XMLDocument document;
  document.Parse(xml.data(), xml.size());
  CheckReport report;
  Findings findings;
  for (std::uint32_t type = 0; type < kConfigTypeCount; ++type) {
    for (std::uint32_t location = 0; location < kLocationCount; ++location) {
      ConfigurationContent content;
      std::vector<ConfigurationFinding> reported;
      const LoadStatus status =
          ReadConfiguration(document, type, location, content,
                            [&](ConfigurationFinding one) { reported.push_back(std::move(one)); });
      const bool is_endpoints_reading = type == 0 && location == 0;
      if (is_endpoints_reading) report.status = status;
      for (ConfigurationFinding& one : reported)
        if (IsReported(one, is_endpoints_reading, !content.modes.empty()))
          findings.Add(std::move(one));
      AddModes(content, type, location, report.modes);
    }
  }
  const tinyxml2::XMLElement* root = document.Error() ? nullptr : document.RootElement();
  const auto* mode = root != nullptr ? root->FirstChildElement() : nullptr;
  for (; mode != nullptr; mode = mode->NextSiblingElement())
    if (IsNamed(*mode, {"operating_mode"})) CheckControls(*mode, technology, findings);
  std::ranges::stable_sort(report.modes, {}, &CheckedMode::line);
  StoredNames names;
  for (const CheckedMode& one : report.modes) names.Add("mode", one.name, one.line, findings);
  report.findings = std::move(findings).Sorted();
  return report;
}

const char* SeverityWord(Severity severity) {
  constexpr const char* kWords[] = {"note", "warning", "error"};
  return kWords[static_cast<std::size_t>(severity)];
}

const char* LoadStatusWords(LoadStatus status) {
  if (status == LoadStatus::Loaded) return "loads";
  if (status == LoadStatus::EmptyProperties) return "refused: <properties> is empty";
  return status == LoadStatus::BadMode ? "refused: a mode has no valid key"
                                       : "refused: no usable document";
}

}  // namespace orv::cli
