// Command lines that messages name, to be pasted.
#pragma once

#include <string>

namespace orv::cli {

// One word of a command line.
std::string ShellWord(const std::string& text);

// The global options that this run was given, as words of a command line. Remedies repeat them.
void UseGlobalOptions(const std::string& words);

// `words` as a command of this program, with the global options that this run was given.
std::string CommandLine(const std::string& words);

}  // namespace orv::cli
