// Candidates for the word at the cursor of a command line.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

// A command line up to the cursor, as a shell splits it. Quotes and backslashes are removed.
struct TypedLine {
  std::vector<std::string> words;  // the last one is at the cursor, and may be empty
  char quote = 0;                  // that the last word is inside of; 0 if none
  std::size_t broken = 0;          // bytes of the last word up to its last bare '=' or ':'
};
TypedLine SplitTypedLine(std::string_view line);

struct Completion {
  enum class Files { None, Any, Folders };

  struct Candidate {
    std::string text;
    std::string meaning;  // a few words beside it; may be empty
  };

  Files files = Files::None;  // whether names of files fit too
  std::vector<Candidate> candidates;
};

// `line` begins with the program's name. Reads the machine that it names; what cannot be read gives
// no candidates.
Completion Complete(const CLI::App& root, const TypedLine& line);

// One line for the kind of files ("words", "files", "folders"), then one for each candidate: for
// bash the text to insert, for other shells the text, a tab and its meaning.
std::string CompletionLines(const Completion& completion, const TypedLine& line, bool for_bash);

}  // namespace orv::cli
