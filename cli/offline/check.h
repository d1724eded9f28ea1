// A configuration file explained: what is in it, what is passed over and why, and what the
// technology library says about its controls. Text in, findings out.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "config/configuration_reader.h"
#include "config/technology_library.h"

namespace orv::cli {

struct Finding {
  int line = 0;  // 1-based; 0 when the whole file is meant
  std::string code;
  ConfigurationFinding::Severity severity = ConfigurationFinding::Severity::Warning;
  std::string text;
};

struct CheckedMode {
  std::string name;
  int line = 0;
  int config = 0;  // configuration type that reads it
  bool auto_mic = false;
  std::size_t public_controls = 0;
  std::size_t private_controls = 0;
  std::array<std::size_t, 4> chains = {};  // by location
};

struct CheckReport {
  LoadStatus status = LoadStatus::Loaded;  // load status of an endpoint with this file
  std::vector<CheckedMode> modes;
  std::vector<Finding> findings;  // by line; each one once

  bool clean() const;  // notes do not count
};

// `technology` may be null: names and ranges are not looked at then.
CheckReport CheckConfiguration(const std::string& xml, const ORVAPOProcessInfo* technology);

const char* SeverityWord(ConfigurationFinding::Severity severity);
const char* LoadStatusWords(LoadStatus status);

}  // namespace orv::cli
