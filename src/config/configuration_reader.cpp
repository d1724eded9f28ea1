#include "config/configuration_reader.h"

#include <tinyxml2.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "config/configuration_reporter.h"
#include "platform/text.h"

namespace orv {
namespace {

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;
using tinyxml2::XMLNode;

constexpr std::string_view kLocationNames[kLocationCount] = {"PreBlue", "SFX", "MFX", "EFX"};
constexpr std::size_t kUsualModeCount = 20;

constexpr std::pair<std::string_view, std::uint32_t> kLayoutNames[] = {{"Mono", kLayoutMono},
                                                                       {"Stereo", kLayoutStereo},
                                                                       {"5.1 Surround", kLayout51},
                                                                       {"7.1 Surround", kLayout71},
                                                                       {"Any", kAnyLayout}};

std::uint32_t PieceLayouts(std::string_view piece) {
  for (const auto& [name, bits] : kLayoutNames)
    if (piece.find(name) != std::string_view::npos) return bits;
  return 0;
}

template <class Visit>
void ForEachPiece(std::string_view list, Visit visit) {
  while (!list.empty()) {
    const std::string_view piece = list.substr(0, list.find_first_of(";,"));
    if (!piece.empty()) visit(piece);
    list.remove_prefix(piece.size() < list.size() ? piece.size() + 1 : piece.size());
  }
}

bool Is(const char* text, std::string_view word) {
  return text != nullptr && EqualsIgnoringCase(std::string_view(text), word);
}

bool IsGiven(const char* attribute) { return attribute != nullptr && *attribute != '\0'; }

std::string TextOrEmpty(const char* attribute) { return attribute != nullptr ? attribute : ""; }

template <class Visit>
void ForEachChild(const XMLElement& parent, const Reporter& reporter, Visit visit) {
  for (const XMLNode* node = parent.FirstChild(); node != nullptr; node = node->NextSibling()) {
    if (const XMLElement* element = node->ToElement())
      visit(*element);
    else if (node->ToText() != nullptr)
      reporter.Report(Severity::Note, "stray-text", node->GetLineNum(),
                      "text directly in <{}> has no meaning", parent.Name());
  }
}

void ReportUnknown(const XMLElement& element, const Reporter& reporter) {
  reporter.Warn("unknown-element", element, "element <{}> is not known here", element.Name());
}

const char* ParseFault(tinyxml2::XMLError error) {
  switch (error) {
    case tinyxml2::XML_ERROR_EMPTY_DOCUMENT:
      return "the file is empty";
    case tinyxml2::XML_ERROR_PARSING_ELEMENT:
      return "a tag is not well-formed";
    case tinyxml2::XML_ERROR_PARSING_ATTRIBUTE:
      return "an attribute is not well-formed";
    case tinyxml2::XML_ERROR_MISMATCHED_ELEMENT:
      return "an element is not closed, or closed under another name";
    case tinyxml2::XML_ERROR_PARSING_COMMENT:
      return "a comment does not end";
    default:
      return "not well-formed XML";
  }
}

bool Flag(const XMLElement& element, const char* attribute, const Reporter& reporter) {
  const char* value = element.Attribute(attribute);
  if (Is(value, "true")) return true;
  if (value != nullptr && !Is(value, "false"))
    reporter.Warn("unknown-flag", element, "{}=\"{}\" counts as false: expected true or false",
                  attribute, value);
  return false;
}

struct Control {
  const char* name;
  const char* text;
};

std::optional<Control> ReadControl(const XMLElement& element, const Reporter& reporter) {
  const char* name = element.Attribute("name");
  if (!IsGiven(name)) {
    reporter.Warn("control-without-name", element, "control without a name");
    return std::nullopt;
  }
  const XMLNode* last = element.LastChild();
  if (last == nullptr || !IsGiven(last->Value())) {
    reporter.Warn("control-without-text", element, "control \"{}\" has no text", name);
    return std::nullopt;
  }
  if (last->ToText() == nullptr)
    reporter.Warn("control-text-not-last", *last,
                  "control \"{}\" takes its value from what comes last in it, which is not text: "
                  "\"{}\"",
                  name, last->Value());
  return Control{name, last->Value()};
}

void Store(const Control& control, const XMLElement& element, const Reporter& reporter,
           ORVQVTValueList& list) {
  if (reporter.wanted() && list.Find(control.name) != nullptr)
    reporter.Warn("duplicate-control", element, "control \"{}\" replaces an earlier one",
                  control.name);
  ORVQVTValue& value = list.GetOrAdd(control.name);
  value.SetName(control.name);
  value.SetValue(control.text);
}

bool IsKeyControl(std::string_view name) {
  return name == kOperatingModeControl || name == kSpeakerTypeControl;
}

void StoreModeControl(const Control& control, bool is_public, const XMLElement& element,
                      const Reporter& reporter, ORVAPOModeContent& content) {
  if (is_public && IsKeyControl(control.name))
    reporter.Warn("key-control-public", element,
                  "\"{}\" is public and does not count for the mode's key", control.name);
  const ORVQVTValueList& others = is_public ? content.private_controls : content.public_controls;
  if (reporter.wanted() && others.Find(control.name) != nullptr)
    reporter.Warn("control-public-and-private", element,
                  "control \"{}\" is both public and private: the private one is the default",
                  control.name);
  Store(control, element, reporter, is_public ? content.public_controls : content.private_controls);
}

// Layout bits of a list such as "Stereo;5.1 Surround".
std::uint32_t Layouts(const XMLElement& element, const char* attribute, const Reporter& reporter) {
  const char* list = element.Attribute(attribute);
  if (!IsGiven(list)) return kAnyLayout;
  std::uint32_t mask = 0;
  ForEachPiece(list, [&](std::string_view piece) {
    const std::uint32_t bits = PieceLayouts(piece);
    if (bits == 0)
      reporter.Warn("unknown-layout", element, "{} names \"{}\", which is not a channel layout",
                    attribute, piece);
    mask |= bits;
  });
  return mask;
}

void ReadProcess(const XMLElement& element, const Reporter& reporter, ORVAPOChain& chain) {
  reporter.CheckAttributes(element, {"tech_id", "instance_id", "hook"});
  const char* technology = element.Attribute("tech_id");
  if (!IsGiven(technology)) {
    reporter.Warn("process-without-tech-id", element, "process without tech_id");
    return;
  }
  chain.processes.push_back({technology, TextOrEmpty(element.Attribute("instance_id")),
                             TextOrEmpty(element.Attribute("hook"))});
}

void ReadChain(const XMLElement& element, const Reporter& reporter, ORVAPOChainDefinition& chains) {
  ORVAPOChain chain;
  const char* type = element.Attribute("type");
  chain.render = !Is(type, "capture");
  if (IsGiven(type) && chain.render && !Is(type, "render"))
    reporter.Warn("unknown-chain-type", element, "type=\"{}\" counts as render", type);
  chain.input_layouts = Layouts(element, "input", reporter);
  chain.output_layouts = Layouts(element, "output", reporter);
  ForEachChild(element, reporter, [&](const XMLElement& child) {
    if (Is(child.Name(), "process")) {
      ReadProcess(child, reporter, chain);
    } else if (Is(child.Name(), "control")) {
      reporter.CheckAttributes(child, {"name", "public"});
      if (const auto control = ReadControl(child, reporter))
        Store(*control, child, reporter, chain.controls);
    } else {
      ReportUnknown(child, reporter);
    }
  });
  if (chain.processes.empty())
    reporter.Warn("chain-without-process", element, "chain without a process");
  else
    chains.push_back(std::move(chain));
}

bool IsUsedChain(const XMLElement& element, bool has_position, std::uint32_t location,
                 const Reporter& reporter) {
  if (!has_position) {
    if (location == kPlainChainLocation) return true;
    reporter.Report(Severity::Note, "chain-location", element.GetLineNum(),
                    "not used at this location");
    return false;
  }
  const char* given = element.Attribute("position");
  const std::string_view position = given != nullptr ? given : "";
  const auto found = std::ranges::find(kLocationNames, position);
  const auto named = static_cast<std::uint32_t>(found - std::begin(kLocationNames));
  if (named == kPlainChainLocation || named == kLocationCount) {
    reporter.Warn("unknown-position", element,
                  "position \"{}\" is not a location: the chain is never used", position);
    return false;
  }
  if (named != location)
    reporter.Report(Severity::Note, "chain-location", element.GetLineNum(), "used at {} only",
                    position);
  return named == location;
}

void ReadChainElement(const XMLElement& element, bool has_position, std::uint32_t location,
                      const Reporter& reporter, ORVAPOChainDefinition& chains) {
  if (has_position)
    reporter.CheckAttributes(element, {"position", "type", "input", "output"});
  else
    reporter.CheckAttributes(element, {"type", "input", "output"});
  if (IsUsedChain(element, has_position, location, reporter)) {
    ReadChain(element, reporter, chains);
  } else if (reporter.wanted()) {
    ORVAPOChainDefinition unused;
    ReadChain(element, reporter, unused);
  }
}

// Calls `on_control` with each control of a mode, whether it is public, and its element; calls
// `on_other` with each other element.
template <class OnControl, class OnOther>
void ForEachModeControl(const XMLElement& mode, const Reporter& reporter, OnControl on_control,
                        OnOther on_other) {
  ForEachChild(mode, reporter, [&](const XMLElement& child) {
    if (!Is(child.Name(), "control")) return on_other(child);
    reporter.CheckAttributes(child, {"name", "public"});
    if (const std::optional<Control> control = ReadControl(child, reporter))
      on_control(*control, Flag(child, "public", reporter), child);
  });
}

void ReadModeContent(const XMLElement& element, std::uint32_t location, const Reporter& reporter,
                     ORVAPOModeContent& content) {
  const auto store = [&](const Control& control, bool is_public, const XMLElement& child) {
    StoreModeControl(control, is_public, child, reporter, content);
  };
  ForEachModeControl(element, reporter, store, [&](const XMLElement& child) {
    if (Is(child.Name(), "chain"))
      ReadChainElement(child, false, location, reporter, content.chains);
    else if (Is(child.Name(), "chain_v2"))
      ReadChainElement(child, true, location, reporter, content.chains);
    else
      ReportUnknown(child, reporter);
  });
}

// The key that a mode's whole content would give, without making a value of every control.
ORVAPOModeKey ReadModeKey(const XMLElement& element) {
  const Reporter silent;
  ORVQVTValueList key_controls;
  ForEachChild(element, silent, [&](const XMLElement& child) {
    const char* name = child.Attribute("name");
    if (name == nullptr || !IsKeyControl(name) || !Is(child.Name(), "control")) return;
    const std::optional<Control> control = ReadControl(child, silent);
    if (control && !Flag(child, "public", silent)) Store(*control, child, silent, key_controls);
  });
  ORVAPOModeKey key;
  key.ReadFrom(key_controls);
  return key;
}

class DocumentReader {
 public:
  // With `owner` modes are deferred and keep it.
  DocumentReader(std::uint32_t config_type, std::uint32_t location, ConfigurationContent& content,
                 const Reporter& reporter, std::shared_ptr<SharedDocument> owner)
      : config_type_(config_type),
        location_(location),
        content_(content),
        reporter_(reporter),
        owner_(std::move(owner)),
        comparison_(reporter) {}

