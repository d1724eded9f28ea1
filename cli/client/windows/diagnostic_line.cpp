#include "cli/client/windows/diagnostic_line.h"

namespace orv::cli {

bool IsDiagnosticLine(std::wstring_view line) {
  const std::size_t file = line.find_first_not_of(L"abcdefghijklmnopqrstuvwxyz0123456789_.");
  if (file == 0 || file == std::wstring_view::npos || line[file] != L'(') return false;
  const std::size_t number = line.find_first_not_of(L"0123456789", file + 1);
  return number != std::wstring_view::npos && number > file + 1 &&
         line.substr(number).starts_with(L") | ");
}

}  // namespace orv::cli
