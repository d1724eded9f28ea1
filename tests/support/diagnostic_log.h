// The diagnostic lines reported while this object lives.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/diagnostics.h"

namespace orv {

class DiagnosticLog {
 public:
  std::vector<std::wstring> Lines() const {
    const std::lock_guard guard(lock_);
    return lines_;
  }
  // How many lines have this text in them.
  std::size_t Count(std::wstring_view text) const {
    const std::lock_guard guard(lock_);
    return static_cast<std::size_t>(std::count_if(
        lines_.begin(), lines_.end(),
        [text](const std::wstring& line) { return line.find(text) != std::wstring::npos; }));
  }
  bool Contains(std::wstring_view text) const { return Count(text) != 0; }

 private:
  mutable std::mutex lock_;
  std::vector<std::wstring> lines_;
  DiagnosticCapture capture_{[this](std::wstring_view line) {
    const std::lock_guard guard(lock_);
    lines_.emplace_back(line);
  }};
};

inline void ExpectLines(const DiagnosticLog& log, std::initializer_list<const wchar_t*> texts) {
  for (const wchar_t* text : texts) EXPECT_TRUE(log.Contains(text)) << testing::PrintToString(text);
}
inline void ExpectEachOnce(const DiagnosticLog& log, std::initializer_list<const wchar_t*> texts) {
  for (const wchar_t* text : texts) EXPECT_EQ(log.Count(text), 1U) << testing::PrintToString(text);
}

}  // namespace orv
