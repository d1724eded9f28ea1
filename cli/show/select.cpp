#include "cli/show/select.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <cmath>
#include <sstream>

#include "cli/show/failure.h"
#include "platform/nearest_name.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

bool ContainsIgnoringCase(std::string_view name, std::string_view part) {
  const auto fold = [](char c) { return FoldAscii(static_cast<unsigned char>(c)); };
  const auto equal = [&](char a, char b) { return fold(a) == fold(b); };
  return std::search(name.begin(), name.end(), part.begin(), part.end(), equal) != name.end();
}

template <class Number>
std::optional<Number> Parse(std::string_view text) {
  Number number = 0;
  if (!boost::conversion::try_lexical_convert(text.data(), text.size(), number))
    return std::nullopt;
  return number;
}

}  // namespace

std::vector<std::size_t> SelectByPart(const std::vector<std::string>& names,
                                      std::string_view text) {
  const auto equal = [&](const std::string& name) { return name == text; };
  const auto same_letters = [&](const std::string& name) { return EqualsIgnoringCase(name, text); };
  const auto part = [&](const std::string& name) { return ContainsIgnoringCase(name, text); };
  std::vector<std::size_t> positions;
  const auto select = [&](const auto& fits) {
    for (std::size_t i = 0; i < names.size(); ++i)
      if (fits(names[i])) positions.push_back(i);
    return !positions.empty();
  };
  if (!text.empty() && !select(equal) && !select(same_letters)) select(part);
  return positions;
}

std::string Suggestion(const std::vector<std::string>& names, std::string_view text) {
  constexpr std::size_t kShortestPart = 3;
  std::string_view nearest = NearestName(text, {names.begin(), names.end()});
  if (nearest.empty() && text.size() >= kShortestPart) {
    const auto with_part = std::ranges::find_if(
        names, [&](const std::string& name) { return ContainsIgnoringCase(name, text); });
    if (with_part != names.end()) nearest = *with_part;
  }
  return nearest.empty() ? "" : fmt::format(" Did you mean \"{}\"?", nearest);
}

std::size_t SelectOrFail(const std::vector<std::string>& names, std::string_view text,
                         const std::string& kind) {
  const std::vector<std::size_t> positions = SelectByPart(names, text);
  if (positions.size() == 1) return positions.front();
  std::string message;
  if (positions.empty()) {
    constexpr std::size_t kMostListed = 12;
    message = fmt::format("no {} named \"{}\".{}", kind, text, Suggestion(names, text));
    if (names.size() <= kMostListed && !names.empty()) message += KnownNames(names);
  } else {
    message = fmt::format("\"{}\" fits more than one {}:", text, kind);
    for (const std::size_t position : positions) message += "\n  " + names[position];
  }
  UsageFailure(message);
}

std::string KnownNames(const std::vector<std::string>& names) {
  return fmt::format("\nKnown:\n  {}", fmt::join(names, "\n  "));
}

int ParseChoice(const std::vector<std::string>& names, const std::string& text,
                const std::string& kind) {
  const auto named = std::ranges::find(names, text);
  if (named != names.end()) return static_cast<int>(named - names.begin());
  const std::optional<int> number = ParseNumber(text);
  if (number && *number >= 0 && static_cast<std::size_t>(*number) < names.size()) return *number;
  std::vector<std::string> numbered;
  for (const std::string& name : names)
    numbered.push_back(fmt::format("{}  {}", numbered.size(), name));
  UsageFailure("no {} \"{}\".{}{}", kind, text, Suggestion(names, text), KnownNames(numbered));
}

std::optional<int> ParseNumber(std::string_view text) { return Parse<int>(text); }

std::optional<float> ParseReal(std::string_view text) {
  const std::optional<float> number = Parse<float>(text);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

std::vector<std::string> SplitList(const std::string& text, const std::string& kind) {
  std::vector<std::string> elements;
  std::istringstream stream(text + ",");
  for (std::string element; std::getline(stream, element, ',');) {
    elements.push_back(element);
    if (element.empty())
      UsageFailure("element {} of {} \"{}\" is empty.", elements.size(), kind, text);
  }
  return elements;
}

}  // namespace orv::cli
