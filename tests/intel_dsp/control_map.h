// Controls of a mode, as tests write them.
#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "intel_dsp/conversion/converters.h"
#include "support/reference_data.h"

namespace orv {

inline ORVQVTValue ValueOf(const std::string& name, const nlohmann::json& value) {
  if (value.is_string()) return {name, value.get<std::string>()};
  return {name, value.get<std::int32_t>()};
}
inline void Put(ControlValueMap& map, const std::string& name, const nlohmann::json& value) {
  map[name] = ValueOf(name, value);
}

// Name to value; a text stays one.
inline ControlValueMap MapOf(const nlohmann::json& controls) {
  ControlValueMap map;
  for (const auto& [name, value] : controls.items()) Put(map, name, value);
  return map;
}

// "Name=value Name=value ..."
inline std::vector<std::pair<std::string, int>> Controls(const char* text,
                                                         const std::string& prefix) {
  std::vector<std::pair<std::string, int>> controls;
  std::istringstream stream(text);
  std::string name;
  for (int value = 0; std::getline(stream >> std::ws, name, '=') && stream >> value;)
    controls.emplace_back(prefix + name, value);
  return controls;
}

// A mode of the Skylake module with 70 whole numbers. No filter is described, and neither sizes
// nor cut-off are custom ones.
inline const nlohmann::json& PlainMode() {
  static const nlohmann::json& mode = ReferenceData("skylake_single.json").at("modes").at(0);
  return mode.at("controls");
}

// A configuration file with one mode.
inline std::string ConfigurationOf(const nlohmann::json& controls) {
  const std::string key =
      "<control name='ZAPO3-Operating Mode'>Music</control>"
      "<control name='ZAPO3-Speaker Type'>Internal</control>";
  std::string text = "<orv_configuration><properties>" + key +
                     "</properties><operating_mode selector='dsp'>" + key;
  for (const auto& [name, value] : controls.items())
    text += "<control name='" + name + "'>" + ValueOf(name, value).ToString() + "</control>";
  return text + "</operating_mode></orv_configuration>";
}

}  // namespace orv
