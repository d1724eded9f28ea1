#include "cli/show/screen.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "cli/show/output.h"
#include "cli/show/table.h"

namespace orv::cli {
namespace {

// A terminal that knows what ScreenChanges may send, and nothing else.
class TestTerminal {
 public:
  explicit TestTerminal(TerminalSize size) : screen_(size) {}

  void Show(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
      if (text[at] == '\x1b')
        at = Obey(text, at);
      else
        at = Draw(text, at);
    }
  }
  const Screen& screen() const { return screen_; }

 private:
  std::size_t Obey(const std::string& text, std::size_t at) {
    const std::size_t last = text.find_first_not_of("[?0123456789;", at + 1);
    const std::string sequence = text.substr(at, last + 1 - at);
    const std::string numbers = sequence.substr(2, sequence.size() - 3);
    const int first = std::atoi(numbers.c_str());
    if (text[last] == 'H') {
      row_ = first - 1;
      column_ = std::atoi(numbers.c_str() + numbers.find(';') + 1) - 1;
    } else if (text[last] == 'C') {
      column_ += numbers.empty() ? 1 : first;
    } else if (text[last] == 'J') {
      screen_ = Screen(screen_.size());
    } else if (text[last] == 'm') {
      colour_ = nullptr;
      for (const char* known : {ansi::kGood, ansi::kBad})
        if (sequence == known) colour_ = known;
      EXPECT_TRUE(colour_ != nullptr || sequence == ansi::kReset) << sequence.substr(1);
    } else {
      EXPECT_TRUE(sequence == "\x1b[?2026h" || sequence == "\x1b[?2026l") << sequence.substr(1);
    }
    return last + 1;
  }
  std::size_t Draw(const std::string& text, std::size_t at) {
    std::size_t end = at + 1;
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) ++end;
    const std::string character = text.substr(at, end - at);
    screen_.Put(row_, column_, character, colour_);
    column_ += static_cast<int>(DisplayWidth(character));
    return end;
  }

  Screen screen_;
  int row_ = 0;
  int column_ = 0;
  const char* colour_ = nullptr;
};

void ExpectSame(const Screen& shown, const Screen& wanted) {
  for (int row = 0; row < wanted.size().rows; ++row)
    for (int column = 0; column < wanted.size().columns; ++column)
      ASSERT_EQ(shown.At(row, column), wanted.At(row, column)) << row << ", " << column;
}

TEST(ScreenChanges, MakeATerminalShowTheNextScreen) {
  std::mt19937 random(1);
  const auto up_to = [&](int most) { return static_cast<int>(random() % (most + 1U)); };
  constexpr TerminalSize kSize{24, 6};
  constexpr const char* kTexts[] = {"a", "   ", "音量", "█▌", "x音", "e\xCC\x81", "level"};
  constexpr const char* kColours[] = {nullptr, ansi::kGood, ansi::kBad};
  TestTerminal terminal(kSize);
  Screen shown;
  Screen next(kSize);
  for (int frame = 0; frame < 300; ++frame) {
    for (int i = up_to(8); i > 0; --i)
      next.Put(up_to(6), up_to(26) - 1, kTexts[up_to(6)], kColours[up_to(2)]);
    const std::string changes = ScreenChanges(shown, next);
    EXPECT_EQ(changes.find("\x1b[2J") != std::string::npos, frame == 0);
    terminal.Show(changes);
    ExpectSame(terminal.screen(), next);
    shown = next;
    EXPECT_EQ(ScreenChanges(shown, next), "");
  }
}

TEST(ScreenChanges, SendOnlyTheCellsThatDiffer) {
  Screen shown({20, 3});
  shown.Put(1, 0, "level -12.3 dB");
  Screen next = shown;
  next.Put(1, 9, "4");
  next.Put(1, 11, "5", ansi::kBad);
  EXPECT_EQ(ScreenChanges(shown, next), "\x1b[?2026h\x1b[2;10H4\x1b[C\x1b[31m5\x1b[0m\x1b[?2026l");
  EXPECT_EQ(ScreenChanges(shown, Screen({19, 3})), "\x1b[?2026h\x1b[2J\x1b[?2026l");
}

}  // namespace
}  // namespace orv::cli
