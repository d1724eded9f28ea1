// The component's diagnostic lines on standard error, as -v shows them: each with the time and the
// thread before it.
#pragma once

#include <string_view>

namespace orv::cli {

enum class Diagnostics {
  None,
  Command,    // without those of opening the machine's endpoints, if it succeeds
  Everything  // each at once
};

// Called once, before the component is loaded. Lines come from any thread afterwards.
void ShowDiagnostics(Diagnostics diagnostics);
// A line of the component or of this program, in UTF-8, with or without its line feed.
void TakeDiagnosticLine(std::string_view line) noexcept;

// The endpoints are open: drops the lines that were kept back, and shows later ones at once.
void EndOpening();
// Shows the lines that were kept back, because the command ends without having opened an endpoint.
void ShowKeptDiagnostics() noexcept;

}  // namespace orv::cli
