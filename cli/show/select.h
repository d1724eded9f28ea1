// How people name things: by number, by exact name, by any part of a name that fits one thing only.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

struct Selection {
  std::optional<std::size_t> index;
  std::vector<std::size_t> candidates;  // several fitted equally well
};

// The exact name wins, then the name in other letter case, then the only name with this part in it
// (letter case ignored). Empty text selects nothing.
Selection SelectByPart(const std::vector<std::string>& names, std::string_view text);

// The known name with the fewest typing mistakes, letter case ignored; nothing when even that one
// is far away.
std::optional<std::string> NearestName(const std::vector<std::string>& names,
                                       std::string_view text);

// " Did you mean "..."?" for the nearest name, or nothing.
std::string Suggestion(const std::vector<std::string>& names, std::string_view text);

// Position of the named thing; a usage failure that tells what would fit otherwise. `kind` is its
// singular ("mode").
std::size_t SelectOrFail(const std::vector<std::string>& names, std::string_view text,
                         const std::string& kind);

// "\nKnown:" and a line for each name.
std::string KnownNames(const std::vector<std::string>& names);
// Position of the thing that the text names or numbers; a usage failure that lists both otherwise.
int ParseChoice(const std::vector<std::string>& names, const std::string& text,
                const std::string& kind);

// A whole decimal number in the 32-bit range, and nothing else.
std::optional<int> ParseNumber(std::string_view text);
// A finite decimal number, and nothing else.
std::optional<float> ParseReal(std::string_view text);

// The elements of a text with commas. An empty element is a usage failure that gives its place;
// `kind` is the name of the list ("the band").
std::vector<std::string> SplitList(const std::string& text, const std::string& kind);

}  // namespace orv::cli
