// Selecting things as users name them: by number, by exact name, by any part that fits one thing
// only. Numbers and lists in arguments.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

// What a text may name: a thing by its whole name only, in any letter case, or also by a part of it
// or a pattern.
enum class Naming { ByPart, Whole };

// What a user typed, for messages: a long text is cut, which "..." shows.
std::string Excerpt(std::string_view typed);

// Whether the text is a pattern: "*" in it fits any characters, "?" one.
bool IsPattern(std::string_view text);

// Positions of the names that fit equally well; the name is selected if there is only one. The
// exact name comes first, then the name in other letter case, then names with this part in them or,
// for a pattern, names that have it from the beginning of a word to their end (letter case
// ignored). Empty text fits no name.
std::vector<std::size_t> SelectByPart(const std::vector<std::string>& names, std::string_view text,
                                      Naming naming = Naming::ByPart);

// " Did you mean "..."?" with the known name that has the fewest typing mistakes, letter case
// ignored, or one with this part in it; empty if every name is far away.
std::string Suggestion(const std::vector<std::string>& names, std::string_view text);

// Throws the usage failure for a text that fits all these names; a long list is cut.
[[noreturn]] void FailAsAmbiguous(const std::vector<std::string>& names,
                                  const std::vector<std::size_t>& positions, std::string_view text,
                                  const std::string& kind);

// Position of the named thing. Throws a usage failure with the names that would fit otherwise.
// `kind` is its singular ("mode").
std::size_t SelectOrFail(const std::vector<std::string>& names, std::string_view text,
                         const std::string& kind, Naming naming = Naming::ByPart);

// "\nKnown:" and a line for each name; empty if there is none.
std::string KnownNames(const std::vector<std::string>& names);
// Position of the thing that the text names or numbers. Throws a usage failure that lists both
// otherwise.
int ParseChoice(const std::vector<std::string>& names, const std::string& text,
                const std::string& kind);

// A whole decimal number in the 32-bit range, without anything else in the text.
std::optional<int> ParseNumber(std::string_view text);
// A finite decimal number, without anything else in the text.
std::optional<float> ParseReal(std::string_view text);

// The elements of a text with commas. Throws a usage failure with the position of an empty element;
// `kind` is the name of the list ("the band").
std::vector<std::string> SplitList(const std::string& text, const std::string& kind);

}  // namespace orv::cli