  LoadStatus Read(const XMLDocument& document) {
    content_ = {};
    const XMLElement* root = UsableRoot(document);
    if (root == nullptr) return LoadStatus::NoDocument;
    content_.modes.reserve(kUsualModeCount);
    reporter_.CheckAttributes(*root, {});
    ForEachChild(*root, reporter_, [&](const XMLElement& child) {
      if (Is(child.Name(), "properties"))
        ReadProperties(child);
      else if (Is(child.Name(), "operating_mode"))
        ReadMode(child);
      else
        ReportUnknown(child, reporter_);
    });
    if (!saw_properties_)
      reporter_.Report(Severity::Error, "no-properties", 0, "there is no <properties> element");
    comparison_.CheckDefaultMode(content_.properties);
    return status_;
  }

 private:
  const XMLElement* UsableRoot(const XMLDocument& document) const;
  void ReadProperties(const XMLElement& element);
  bool IsSelected(const XMLElement& element) const;
  void ReadMode(const XMLElement& element);
  std::shared_ptr<ORVAPOOperatingMode> MakeMode(const XMLElement& element) const;

  std::uint32_t config_type_;
  std::uint32_t location_;
  ConfigurationContent& content_;
  const Reporter& reporter_;
  std::shared_ptr<SharedDocument> owner_;
  ModeComparison comparison_;
  LoadStatus status_ = LoadStatus::NoDocument;
  bool saw_properties_ = false;
};

const XMLElement* DocumentReader::UsableRoot(const XMLDocument& document) const {
  const XMLElement* root = document.RootElement();
  if (document.Error()) {
    reporter_.Report(Severity::Error, "parse-error", document.ErrorLineNum(), "{}",
                     ParseFault(document.ErrorID()));
  } else if (root == nullptr) {
    reporter_.Report(Severity::Error, "no-root", 0, "there is no root element");
  } else if (!Is(root->Name(), "orv_configuration")) {
    reporter_.Report(Severity::Error, "root-name", root->GetLineNum(),
                     "the root element is <{}>, expected <orv_configuration>", root->Name());
  } else if (root->NoChildren()) {
    reporter_.Report(Severity::Error, "empty-root", root->GetLineNum(),
                     "the root element is empty");
  } else {
    return root;
  }
  return nullptr;
}

void DocumentReader::ReadProperties(const XMLElement& element) {
  if (saw_properties_)
    reporter_.Warn("repeated-properties", element, "replaces all earlier properties");
  saw_properties_ = true;
  reporter_.CheckAttributes(element, {});
  content_.properties.Clear();
  if (element.NoChildren()) {
    reporter_.Report(Severity::Error, "empty-properties", element.GetLineNum(),
                     "<properties> is empty");
    status_ = LoadStatus::EmptyProperties;
    return;
  }
  ForEachChild(element, reporter_, [&](const XMLElement& child) {
    if (!Is(child.Name(), "control")) return ReportUnknown(child, reporter_);
    reporter_.CheckAttributes(child, {"name"});
    if (const auto control = ReadControl(child, reporter_))
      Store(*control, child, reporter_, content_.properties);
  });
  status_ = LoadStatus::Loaded;
  if (const ORVQVTValue* name = std::as_const(content_.properties).Find("Product Name"))
    content_.product_name = name->ToWString();
}

bool DocumentReader::IsSelected(const XMLElement& element) const {
  const char* selector = element.Attribute("selector");
  if (!IsGiven(selector)) {
    if (config_type_ != 0)
      reporter_.Report(Severity::Note, "mode-selector", element.GetLineNum(),
                       "a mode without selector is read for configuration type 0 only");
    return config_type_ == 0;
  }
  if (!Is(selector, "dsp")) {
    reporter_.Warn("unknown-selector", element,
                   "selector \"{}\" is not known: the mode is never read", selector);
    return false;
  }
  if (config_type_ != 1)
    reporter_.Report(Severity::Note, "mode-selector", element.GetLineNum(),
                     "selector \"{}\" is read for configuration type 1 only", selector);
  return config_type_ == 1;
}

// Null when the mode has no valid key.
std::shared_ptr<ORVAPOOperatingMode> DocumentReader::MakeMode(const XMLElement& element) const {
  const bool auto_mic = Flag(element, "auto_mic", reporter_);
  if (owner_) {
    ORVAPOModeKey key = ReadModeKey(element);
    if (!key.IsValid()) return nullptr;
    return std::make_shared<ORVAPOOperatingMode>(
        std::move(key), auto_mic,
        [owner = owner_, &element, location = location_](ORVAPOModeContent& content) {
          const std::lock_guard lock(owner->reading);
          ReadModeContent(element, location, Reporter(), content);
        });
  }
  auto mode = std::make_shared<ORVAPOOperatingMode>();
  mode->SetAutoMic(auto_mic);
  ReadModeContent(element, location_, reporter_, mode->own_content());
  return mode->CompleteRead() ? mode : nullptr;
}

void DocumentReader::ReadMode(const XMLElement& element) {
  const bool selected = IsSelected(element);
  if (!selected && !reporter_.wanted()) return;
  reporter_.CheckAttributes(element, {"selector", "auto_mic"});
  const auto mode = MakeMode(element);
  if (mode == nullptr)
    reporter_.Report(selected ? Severity::Error : Severity::Warning, "mode-without-key",
                     element.GetLineNum(), "the mode needs private controls \"{}\" and \"{}\"",
                     kOperatingModeControl, kSpeakerTypeControl);
  if (!selected) return;
  if (mode == nullptr) {
    status_ = LoadStatus::BadMode;
    return;
  }
  comparison_.Add(*mode, element.GetLineNum());
  content_.modes.push_back(mode);
  content_.mode_lines.push_back(element.GetLineNum());
}

}  // namespace

LoadStatus ReadConfiguration(const XMLDocument& document, std::uint32_t config_type,
                             std::uint32_t location, ConfigurationContent& content,
                             const ConfigurationObserver& observer) {
  const Reporter reporter(observer);
  return DocumentReader(config_type, location, content, reporter, nullptr).Read(document);
}

LoadStatus ReadConfigurationDeferred(const std::shared_ptr<SharedDocument>& shared,
                                     std::uint32_t config_type, std::uint32_t location,
                                     ConfigurationContent& content) {
  const Reporter silent;
  const std::lock_guard lock(shared->reading);
  return DocumentReader(config_type, location, content, silent, shared).Read(*shared->document);
}

}  // namespace orv
