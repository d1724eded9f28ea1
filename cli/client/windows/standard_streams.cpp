#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <iostream>
#include <optional>

#include "cli/client/host.h"
#include "cli/client/windows/console.h"
#include "orv_apo/com.h"

namespace orv::cli {
namespace {

// A stream that the caller closed has no file.
void UseBytes(std::FILE* stream) {
  const int file = _fileno(stream);
  if (file >= 0) _setmode(file, _O_BINARY);
}

// One of the streams for output, and the console's mode when it goes to one.
class OutputStream {
 public:
  OutputStream(std::ostream& stream, std::FILE* file, DWORD standard_handle)
      : stream_(stream), console_(GetStdHandle(standard_handle)) {
    if (GetConsoleMode(console_, &mode_) == FALSE) {
      UseBytes(file);
      return;
    }
    buffer_.emplace([this](std::wstring_view text) { return WriteConsoleText(console_, text); });
    former_ = stream_.rdbuf(&*buffer_);
  }
  ~OutputStream() {
    stream_.flush();
    if (!buffer_) return;
    stream_.rdbuf(former_);
    buffer_.reset();
    SetConsoleMode(console_, mode_);
  }
  OutputStream(const OutputStream&) = delete;
  OutputStream& operator=(const OutputStream&) = delete;

 private:
  std::ostream& stream_;
  HANDLE console_;
  DWORD mode_ = 0;
  std::optional<Utf8Buffer> buffer_;
  std::streambuf* former_ = nullptr;
};

}  // namespace

struct StandardStreams::State {
  OutputStream output{std::cout, stdout, STD_OUTPUT_HANDLE};
  OutputStream errors{std::cerr, stderr, STD_ERROR_HANDLE};
};

StandardStreams::StandardStreams() : state_(std::make_unique<State>()) {
  // What is typed keeps its end key and its line ends.
  if (!IsConsole(GetStdHandle(STD_INPUT_HANDLE))) UseBytes(stdin);
}

StandardStreams::~StandardStreams() = default;

}  // namespace orv::cli
