#include "platform/terminal.h"

#include <windows.h>

namespace orv {
namespace {

// A mode of a console that is put back at the end.
class ConsoleMode {
 public:
  explicit ConsoleMode(DWORD standard_handle) : console_(GetStdHandle(standard_handle)) {
    is_console_ = GetConsoleMode(console_, &before_) != 0;
  }
  ~ConsoleMode() {
    if (is_console_) SetConsoleMode(console_, before_);
  }
  ConsoleMode(const ConsoleMode&) = delete;
  ConsoleMode& operator=(const ConsoleMode&) = delete;

  HANDLE console() const noexcept { return console_; }
  bool is_console() const noexcept { return is_console_; }
  bool Change(DWORD add, DWORD remove) const {
    return is_console_ && SetConsoleMode(console_, (before_ & ~remove) | add) != 0;
  }

 private:
  HANDLE console_;
  DWORD before_ = 0;
  bool is_console_ = false;
};

class WindowsTerminal final : public Terminal {
 public:
  WindowsTerminal() : code_page_(GetConsoleOutputCP()) {}
  ~WindowsTerminal() override {
    if (!taken_) return;
    WindowsTerminal::Write(kFormerScreenAndCursor);
    SetConsoleOutputCP(code_page_);
    // Text that was typed meanwhile is not input for the next program.
    if (input_.is_console()) FlushConsoleInputBuffer(input_.console());
  }

  bool TakeOver() {
    taken_ = output_.Change(ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING, 0);
    if (!taken_) return false;
    input_.Change(0, ENABLE_ECHO_INPUT | ENABLE_LINE_INPUT);
    SetConsoleOutputCP(CP_UTF8);
    return WindowsTerminal::Write(kOwnScreenWithoutCursor);
  }

  TerminalSize Size() const override {
    CONSOLE_SCREEN_BUFFER_INFO screen{};
    if (!GetConsoleScreenBufferInfo(output_.console(), &screen)) return {};
    const SMALL_RECT& window = screen.srWindow;
    return {window.Right - window.Left + 1, window.Bottom - window.Top + 1};
  }
  bool Write(std::string_view text) override {
    while (!text.empty()) {
      DWORD written = 0;
      if (!WriteFile(output_.console(), text.data(), static_cast<DWORD>(text.size()), &written,
                     nullptr) ||
          written == 0)
        return false;
      text.remove_prefix(written);
    }
    return true;
  }
  std::optional<char> Key() override {
    INPUT_RECORD record{};
    DWORD waiting = 0;
    while (GetNumberOfConsoleInputEvents(input_.console(), &waiting) && waiting > 0 &&
           ReadConsoleInputW(input_.console(), &record, 1, &waiting) && waiting == 1) {
      const KEY_EVENT_RECORD& event = record.Event.KeyEvent;
      const wchar_t unit = event.uChar.UnicodeChar;
      if (record.EventType == KEY_EVENT && event.bKeyDown && unit > 0 && unit < 0x80)
        return static_cast<char>(unit);
    }
    return std::nullopt;
  }

 private:
  ConsoleMode output_{STD_OUTPUT_HANDLE};
  ConsoleMode input_{STD_INPUT_HANDLE};
  UINT code_page_;
  bool taken_ = false;
};

}  // namespace

std::unique_ptr<Terminal> Terminal::Take() {
  auto terminal = std::make_unique<WindowsTerminal>();
  if (!terminal->TakeOver()) return nullptr;
  return terminal;
}

}  // namespace orv
