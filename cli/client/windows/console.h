// Text on a console: UTF-8 within the program, UTF-16 at the console.
#pragma once

#include <functional>
#include <streambuf>
#include <string>
#include <string_view>

namespace orv::cli {

// Collects UTF-8 and hands it on as wide text, at a flush and when there is much of it. An
// incomplete character is kept until its other bytes arrive, or until the end.
class Utf8Buffer final : public std::streambuf {
 public:
  // Takes all of the text or returns false.
  using Sink = std::function<bool(std::wstring_view text)>;

  explicit Utf8Buffer(Sink sink) : sink_(std::move(sink)) {}
  ~Utf8Buffer() override;

 protected:
  int_type overflow(int_type unit) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int sync() override;

 private:
  bool HandOn(std::size_t size);

  Sink sink_;
  std::string pending_;
};

// Handles are the system's own. False if the text could not be written whole.
bool IsConsole(void* handle);
bool WriteConsoleText(void* console, std::wstring_view text);

// Whether a line of the debugger output channel comes from the component, not from another module
// of the process: "configuration_file.cpp(57) | ORVAPOConfigurationFile::Load | ...".
bool IsDiagnosticLine(std::wstring_view line);

}  // namespace orv::cli
