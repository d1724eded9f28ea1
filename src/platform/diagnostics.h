// The diagnostic line: one routine builds every line this component reports to the debugger output
// channel.
//
//   Diagnose(ORV_HERE("ORVAPOConfigurationFile::Load"), L"pXML->load %d\n", loaded);
//
// gives "configuration_file.cpp(57) | ORVAPOConfigurationFile::Load | pXML->load 1\n". Messages
// carry their own line feed. Reporting never fails and never changes a result.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include "platform/wide_format.h"

namespace orv {

struct DiagnosticSite {
  const char* file;
  int line;
  const char* function;  // Class::Method
};

#define ORV_HERE(function_name) \
  ::orv::DiagnosticSite { __FILE_NAME__, __LINE__, function_name }

// A line holds at most this many characters, terminator included; a longer one is cut.
inline constexpr std::size_t kDiagnosticLineCapacity = 16384;

void DiagnoseFormatted(const DiagnosticSite& site, const wchar_t* format,
                       std::initializer_list<FormatArgument> args) noexcept;

template <class... Args>
void Diagnose(const DiagnosticSite& site, const wchar_t* format, const Args&... args) noexcept {
  DiagnoseFormatted(site, format, {FormatArgument(args)...});
}

// Replaces the debugger output channel for this process while it lives (tests, fuzzers); the
// innermost one receives the lines. The callback may be called from any thread, one call at a time.
class DiagnosticCapture : boost::noncopyable {
 public:
  using Sink = std::function<void(std::wstring_view line)>;
  explicit DiagnosticCapture(Sink sink);
  ~DiagnosticCapture();

 private:
  Sink sink_;
  DiagnosticCapture* previous_;
  friend void DiagnoseFormatted(const DiagnosticSite&, const wchar_t*,
                                std::initializer_list<FormatArgument>) noexcept;
};

}  // namespace orv
