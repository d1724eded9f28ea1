#include "platform/wide_format.h"

#include <algorithm>
#include <charconv>
#include <cwchar>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/c_locale.h"

namespace orv {
namespace {

// Widths and precisions beyond any line mean nothing.
constexpr int kLargestCount = 1 << 20;
// Digits after the point that a number is given at most: 309 before it fit beside them.
constexpr int kLargestFloatPrecision = 100;
constexpr std::size_t kFloatRoom = 512;

constexpr std::wstring_view kTypes = L"diuxXcfgsSp";

class Output {
 public:
  Output(wchar_t* buffer, std::size_t capacity) noexcept : buffer_(buffer), room_(capacity - 1) {}

  void Put(wchar_t unit) noexcept {
    if (length_ < room_) buffer_[length_++] = unit;
  }
  void Put(std::wstring_view text) noexcept {
    for (const wchar_t unit : text) Put(unit);
  }
  void Fill(wchar_t unit, std::size_t count) noexcept {
    for (; count > 0 && length_ < room_; --count) Put(unit);
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

struct Conversion {
  bool left = false;
  bool plus = false;
  bool blank = false;
  bool alternate = false;
  bool zero = false;
  std::size_t width = 0;
  std::optional<std::size_t> precision;
  wchar_t type = 0;  // 0: the format ended first
};

class Arguments {
 public:
  Arguments(const FormatArgument* begin, const FormatArgument* end) noexcept
      : next_(begin), end_(end) {}
  const FormatArgument* Take() noexcept { return next_ == end_ ? nullptr : next_++; }

 private:
  const FormatArgument* next_;
  const FormatArgument* end_;
};

bool IsInteger(const FormatArgument& arg) noexcept {
  return arg.kind == FormatArgument::Kind::Signed || arg.kind == FormatArgument::Kind::Unsigned;
}

std::uint64_t AsUnsigned(const FormatArgument& arg) noexcept {
  return arg.bits == 4 ? static_cast<std::uint32_t>(arg.integer) : arg.integer;
}

std::int64_t AsSigned(const FormatArgument& arg) noexcept {
  return arg.bits == 4 ? static_cast<std::int32_t>(static_cast<std::uint32_t>(arg.integer))
                       : static_cast<std::int64_t>(arg.integer);
}

// A count in the format: digits, or an asterisk that takes an argument. Nothing when the asterisk
// finds no number.
std::optional<int> ReadCount(const wchar_t*& at, Arguments& args) noexcept {
  if (*at == L'*') {
    ++at;
    const FormatArgument* arg = args.Take();
    if (arg == nullptr || !IsInteger(*arg)) return std::nullopt;
    return static_cast<int>(
        std::clamp<std::int64_t>(AsSigned(*arg), -kLargestCount, kLargestCount));
  }
  int count = 0;
  for (; *at >= L'0' && *at <= L'9'; ++at)
    count = std::min(count * 10 + static_cast<int>(*at - L'0'), kLargestCount);
  return count;
}

void ReadFlags(const wchar_t*& at, Conversion& conversion) noexcept {
  for (;; ++at) {
    switch (*at) {
      case L'-':
        conversion.left = true;
        break;
      case L'+':
        conversion.plus = true;
        break;
      case L' ':
        conversion.blank = true;
        break;
      case L'#':
        conversion.alternate = true;
        break;
      case L'0':
        conversion.zero = true;
        break;
      default:
        return;
    }
  }
}

void SkipSizePrefix(const wchar_t*& at) noexcept {
  if (at[0] == L'I' && at[1] == L'6' && at[2] == L'4') {
    at += 3;
    return;
  }
  while (*at == L'h' || *at == L'l') ++at;
}

// Reads what follows the percent sign, up to and with the conversion letter. Nothing when a width
// or precision is missing its argument.
std::optional<Conversion> ReadConversion(const wchar_t*& at, Arguments& args) noexcept {
  Conversion conversion;
  ReadFlags(at, conversion);
  const std::optional<int> width = ReadCount(at, args);
  std::optional<int> precision;
  bool complete = width.has_value();
  if (*at == L'.') {
    ++at;
    precision = ReadCount(at, args);
    complete = complete && precision.has_value();
  }
  SkipSizePrefix(at);
  conversion.type = *at;
  if (*at != L'\0') ++at;
  if (!complete) return std::nullopt;

  conversion.left = conversion.left || *width < 0;
  conversion.width = static_cast<std::size_t>(*width < 0 ? -*width : *width);
  if (precision && *precision >= 0) conversion.precision = static_cast<std::size_t>(*precision);
  return conversion;
}

// Writes prefix (sign or "0x"), zeros and body in the field's width.
void PutField(Output& out, const Conversion& conversion, std::wstring_view prefix,
              std::size_t zeros, std::wstring_view body, bool zero_fill) noexcept {
  const std::size_t size = prefix.size() + zeros + body.size();
  const std::size_t padding = conversion.width > size ? conversion.width - size : 0;
  const bool fill_with_zeros = zero_fill && conversion.zero && !conversion.left;
  if (!conversion.left && !fill_with_zeros) out.Fill(L' ', padding);
  out.Put(prefix);
  out.Fill(L'0', zeros + (fill_with_zeros ? padding : 0));
  out.Put(body);
  if (conversion.left) out.Fill(L' ', padding);
}

std::wstring_view Sign(const Conversion& conversion, bool negative) noexcept {
  if (negative) return L"-";
  if (conversion.plus) return L"+";
  return conversion.blank ? L" " : L"";
}

void PutInteger(Output& out, const Conversion& conversion, const FormatArgument& arg) noexcept {
  const bool is_signed = conversion.type == L'd' || conversion.type == L'i';
  const bool is_hex = conversion.type == L'x' || conversion.type == L'X';
  const bool negative = is_signed && AsSigned(arg) < 0;
  std::uint64_t value = is_signed ? static_cast<std::uint64_t>(AsSigned(arg)) : AsUnsigned(arg);
  if (negative) value = 0 - value;

  std::wstring_view prefix = is_signed ? Sign(conversion, negative) : std::wstring_view();
  if (is_hex && conversion.alternate && value != 0)
    prefix = conversion.type == L'x' ? L"0x" : L"0X";
  wchar_t digits[20];
  std::size_t first = std::size(digits);
  const wchar_t* alphabet = conversion.type == L'X' ? L"0123456789ABCDEF" : L"0123456789abcdef";
  const unsigned base = is_hex ? 16 : 10;
  for (; value != 0; value /= base) digits[--first] = alphabet[value % base];

  const std::wstring_view body(digits + first, std::size(digits) - first);
  const std::size_t least = conversion.precision.value_or(1);
  PutField(out, conversion, prefix, least > body.size() ? least - body.size() : 0, body,
           !conversion.precision);
}

void PutFloat(Output& out, const Conversion& conversion, double value) noexcept {
  const auto style =
      conversion.type == L'f' ? std::chars_format::fixed : std::chars_format::general;
  const int precision = static_cast<int>(
      std::min<std::size_t>(conversion.precision.value_or(6), kLargestFloatPrecision));
  char text[kFloatRoom];
  const std::to_chars_result result =
      std::to_chars(text, text + kFloatRoom, value, style, precision);
  wchar_t wide[kFloatRoom];
  const std::size_t size = static_cast<std::size_t>(result.ptr - text);
  std::copy(text, text + size, wide);

  std::wstring_view body(wide, size);
  const bool negative = body.starts_with(L'-');
  if (negative) body.remove_prefix(1);
  const bool finite = body.front() >= L'0' && body.front() <= L'9';
  PutField(out, conversion, Sign(conversion, negative), 0, body, finite);
}

void PutPointer(Output& out, const Conversion& conversion, const void* address) noexcept {
  auto value = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(address));
  wchar_t digits[16];
  for (std::size_t i = std::size(digits); i-- > 0; value >>= 4)
    digits[i] = L"0123456789ABCDEF"[value & 0xF];
  PutField(out, conversion, {}, 0, {digits, std::size(digits)}, false);
}

void PutWideText(Output& out, const Conversion& conversion, const wchar_t* text) noexcept {
  if (text == nullptr) text = L"(null)";
  std::size_t length = 0;
  const std::size_t limit = conversion.precision.value_or(SIZE_MAX);
  while (length < limit && text[length] != L'\0') ++length;
  PutField(out, conversion, {}, 0, {text, length}, false);
}

// Narrow text one character at a time in the current locale, without memory. Bytes that do not
// convert stand for themselves, so that a diagnostic line shows them.
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

void PutNarrowText(Output& out, const Conversion& conversion, const char* text) noexcept {
  if (text == nullptr) return PutWideText(out, conversion, nullptr);
  const std::size_t limit = conversion.precision.value_or(SIZE_MAX);
  std::size_t length = 0;
  if (conversion.width > 0)
    for (NarrowReader reader(text); length < limit && reader.Next() != 0;) ++length;
  const std::size_t padding = conversion.width > length ? conversion.width - length : 0;

  if (!conversion.left) out.Fill(L' ', padding);
  NarrowReader reader(text);
  for (std::size_t count = 0; count < limit; ++count) {
    const wchar_t unit = reader.Next();
    if (unit == 0) break;
    out.Put(unit);
  }
  if (conversion.left) out.Fill(L' ', padding);
}

// False when the argument does not fit the conversion.
bool PutConverted(Output& out, const Conversion& conversion, const FormatArgument& arg) noexcept {
  using Kind = FormatArgument::Kind;
  switch (conversion.type) {
    case L'd':
    case L'i':
    case L'u':
    case L'x':
    case L'X':
      if (!IsInteger(arg)) return false;
      PutInteger(out, conversion, arg);
      return true;
    case L'c': {
      if (!IsInteger(arg)) return false;
      const auto unit = static_cast<wchar_t>(arg.integer & 0xFFFF);
      PutField(out, conversion, {}, 0, {&unit, 1}, false);
      return true;
    }
    case L'f':
    case L'g':
      if (arg.kind != Kind::Float) return false;
      PutFloat(out, conversion, arg.real);
      return true;
    case L's':
    case L'S':
      if (arg.kind != Kind::Narrow && arg.kind != Kind::Wide) return false;
      if (arg.kind == Kind::Narrow) {
        PutNarrowText(out, conversion, arg.narrow);
      } else {
        PutWideText(out, conversion, arg.wide);
      }
      return true;
    case L'p':
      if (arg.kind != Kind::Pointer) return false;
      PutPointer(out, conversion, arg.address);
      return true;
    default:
      return false;
  }
}

}  // namespace

std::size_t FormatWide(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                       std::initializer_list<FormatArgument> args) noexcept {
  Output out(buffer, capacity);
  Arguments arguments(args.begin(), args.end());
  for (const wchar_t* at = format; *at != L'\0';) {
    if (*at != L'%') {
      out.Put(*at++);
      continue;
    }
    const wchar_t* start = at++;
    const std::optional<Conversion> conversion = ReadConversion(at, arguments);
    if (conversion && conversion->type == L'%') {
      out.Put(L'%');
      continue;
    }
    const bool known = conversion && kTypes.find(conversion->type) != std::wstring_view::npos;
    const FormatArgument* arg = known ? arguments.Take() : nullptr;
    if (arg == nullptr || !PutConverted(out, *conversion, *arg))
      out.Put({start, static_cast<std::size_t>(at - start)});
  }
  return out.Finish();
}

}  // namespace orv
