// Controls of a mode, as tests write them.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "intel_dsp/conversion/converters.h"

namespace orv {

inline ORVQVTValue ValueOf(const std::string& name, const nlohmann::json& value) {
  if (value.is_string()) return {name, value.get<std::string>()};
  return {name, value.get<std::int32_t>()};
}

// Name to value; a text stays one.
inline ControlValueMap MapOf(const nlohmann::json& controls) {
  ControlValueMap map;
  for (const auto& [name, value] : controls.items()) map.emplace(name, ValueOf(name, value));
  return map;
}

}  // namespace orv
