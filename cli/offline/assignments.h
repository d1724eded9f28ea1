// Values by control name as "set" takes them: "CONTROL=VALUE", in lines, or as JSON.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

struct Assignment {
  std::string control;
  std::string value;
  bool raw = false;   // the value is the stored number
  std::string place;  // "file:3: " for messages; empty for a word of the command line
};

inline constexpr std::size_t kAssignmentsLimit = 4U << 20;  // bytes

// "Name=5", "Name = 5"; in "Name+=5" and "Name-=5" the sign belongs to the value. nullopt without
// name or "=".
std::optional<Assignment> SplitAssignment(std::string_view text);

// A text of lines, in which blank ones and those that begin with "#" do not count; or of JSON,
// whose numbers are the stored ones: an object of values by control, or a list of objects with
// "name" and "value". `file` is its name in messages; empty: they name no places. Throws Failure
// with the line, or the element, of the first that is neither.
std::vector<Assignment> ReadAssignments(std::string_view text, const std::string& file);

}  // namespace orv::cli
