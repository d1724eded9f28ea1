#include "cli/offline/assignments.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/trim.hpp>
#include <sstream>

#include "cli/show/failure.h"
#include "platform/located_json.h"

namespace orv::cli {
namespace {

// Where something is, for messages: "room.txt:3: ", "line 3: " of standard input.
std::string PlaceOf(const std::string& file, int line) {
  if (file.empty()) return {};
  return file == "-" ? fmt::format("line {}: ", line) : fmt::format("{}:{}: ", file, line);
}

std::vector<Assignment> ReadLines(std::string_view text, const std::string& file) {
  std::vector<Assignment> assignments;
  std::istringstream stream{std::string(text)};
  int number = 0;
  for (std::string line; std::getline(stream, line);) {
    ++number;
    boost::algorithm::trim(line);
    if (line.empty() || line.starts_with('#')) continue;
    std::optional<Assignment> assignment = SplitAssignment(line);
    if (!assignment)
      UsageFailure("{}expected CONTROL=VALUE.\nNothing was changed.", PlaceOf(file, number));
    assignment->place = PlaceOf(file, number);
    assignments.push_back(std::move(*assignment));
  }
  return assignments;
}

Assignment FromJson(const std::string& control, const LocatedJson& value, const std::string& file) {
  const std::string place = PlaceOf(file, value.line);
  if (value.kind == LocatedJson::Kind::Integer)
    return {control, std::to_string(value.integer), true, place};
  if (value.kind == LocatedJson::Kind::Text) return {control, value.text, false, place};
  UsageFailure("{}expected a whole number or a text for \"{}\".\nNothing was changed.", place,
               control);
}

const LocatedJson* MemberOf(const LocatedJson& object, std::string_view name) {
  const auto member = std::ranges::find(object.members, name, &LocatedJson::Member::name);
  return member != object.members.end() ? &member->value : nullptr;
}

std::vector<Assignment> ReadJson(std::string_view text, const std::string& file) {
  FileError broken;
  const std::optional<LocatedJson> json = ParseLocatedJson(text, broken);
  if (!json) UsageFailure("{}{}.\nNothing was changed.", PlaceOf(file, broken.line), broken.reason);
  std::vector<Assignment> assignments;
  const auto add = [&](const LocatedJson& element) {
    const LocatedJson* name = MemberOf(element, "name");
    const LocatedJson* value = MemberOf(element, "value");
    if (name == nullptr || value == nullptr || name->kind != LocatedJson::Kind::Text)
      UsageFailure("{}expected an object with \"name\" and \"value\".\nNothing was changed.",
                   PlaceOf(file, element.line));
    assignments.push_back(FromJson(name->text, *value, file));
  };
  if (MemberOf(*json, "name") != nullptr && MemberOf(*json, "value") != nullptr) {
    add(*json);
  } else {
    for (const LocatedJson::Member& member : json->members)
      assignments.push_back(FromJson(member.name, member.value, file));
    for (const LocatedJson& element : json->items) add(element);
  }
  return assignments;
}

}  // namespace

std::optional<Assignment> SplitAssignment(std::string_view text) {
  const std::size_t sign = text.find('=');
  if (sign == std::string_view::npos) return std::nullopt;
  const bool is_step = sign > 0 && (text[sign - 1] == '+' || text[sign - 1] == '-');
  Assignment assignment{std::string(text.substr(0, is_step ? sign - 1 : sign)),
                        std::string(text.substr(is_step ? sign - 1 : sign + 1)),
                        false,
                        {}};
  boost::algorithm::trim(assignment.control);
  boost::algorithm::trim(assignment.value);
  if (assignment.control.empty()) return std::nullopt;
  return assignment;
}

std::vector<Assignment> ReadAssignments(std::string_view text, const std::string& file) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  const bool is_json =
      first != std::string_view::npos && (text[first] == '{' || text[first] == '[');
  std::vector<Assignment> assignments = is_json ? ReadJson(text, file) : ReadLines(text, file);
  if (assignments.empty())
    UsageFailure("{} has no CONTROL=VALUE.", file == "-" ? "standard input" : file);
  return assignments;
}

}  // namespace orv::cli
