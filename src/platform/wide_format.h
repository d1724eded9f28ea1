// Formatting for diagnostic lines, the same on every build.
//
// Conversions: %d decimal, %x hexadecimal, %f six digits after the point, %s wide text, %S and %hs
// narrow text in the current locale, %p 16 upper-case hexadecimal digits, %%. Size prefixes (h, l)
// are skipped: each argument knows its own type. There are no flags, widths and precisions. A
// conversion that is unknown or has no fitting argument is written as it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

namespace orv {

class FormatArgument {
 public:
  enum class Kind { Signed, Unsigned, Float, Narrow, Wide, Pointer };

  FormatArgument(int value) noexcept
      : kind(Kind::Signed), bits(4), integer(static_cast<std::uint64_t>(value)) {}
  FormatArgument(long value) noexcept
      : kind(Kind::Signed), bits(sizeof value), integer(static_cast<std::uint64_t>(value)) {}
  FormatArgument(long long value) noexcept
      : kind(Kind::Signed), bits(8), integer(static_cast<std::uint64_t>(value)) {}
  FormatArgument(unsigned value) noexcept : kind(Kind::Unsigned), bits(4), integer(value) {}
  FormatArgument(unsigned long value) noexcept
      : kind(Kind::Unsigned), bits(sizeof value), integer(value) {}
  FormatArgument(unsigned long long value) noexcept
      : kind(Kind::Unsigned), bits(8), integer(value) {}
  FormatArgument(double value) noexcept : kind(Kind::Float), real(value) {}
  FormatArgument(const char* text) noexcept : kind(Kind::Narrow), narrow(text) {}
  FormatArgument(const wchar_t* text) noexcept : kind(Kind::Wide), wide(text) {}
  FormatArgument(const std::string& text) noexcept : FormatArgument(text.c_str()) {}
  FormatArgument(const std::wstring& text) noexcept : FormatArgument(text.c_str()) {}
  FormatArgument(const void* pointer) noexcept : kind(Kind::Pointer), address(pointer) {}

  Kind kind;
  unsigned bits = 0;  // size of an integer argument in bytes
  union {
    std::uint64_t integer;
    double real;
    const char* narrow;
    const wchar_t* wide;
    const void* address;
  };
};

// Writes the formatted text and a terminator into `buffer` (room for `capacity` >= 1 characters),
// cutting what does not fit. Returns the number of characters before the terminator. Never
// allocates.
std::size_t FormatWide(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                       std::initializer_list<FormatArgument> args) noexcept;

}  // namespace orv
