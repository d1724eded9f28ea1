// Formatting for diagnostic lines, the same on every build.
//
// Conversions: %d decimal, %x hexadecimal, %f six digits after the point, %s wide text, %S and %hs
// narrow text in the current locale, %p 16 upper-case hexadecimal digits, %%. Size prefixes (h, l)
// are skipped: each argument has its own type. Flags, widths and precisions are not supported. A
// conversion that is unknown or does not fit its argument is written as it is.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

namespace orv {

class FormatArgument {
 public:
  enum class Kind { Integer, Float, Narrow, Wide, Pointer };

  template <std::integral Integer>
  FormatArgument(Integer value) noexcept
      : kind(Kind::Integer), bytes(sizeof value), integer(static_cast<std::uint64_t>(value)) {}
  FormatArgument(double value) noexcept : kind(Kind::Float), real(value) {}
  FormatArgument(const char* text) noexcept : kind(Kind::Narrow), narrow(text) {}
  FormatArgument(const wchar_t* text) noexcept : kind(Kind::Wide), wide(text) {}
  FormatArgument(const std::string& text) noexcept : FormatArgument(text.c_str()) {}
  FormatArgument(const std::wstring& text) noexcept : FormatArgument(text.c_str()) {}
  FormatArgument(const void* pointer) noexcept : kind(Kind::Pointer), address(pointer) {}

  Kind kind;
  std::size_t bytes = 0;  // size of an integer
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
