// Explains the text of a configuration file: its content, what is ignored and why, and the controls
// that do not fit the technology library.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "config/configuration_reader.h"
#include "config/technology_library.h"

namespace orv::cli {

struct CheckedMode {
  std::string name;
  int line = 0;
  int config = 0;  // configuration type that reads it
  bool auto_mic = false;
  std::size_t public_controls = 0;
  std::size_t private_controls = 0;
  std::array<std::size_t, kLocationCount> chains = {};  // by location
};

struct CheckReport {
  LoadStatus status = LoadStatus::Loaded;  // of an endpoint with this file
  std::vector<CheckedMode> modes;
  std::vector<ConfigurationFinding> findings;  // by line; each one once

  bool clean() const;  // notes do not count
};

// `technology` may be null: names and ranges are not checked then.
CheckReport CheckConfiguration(const std::string& xml, const ORVAPOProcessInfo* technology);

// Whether it is a value that clients cannot show, or a name that does not keep a value apart.
bool ConcernsClients(const ConfigurationFinding& finding);

// Why a control's text does not fit its description; nullopt if it does.
struct ValueFault {
  const char* code;
  std::string text;
  bool is_position = false;  // of a choice: read as that choice if it was stored by a client
};
std::optional<ValueFault> FaultOfValue(const ORVQVTControlInfo& info, const std::string& text);

const char* SeverityWord(ConfigurationFinding::Severity severity);
const char* LoadStatusWords(LoadStatus status);

}  // namespace orv::cli
