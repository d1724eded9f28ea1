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

constexpr std::size_t kMostListed = 12;

bool SameLetter(char a, char b) {
  return FoldAscii(static_cast<unsigned char>(a)) == FoldAscii(static_cast<unsigned char>(b));
}

bool ContainsIgnoringCase(std::string_view name, std::string_view part) {
  return std::search(name.begin(), name.end(), part.begin(), part.end(), SameLetter) != name.end();
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
  std::size_t at = 0;
  std::size_t star = std::string_view::npos;  // the last one so far
  std::size_t after_star = 0;                 // where in the name what follows it is tried
  for (std::size_t i = 0; i < name.size();) {
    if (at < pattern.size() && pattern[at] == '*') {
      star = at++;
      after_star = i;
    } else if (at < pattern.size() && (pattern[at] == '?' || SameLetter(pattern[at], name[i]))) {
      ++at;
      ++i;
    } else if (star != std::string_view::npos) {
      at = star + 1;
      i = ++after_star;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

bool EndsInPattern(std::string_view name, std::string_view pattern) {
  constexpr std::string_view kBetweenWords = " -:/";
  for (std::size_t i = 0; i < name.size(); ++i) {
    const bool word_begins = i == 0 || kBetweenWords.find(name[i - 1]) != std::string_view::npos;
    if (word_begins && MatchesPattern(name.substr(i), pattern)) return true;
  }
  return false;
}

template <class Number>
std::optional<Number> Parse(std::string_view text) {
  Number number = 0;
  if (!boost::conversion::try_lexical_convert(text.data(), text.size(), number))
    return std::nullopt;
  return number;
}

}  // namespace

std::string Excerpt(std::string_view typed) {
  constexpr std::size_t kMost = 100;  // bytes
  if (typed.size() <= kMost) return std::string(typed);
  std::size_t end = kMost;
  while (end > 0 && (static_cast<unsigned char>(typed[end]) & 0xC0) == 0x80) --end;
  return std::string(typed.substr(0, end)) + "...";
}

bool IsPattern(std::string_view text) { return text.find_first_of("*?") != std::string_view::npos; }

std::vector<std::size_t> SelectByPart(const std::vector<std::string>& names, std::string_view text,
                                      Naming naming) {
  const auto equal = [&](const std::string& name) { return name == text; };
  const auto same_letters = [&](const std::string& name) { return EqualsIgnoringCase(name, text); };
  const auto part = [&](const std::string& name) {
    return IsPattern(text) ? EndsInPattern(name, text) : ContainsIgnoringCase(name, text);
  };
  std::vector<std::size_t> positions;
  const auto select = [&](const auto& fits) {
    for (std::size_t i = 0; i < names.size(); ++i)
      if (fits(names[i])) positions.push_back(i);
    return !positions.empty();
  };
  if (text.empty() || select(equal) || select(same_letters)) return positions;
  if (naming == Naming::ByPart) select(part);
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

void FailAsAmbiguous(const std::vector<std::string>& names,
                     const std::vector<std::size_t>& positions, std::string_view text,
                     const std::string& kind) {
  std::string message = fmt::format("\"{}\" fits more than one {}:", Excerpt(text), kind);
  const std::size_t listed = positions.size() > kMostListed ? kMostListed - 1 : positions.size();
  for (std::size_t i = 0; i < listed; ++i) message += "\n  " + names[positions[i]];
  if (listed < positions.size())
    message += fmt::format("\n  and {} more", positions.size() - listed);
  UsageFailure(message);
}

std::size_t SelectOrFail(const std::vector<std::string>& names, std::string_view text,
                         const std::string& kind, Naming naming) {
  const std::vector<std::size_t> positions = SelectByPart(names, text, naming);
  if (positions.size() == 1) return positions.front();
  if (!positions.empty()) FailAsAmbiguous(names, positions, text, kind);
  std::string message =
      fmt::format("no {} named \"{}\".{}", kind, Excerpt(text), Suggestion(names, text));
  if (names.size() <= kMostListed) message += KnownNames(names);
  UsageFailure(message);
}

std::string KnownNames(const std::vector<std::string>& names) {
  return names.empty() ? "" : fmt::format("\nKnown:\n  {}", fmt::join(names, "\n  "));
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
