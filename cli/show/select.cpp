#include "cli/show/select.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "cli/show/failure.h"
#include "platform/nearest_name.h"

namespace orv::cli {
namespace {

std::string Folded(std::string_view text) {
  std::string folded(text);
  for (char& c : folded)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return folded;
}

Selection From(std::vector<std::size_t> matches) {
  Selection selection;
  if (matches.size() == 1) {
    selection.index = matches.front();
  } else {
    selection.candidates = std::move(matches);
  }
  return selection;
}

}  // namespace

Selection SelectByPart(const std::vector<std::string>& names, std::string_view text) {
  std::vector<std::size_t> exact;
  std::vector<std::size_t> same_letters;
  std::vector<std::size_t> parts;
  if (text.empty()) return {};
  const std::string folded = Folded(text);
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i] == text) exact.push_back(i);
    const std::string name = Folded(names[i]);
    if (name == folded) same_letters.push_back(i);
    if (name.find(folded) != std::string::npos) parts.push_back(i);
  }
  if (!exact.empty()) return From(std::move(exact));
  if (!same_letters.empty()) return From(std::move(same_letters));
  return From(std::move(parts));
}

std::optional<std::string> NearestName(const std::vector<std::string>& names,
                                       std::string_view text) {
  const std::vector<std::string_view> known(names.begin(), names.end());
  const std::string_view nearest = orv::NearestName(text, known);
  if (!nearest.empty()) return std::string(nearest);
  // The start or a part of a name counts as near, however much is missing.
  constexpr std::size_t kShortestPart = 3;
  const std::string folded = Folded(text);
  for (const std::string& name : names)
    if (folded.size() >= kShortestPart && Folded(name).find(folded) != std::string::npos)
      return name;
  return std::nullopt;
}

std::string Suggestion(const std::vector<std::string>& names, std::string_view text) {
  const std::optional<std::string> nearest = NearestName(names, text);
  return nearest ? " Did you mean \"" + *nearest + "\"?" : std::string();
}

std::size_t SelectOrFail(const std::vector<std::string>& names, std::string_view text,
                         const std::string& kind) {
  const Selection selection = SelectByPart(names, text);
  if (selection.index) return *selection.index;
  std::string message;
  const std::string quoted = "\"" + std::string(text) + "\"";
  if (selection.candidates.empty()) {
    message = "no " + kind + " named " + quoted + "." + Suggestion(names, text);
    if (names.size() <= 12 && !names.empty()) message += KnownNames(names);
  } else {
    message = quoted + " fits more than one " + kind + ":";
    for (const std::size_t index : selection.candidates) message += "\n  " + names[index];
  }
  UsageFailure(message);
}

std::string KnownNames(const std::vector<std::string>& names) {
  std::string known = "\nKnown:";
  for (const std::string& name : names) known += "\n  " + name;
  return known;
}

int ParseChoice(const std::vector<std::string>& names, const std::string& text,
                const std::string& kind) {
  const auto named = std::find(names.begin(), names.end(), text);
  if (named != names.end()) return static_cast<int>(named - names.begin());
  const std::optional<int> number = ParseNumber(text);
  if (number && *number >= 0 && static_cast<std::size_t>(*number) < names.size()) return *number;
  std::vector<std::string> numbered;
  for (const std::string& name : names)
    numbered.push_back(std::to_string(numbered.size()) + "  " + name);
  UsageFailure("no " + kind + " \"" + text + "\"." + Suggestion(names, text) +
               KnownNames(numbered));
}

std::optional<int> ParseNumber(std::string_view text) {
  int number = 0;
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '-') return std::nullopt;
  }
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::optional<float> ParseReal(std::string_view text) {
  float number = 0;
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, number);
  if (error != std::errc() || end != last || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::vector<std::string> SplitList(const std::string& text, const std::string& kind) {
  std::vector<std::string> elements{""};
  for (const char c : text) {
    if (c == ',') {
      elements.emplace_back();
    } else {
      elements.back() += c;
    }
  }
  const auto empty = std::find(elements.begin(), elements.end(), "");
  if (empty != elements.end()) {
    UsageFailure("element " + std::to_string(empty - elements.begin() + 1) + " of " + kind + " \"" +
                 text + "\" is empty.");
  }
  return elements;
}

}  // namespace orv::cli
