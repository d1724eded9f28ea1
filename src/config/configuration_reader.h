// Converts a parsed configuration document to a model, without files, locks or registry. Reports
// what it ignores, and why, to an observer.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "config/operating_mode.h"

namespace tinyxml2 {
class XMLDocument;
}

namespace orv {

// Result of loading a configuration file. What the elements of the document cause is kept in
// document order: a later one replaces it.
enum class LoadStatus : std::uint32_t {
  Loaded = 0,
  EmptyProperties = 2,  // a <properties> element without any child
  BadMode = 3,          // a mode that was read has no valid key
  Reserved4 = 4,        // not returned by this reader
  NoDocument = 6,       // not a readable XML file, wrong or empty root, no <properties>
  Reserved7 = 7,        // not returned by this reader
};
constexpr std::uint32_t NumberOf(LoadStatus status) noexcept {
  return static_cast<std::uint32_t>(status);
}

// Whether an endpoint may work with what was loaded.
constexpr bool IsUsable(LoadStatus status) noexcept { return status == LoadStatus::Loaded; }
// Whether the Intel DSP object may send what was loaded: it takes the reserved statuses as well.
constexpr bool IsUsableByDsp(LoadStatus status) noexcept {
  return IsUsable(status) || status == LoadStatus::Reserved4 || status == LoadStatus::Reserved7;
}

inline constexpr std::uint32_t kConfigTypeCount = 2;
inline constexpr std::uint32_t kPlainChainLocation = 0;  // "PreBlue"
inline constexpr std::uint32_t kEndpointLocation = 3;    // "EFX"
inline constexpr std::uint32_t kLocationCount = 4;

// One finding about the document, for the user (orvctl check).
struct ConfigurationFinding {
  enum class Severity { Note, Warning, Error };
  int line = 0;                           // 1-based; 0 when the whole file is meant
  const char* code = "";                  // stable, in kebab-case: scripts rely on it
  Severity severity = Severity::Warning;  // an error shows in the load status
  std::string text;
};
using ConfigurationObserver = std::function<void(ConfigurationFinding)>;

struct ConfigurationContent {
  ORVQVTValueList properties;
  std::vector<std::shared_ptr<ORVAPOOperatingMode>> modes;
  std::wstring product_name;
  std::vector<int> mode_lines;  // line of each mode's element
};

// Reads the whole document into `content`; the result is the load status. The observer (may be
// empty) receives everything that is ignored, also in chains and modes of other locations and
// types.
LoadStatus ReadConfiguration(const tinyxml2::XMLDocument& document, std::uint32_t config_type,
                             std::uint32_t location, ConfigurationContent& content,
                             const ConfigurationObserver& observer = {});

// A document that several threads read. The parser decodes names and texts on first access, which
// writes into the document, so each reading holds the lock.
struct SharedDocument {
  std::shared_ptr<const tinyxml2::XMLDocument> document;
  std::mutex reading;
};

// The same content and status, but each mode keeps the document and reads its lists when they are
// first asked for, from any thread.
LoadStatus ReadConfigurationDeferred(const std::shared_ptr<SharedDocument>& shared,
                                     std::uint32_t config_type, std::uint32_t location,
                                     ConfigurationContent& content);

}  // namespace orv
