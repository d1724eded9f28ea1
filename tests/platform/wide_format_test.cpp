#include "platform/wide_format.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "platform/text.h"
#include "support/failing_allocator.h"

namespace orv {
namespace {

std::wstring Format(const wchar_t* format, std::initializer_list<FormatArgument> args) {
  wchar_t buffer[1024];
  std::fill(std::begin(buffer), std::end(buffer), L'\x7777');
  const FailingAllocations counted(0);
  const std::size_t length = FormatWide(buffer, std::size(buffer), format, args);
  EXPECT_EQ(counted.count(), 0U);
  EXPECT_EQ(buffer[length], L'\0');
  return {buffer, length};
}

using Arguments = std::initializer_list<FormatArgument>;
void Expect(std::initializer_list<std::tuple<const wchar_t*, Arguments, const wchar_t*>> rows) {
  for (const auto& [format, arguments, text] : rows)
    EXPECT_EQ(Format(format, arguments), text) << Utf8FromWide(format);
}

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

TEST(WideFormat, ConvertsEveryKindOfArgument) {
  Expect({{L"%d|%i", {-5, 7}, L"-5|7"},
          {L"%5d|%-5d|%05d", {42, 42, -42}, L"   42|42   |-0042"},
          {L"%+d|% d|%+d", {1, 1, -1}, L"+1| 1|-1"},
          {L"%.3d|%6.3d|%06.3d|%.0d", {7, 7, 7, 0}, L"007|   007|   007|"},
          {L"%*d|%-*d|%*d", {4, 1, 4, 1, -4, 1}, L"   1|1   |1   "},
          {L"%u|%d", {-1, 0xFFFFFFFFU}, L"4294967295|-1"},
          {L"%x|%X|%#x|%#x", {0xBEEF, 0xBEEF, 255, 0}, L"beef|BEEF|0xff|0"},
          {L"0x%08x", {static_cast<int>(0x80070490)}, L"0x80070490"},
          {L"%lld|%I64u|%hd",
           {kLeast, 18446744073709551615ULL, 70000},
           L"-9223372036854775808|18446744073709551615|70000"},
          {L"%s|%ls|%S|%hs", {L"a", L"b", "c", "d"}, L"a|b|c|d"},
          {L"%hs|%s", {L"wide", "narrow"}, L"wide|narrow"},
          {L"%5s|%-5hs|%.2s|%.2hs", {L"ab", "ab", L"abc", "abc"}, L"   ab|ab   |ab|ab"},
          {L"%s|%S",
           {static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr)},
           L"(null)|(null)"},
          {L"%hs", {"\xE4"}, L"\x00E4"},
          {L"%c%c", {L'o', 'k'}, L"ok"},
          {L"%s", {std::wstring(L"kept")}, L"kept"},
          {L"%f|%.2f|%8.3f|%-8.1f|", {0.5, 2.675, -1.0, 1.25}, L"0.500000|2.67|  -1.000|1.2     |"},
          {L"%08.2f|%+g|%g|%g", {-1.5, 0.1, 1e10, 100000.0}, L"-0001.50|+0.1|1e+10|100000"},
          {L"%g|%.3g|%.0f", {1e-5, 1234.5, 0.5}, L"1e-05|1.23e+03|0"},
          {L"%6f", {std::numeric_limits<double>::infinity()}, L"   inf"},
          {L"%p", {reinterpret_cast<const void*>(std::uintptr_t{0xAB12})}, L"000000000000AB12"}});
  EXPECT_EQ(Format(L"%.300f", {-1e308}).size(), 1U + 309 + 1 + 100);
}

TEST(WideFormat, WhatFindsNoFittingArgumentStandsAsItIs) {
  Expect({{L"%d and %d", {1}, L"1 and %d"},
          {L"%d|%s|%f|%p", {L"text", 5, 5, 5}, L"%d|%s|%f|%p"},
          {L"100%% of %y, %-05.2lq", {}, L"100% of %y, %-05.2lq"},
          {L"%y %d|%*d", {3}, L"%y 3|%*d"},
          {L"end%-08l", {1}, L"end%-08l"}});
}

TEST(WideFormat, CutsWhatDoesNotFit) {
  for (std::size_t capacity = 1; capacity < 12; ++capacity) {
    std::wstring buffer(16, L'\x7777');
    const std::size_t length = FormatWide(buffer.data(), capacity, L"%s %5d", {L"value", 1234567});
    EXPECT_EQ(buffer.substr(0, length), std::wstring(L"value 1234567").substr(0, capacity - 1));
    EXPECT_EQ(buffer[length], L'\0');
    EXPECT_EQ(buffer[capacity], L'\x7777');
  }
  wchar_t small[4];
  EXPECT_EQ(FormatWide(small, 4, L"%99999999999d", {1}), 3U);
  EXPECT_STREQ(small, L"   ");
}

}  // namespace
}  // namespace orv
