// Run on a real console (on_pseudo_console): what the program shows there, and leaves there.
#include "cli/client/windows/console.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>
#include <iostream>

#include "cli/client/host.h"
#include "cli/windows/process.h"
#include "platform/terminal.h"
#include "platform/text.h"
#include "platform/windows/system_calls.h"
#include "support/temporary_folder.h"

namespace orv::cli {
namespace {

// A screen of the test's own and the keyboard; both replace this process's standard streams while
// this lives.
class Console {
 public:
  Console() {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    screen_ = Handle(CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                               CONSOLE_TEXTMODE_BUFFER, nullptr));
    keyboard_ = Handle(CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, OPEN_EXISTING,
                                   0, nullptr));
    SetStdHandle(STD_OUTPUT_HANDLE, screen());
    SetStdHandle(STD_INPUT_HANDLE, keyboard());
  }
  ~Console() {
    SetStdHandle(STD_OUTPUT_HANDLE, output_before_);
    SetStdHandle(STD_INPUT_HANDLE, input_before_);
  }
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  HANDLE screen() const { return screen_.get(); }
  HANDLE keyboard() const { return keyboard_.get(); }
  DWORD Mode() const {
    DWORD mode = ~DWORD{0};
    EXPECT_TRUE(GetConsoleMode(screen(), &mode));
    return mode;
  }
  // The first lines of the screen, in one piece.
  std::string Shown() const {
    wchar_t text[400] = {};
    DWORD size = 0;
    EXPECT_TRUE(ReadConsoleOutputCharacterW(screen(), text, 399, {0, 0}, &size));
    return Utf8FromWide(std::wstring_view(text, size));
  }

 private:
  HANDLE output_before_ = GetStdHandle(STD_OUTPUT_HANDLE);
  HANDLE input_before_ = GetStdHandle(STD_INPUT_HANDLE);
  Handle screen_;
  Handle keyboard_;
};

TEST(Console, TheProgramsTextIsReadableAndTheModeComesBack) {
  const Console console;
  const DWORD mode = console.Mode();
  const TemporaryFolder folder;
  const auto file = folder.path() / L"entries.json";
  std::ofstream(file) << R"([{"name": "Kopfhörer 中音", "kind": "int", "value": 1}])";
  ASSERT_EQ(RunProcess(ORV_ORVCTL,
                       {"image", "encode", Utf8FromWide(file.native()), "--output",
                        Utf8FromWide((folder.path() / L"image").native())},
                       {console.keyboard(), console.screen(), console.screen()})
                .status,
            DWORD{0});
  ASSERT_EQ(
      RunProcess(ORV_ORVCTL, {"image", "decode", Utf8FromWide((folder.path() / L"image").native())},
                 {console.keyboard(), console.screen(), console.screen()})
          .status,
      DWORD{0});
  EXPECT_NE(console.Shown().find("Kopfhörer 中音"), std::string::npos) << console.Shown();
  EXPECT_EQ(console.Mode(), mode);
}

TEST(Console, AFlushBetweenTheBytesOfACharacterKeepsIt) {
  const Console console;
  {
    const StandardStreams streams;
    EXPECT_TRUE(OutputIsTerminal());
    std::cout << "Kopfh\xc3" << std::flush << "\xb6rer" << std::flush;
  }
  EXPECT_EQ(console.Shown().find("Kopfhörer "), 0U) << console.Shown();
}

TEST(Console, KeysOfTheLivePictureStayWithIt) {
  const Console console;
  FlushConsoleInputBuffer(console.keyboard());
  DWORD count = 0;
  {
    const auto terminal = Terminal::Take();
    ASSERT_NE(terminal, nullptr);
    INPUT_RECORD key{};
    key.EventType = KEY_EVENT;
    key.Event.KeyEvent.bKeyDown = TRUE;
    key.Event.KeyEvent.uChar.UnicodeChar = L'q';
    WriteConsoleInputW(console.keyboard(), &key, 1, &count);
    GetNumberOfConsoleInputEvents(console.keyboard(), &count);
    ASSERT_EQ(count, 1U);
  }
  GetNumberOfConsoleInputEvents(console.keyboard(), &count);
  EXPECT_EQ(count, 0U);
}

// Wine's console knows Ctrl+C only: asked for Ctrl+Break it answers ERROR_INVALID_HANDLE. Its C
// runtime keeps a handler set by std::signal, which Microsoft's sets back at the first signal: that
// difference does not show here.
TEST(Console, EveryInterruptReachesTheEvent) {
  SetConsoleCtrlHandler(nullptr, FALSE);  // a caller may have had it ignored
  Event stop(Event::Kind::AutoReset);
  const StopOnSignal signals(stop);
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0));
    EXPECT_TRUE(stop.Wait(std::chrono::seconds(10)));
  }
}

}  // namespace
}  // namespace orv::cli
