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
  Expect(
      {{L"%d|%d|%lld|%hd", {-5, 0xFFFFFFFFU, kLeast, 70000}, L"-5|-1|-9223372036854775808|70000"},
       {L"%x|0x%x|%llx",
        {-1, static_cast<int>(0x80070490), kLeast},
        L"ffffffff|0x80070490|8000000000000000"},
       {L"%s|%ls|%S|%hs|%hs|%s",
        {L"a", std::wstring(L"b"), "c", "d", L"wide", "narrow"},
        L"a|b|c|d|wide|narrow"},
       {L"%s|%S",
        {static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr)},
        L"(null)|(null)"},
       {L"%hs", {"\xE4"}, L"\x00E4"},
       {L"%f|%f|%f",
        {0.5, -2.6754321, std::numeric_limits<double>::infinity()},
        L"0.500000|-2.675432|inf"},
       {L"%p|100%%",
        {reinterpret_cast<const void*>(std::uintptr_t{0xAB12})},
        L"000000000000AB12|100%"}});
  EXPECT_EQ(Format(L"%f", {std::numeric_limits<double>::lowest()}).size(), 1U + 309 + 1 + 6);
}

TEST(WideFormat, LeavesConversionsWithoutAFittingArgument) {
  Expect({{L"%d and %d", {1}, L"1 and %d"},
          {L"%d|%s|%f|%p", {L"text"}, L"%d|text|%f|%p"},
          {L"%y %5d %x", {3}, L"%y %5d 3"},
          {L"end%ll", {1}, L"end%ll"}});
}

TEST(WideFormat, CutsWhatDoesNotFit) {
  for (std::size_t capacity = 1; capacity < 12; ++capacity) {
    std::wstring buffer(16, L'\x7777');
    const std::size_t length = FormatWide(buffer.data(), capacity, L"%s %d", {L"value", 1234567});
    EXPECT_EQ(buffer.substr(0, length), std::wstring(L"value 1234567").substr(0, capacity - 1));
    EXPECT_EQ(buffer[length], L'\0');
    EXPECT_EQ(buffer[capacity], L'\x7777');
  }
}

}  // namespace
}  // namespace orv
