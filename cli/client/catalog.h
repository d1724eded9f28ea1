// Reads from the configuration file and the technology library what the public interfaces do not
// return: the names of a mode's controls, their choices, and values that only the file holds.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/session.h"
#include "cli/show/natural_order.h"
#include "cli/show/typed_value.h"
#include "config/configuration_file.h"
#include "config/technology_library.h"

namespace orv::cli {

struct ControlFacts {
  bool described = false;  // by the technology library
  float factor = 1.0F;     // steps to one unit of the shown quantity
  std::int32_t minimum = 0;
  std::int32_t maximum = 0;
  ORV_QVT_SCALE scale = ORV_QVT_SCALE_COUNT;
  std::vector<std::string> choices;
};

// Control texts by name, in the order in which they are shown.
using ControlTexts = std::map<std::string, std::string, NaturalOrder>;

class Catalog {
 public:
  explicit Catalog(const Session& session)
      : machine_(session.machine()),
        technology_(session.machine(), session.technology_folder().c_str()) {}

  ControlFacts Describe(const std::string& name) const;
  // How the control's values look.
  ValueForm FormOf(const std::string& name) const;
  std::size_t described_controls() const { return technology_.control_infos().size(); }
  const ORVAPOProcessInfo& technology() const noexcept { return technology_; }
  std::vector<std::string> DescribedNames() const;

  // The controls of one of a mode's lists with the texts in force: those of the configuration file,
  // replaced by those that the registry holds for public controls. Throws Failure if the file
  // cannot be read or has no such mode.
  ControlTexts Texts(const Endpoint& endpoint, const std::string& mode, ORVAPOControlType list);
  // The name of the configuration's default mode, which may not be one of its modes.
  std::string DefaultMode(const Endpoint& endpoint);

 private:
  const ORVAPOConfigurationFile& File(const Endpoint& endpoint);

  Machine& machine_;
  ORVAPOProcessInfo technology_;
  std::map<std::pair<std::string, ORVAPOEndpointConfig>, std::unique_ptr<ORVAPOConfigurationFile>>
      files_;
};

}  // namespace orv::cli
