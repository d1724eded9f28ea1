#include "platform/wide_format.h"

#include <fmt/format.h>

#include <charconv>
#include <cwchar>
#include <string_view>
#include <utility>

#include "platform/text.h"

namespace orv {
namespace {

class Output {
 public:
  Output(wchar_t* buffer, std::size_t capacity) noexcept : buffer_(buffer), room_(capacity - 1) {}

  void Put(wchar_t unit) noexcept {
    if (length_ < room_) buffer_[length_++] = unit;
  }
  template <class Text>
  void Put(const Text& text) noexcept {
    for (const auto unit : text) Put(static_cast<wchar_t>(unit));
  }
  std::size_t Finish() noexcept {
    buffer_[length_] = L'\0';
    return length_;
  }

 private:
  wchar_t* buffer_;
  std::size_t room_;
  std::size_t length_ = 0;
};

// Narrow text one character at a time in the current locale, without memory. Bytes that do not
// convert are kept, so that a diagnostic line shows them.
class NarrowReader {
 public:
  explicit NarrowReader(const char* text) noexcept : rest_(text), bytewise_(InDefaultLocale()) {}

  // The next unit; 0 at the end.
  wchar_t Next() noexcept {
    if (pending_ != 0) return std::exchange(pending_, L'\0');
    if (rest_.empty()) return 0;
    wchar_t character = 0;
    std::size_t used = static_cast<std::size_t>(-1);
    if (!bytewise_) used = std::mbrtowc(&character, rest_.data(), rest_.size(), &state_);
    if (used > rest_.size()) {
      state_ = {};
      used = 1;
      character = static_cast<wchar_t>(static_cast<unsigned char>(rest_.front()));
    }
    rest_.remove_prefix(used);
    return Split(static_cast<char32_t>(character));
  }

 private:
  wchar_t Split(char32_t character) noexcept {
    if (character < 0x10000) return static_cast<wchar_t>(character);
    pending_ = static_cast<wchar_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
    return static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10));
  }

  std::string_view rest_;
  bool bytewise_;
  wchar_t pending_ = 0;
  std::mbstate_t state_{};
};

void PutNumber(Output& out, auto value, auto... format) noexcept {
  char digits[320];  // 309 before the point of the largest number, the point and six after it
  const std::to_chars_result result = std::to_chars(digits, std::end(digits), value, format...);
  out.Put(std::string_view(digits, result.ptr));
}

void PutPointer(Output& out, const void* address) noexcept {
  char digits[16];
  fmt::format_to_n(digits, sizeof digits, "{:016X}", reinterpret_cast<std::uintptr_t>(address));
  out.Put(std::string_view(digits, sizeof digits));
}

void PutText(Output& out, const FormatArgument& arg) noexcept {
  if (arg.kind == FormatArgument::Kind::Wide)
    return out.Put(std::wstring_view(arg.wide == nullptr ? L"(null)" : arg.wide));
  NarrowReader reader(arg.narrow == nullptr ? "(null)" : arg.narrow);
  while (const wchar_t unit = reader.Next()) out.Put(unit);
}

// False if the argument does not fit the conversion.
bool PutConverted(Output& out, wchar_t type, const FormatArgument& arg) noexcept {
  using Kind = FormatArgument::Kind;
  const bool is_integer = arg.kind == Kind::Integer;
  const bool is_text = arg.kind == Kind::Narrow || arg.kind == Kind::Wide;
  if (type == L'd' && is_integer) {
    PutNumber(out, arg.bytes == 4 ? static_cast<std::int32_t>(arg.integer)
                                  : static_cast<std::int64_t>(arg.integer));
  } else if (type == L'x' && is_integer) {
    PutNumber(out, arg.bytes == 4 ? static_cast<std::uint32_t>(arg.integer) : arg.integer, 16);
  } else if (type == L'f' && arg.kind == Kind::Float) {
    PutNumber(out, arg.real, std::chars_format::fixed, 6);
  } else if ((type == L's' || type == L'S') && is_text) {
    PutText(out, arg);
  } else if (type == L'p' && arg.kind == Kind::Pointer) {
    PutPointer(out, arg.address);
  } else {
    return false;
  }
  return true;
}

}  // namespace

std::size_t FormatWide(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                       std::initializer_list<FormatArgument> args) noexcept {
  Output out(buffer, capacity);
  const FormatArgument* arg = args.begin();
  while (*format != L'\0') {
    if (*format != L'%') {
      out.Put(*format++);
      continue;
    }
    const wchar_t* const start = format++;
    while (*format == L'h' || *format == L'l') ++format;
    if (*format == L'%') {
      out.Put(*format++);
    } else if (arg != args.end() && PutConverted(out, *format, *arg)) {
      ++arg;
      ++format;
    } else {
      out.Put(std::wstring_view(start, format));
    }
  }
  return out.Finish();
}

}  // namespace orv
