#include "platform/text.h"

#include <algorithm>
#include <boost/locale/utf.hpp>
#include <clocale>
#include <compare>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <iterator>

namespace orv {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Text is decoded here and not by this library, which skips the character after a broken sequence.
using Utf8 = boost::locale::utf::utf_traits<char>;
using Utf16 = boost::locale::utf::utf_traits<wchar_t, 2>;

constexpr bool IsLowSurrogate(char32_t unit) noexcept { return unit >= 0xDC00 && unit <= 0xDFFF; }
constexpr bool IsSurrogate(char32_t unit) noexcept { return unit >= 0xD800 && unit <= 0xDFFF; }

void AppendUnits(std::wstring& wide, char32_t code_point) {
  Utf16::encode(code_point, std::back_inserter(wide));
}

// Returns the code point at `at` and advances `at` past it. Half a surrogate pair is returned as it
// is.
char32_t NextCodePoint(std::wstring_view wide, std::size_t& at) noexcept {
  const auto unit = static_cast<char32_t>(wide[at++]);
  const auto next = static_cast<char32_t>(at < wide.size() ? wide[at] : L'\0');
  if (!IsSurrogate(unit) || IsLowSurrogate(unit) || !IsLowSurrogate(next)) return unit;
  ++at;
  return 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
}

// What may follow a lead byte: the number of bytes, and the range of the first of them, which
// excludes overlong forms, surrogates and numbers past U+10FFFF.
struct Utf8Lead {
  int trail = 0;  // 0: not a lead byte
  std::uint8_t low = 0x80;
  std::uint8_t high = 0xBF;
};

constexpr Utf8Lead LeadOf(std::uint8_t byte) noexcept {
  if (byte >= 0xC2 && byte <= 0xDF) return {1};
  if (byte == 0xE0) return {2, 0xA0, 0xBF};
  if (byte == 0xED) return {2, 0x80, 0x9F};
  if (byte >= 0xE1 && byte <= 0xEF) return {2};
  if (byte == 0xF0) return {3, 0x90, 0xBF};
  if (byte >= 0xF1 && byte <= 0xF3) return {3};
  if (byte == 0xF4) return {3, 0x80, 0x8F};
  return {};
}

// The same for UTF-8. The longest incomplete beginning of a character gives one replacement.
char32_t NextUtf8(std::string_view utf8, std::size_t& at) noexcept {
  const auto lead = static_cast<std::uint8_t>(utf8[at++]);
  if (lead < 0x80) return lead;
  Utf8Lead form = LeadOf(lead);
  if (form.trail == 0) return kReplacement;
  char32_t code_point = lead & (0x3FU >> form.trail);
  for (; form.trail > 0; --form.trail) {
    if (at == utf8.size()) return kReplacement;
    const auto byte = static_cast<std::uint8_t>(utf8[at]);
    if (byte < form.low || byte > form.high) return kReplacement;
    code_point = code_point << 6 | (byte & 0x3F);
    form.low = 0x80;
    form.high = 0xBF;
    ++at;
  }
  return code_point;
}

template <class Unit>
constexpr Unit Fold(Unit unit) noexcept {
  return unit >= Unit('A') && unit <= Unit('Z') ? static_cast<Unit>(unit + ('a' - 'A')) : unit;
}

// Compared as unsigned, so that bytes above 0x7F come after ASCII on every build.
inline std::uint32_t Ordinal(wchar_t unit) noexcept { return static_cast<std::uint32_t>(unit); }
inline std::uint32_t Ordinal(char byte) noexcept { return static_cast<std::uint8_t>(byte); }

template <class Unit>
bool Equals(std::basic_string_view<Unit> a, std::basic_string_view<Unit> b) noexcept {
  // Names of one family share long beginnings ("VQ3D-..."), so they differ sooner from the end.
  return a.size() == b.size() && std::equal(a.rbegin(), a.rend(), b.rbegin(), [](Unit x, Unit y) {
           return x == y || Fold(x) == Fold(y);
         });
}

// Appends the ASCII characters at the beginning of `text` and returns their number. Most texts have
// no others, and this is several times faster than one character at a time.
template <class From, class To>
std::size_t AppendAscii(std::basic_string_view<From> text, std::basic_string<To>& appended) {
  const auto end =
      std::find_if(text.begin(), text.end(), [](From unit) { return Ordinal(unit) >= 0x80; });
  const auto count = static_cast<std::size_t>(end - text.begin());
  const std::size_t size = appended.size();
  appended.resize(size + count);
  std::transform(text.begin(), end, appended.begin() + static_cast<std::ptrdiff_t>(size),
                 [](From unit) { return static_cast<To>(unit); });
  return count;
}

}  // namespace

bool InDefaultLocale() noexcept {
  const char* name = std::setlocale(LC_CTYPE, nullptr);
  return name == nullptr || std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0;
}

std::wstring Widen(std::string_view narrow) {
  narrow = narrow.substr(0, narrow.find('\0'));
  std::wstring wide;
  if (InDefaultLocale()) {
    wide.resize(narrow.size());
    std::transform(narrow.begin(), narrow.end(), wide.begin(),
                   [](char byte) { return static_cast<wchar_t>(Ordinal(byte)); });
    return wide;
  }
  std::mbstate_t state{};
  while (!narrow.empty()) {
    wchar_t character = 0;
    const std::size_t used = std::mbrtowc(&character, narrow.data(), narrow.size(), &state);
    if (used == 0 || used > narrow.size()) return {};
    AppendUnits(wide, static_cast<char32_t>(character));
    narrow.remove_prefix(used);
  }
  return wide;
}

std::string Narrow(std::wstring_view wide) {
  wide = wide.substr(0, wide.find(L'\0'));
  std::string narrow;
  if (InDefaultLocale()) {
    if (!std::ranges::any_of(wide, [](wchar_t unit) { return Ordinal(unit) > 0xFF; }))
      narrow.assign(wide.begin(), wide.end());
    return narrow;
  }
  char buffer[64];  // beyond any locale's MB_CUR_MAX
  std::mbstate_t state{};
  for (std::size_t at = 0; at < wide.size();) {
    if (Ordinal(wide[at]) > 0xFFFF) return {};
    const char32_t code_point = NextCodePoint(wide, at);
    if (code_point > static_cast<char32_t>(WCHAR_MAX)) return {};
    const std::size_t used = std::wcrtomb(buffer, static_cast<wchar_t>(code_point), &state);
    if (used > sizeof buffer) return {};
    narrow.append(buffer, used);
  }
  return narrow;
}

std::wstring WideFromUtf8(std::string_view utf8) {
  std::wstring wide;
  wide.reserve(utf8.size());
  for (std::size_t at = AppendAscii(utf8, wide); at < utf8.size();
       at += AppendAscii(utf8.substr(at), wide))
    AppendUnits(wide, NextUtf8(utf8, at));
  return wide;
}

std::string Utf8FromWide(std::wstring_view wide) {
  std::string utf8;
  utf8.reserve(wide.size());
  for (std::size_t at = AppendAscii(wide, utf8); at < wide.size();
       at += AppendAscii(wide.substr(at), utf8)) {
    const bool is_unit = Ordinal(wide[at]) <= 0xFFFF;
    const char32_t code_point = NextCodePoint(wide, at);
    Utf8::encode(is_unit && !IsSurrogate(code_point) ? code_point : kReplacement,
                 std::back_inserter(utf8));
  }
  return utf8;
}

wchar_t FoldAscii(wchar_t unit) noexcept { return Fold(unit); }

bool EqualsIgnoringCase(std::wstring_view a, std::wstring_view b) noexcept { return Equals(a, b); }
bool EqualsIgnoringCase(std::string_view a, std::string_view b) noexcept { return Equals(a, b); }
int CompareIgnoringCase(std::string_view a, std::string_view b) noexcept {
  constexpr std::size_t kStep = 8;  // long names differ late
  while (std::min(a.size(), b.size()) >= kStep && std::memcmp(a.data(), b.data(), kStep) == 0) {
    a.remove_prefix(kStep);
    b.remove_prefix(kStep);
  }
  const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(),
                                    [](char p, char q) { return p == q || Fold(p) == Fold(q); });
  if (x == a.end() || y == b.end()) return (x != a.end()) - (y != b.end());
  return Ordinal(Fold(*x)) < Ordinal(Fold(*y)) ? -1 : 1;
}

std::wstring ToUpperAscii(std::wstring_view text) {
  std::wstring upper(text);
  for (wchar_t& unit : upper)
    if (unit >= L'a' && unit <= L'z') unit = static_cast<wchar_t>(unit - (L'a' - L'A'));
  return upper;
}

std::wstring RemoveLastPathElement(std::wstring_view path) {
  const bool has_drive = path.size() >= 2 && path[1] == L':';
  const std::size_t root = has_drive ? 2 : 0;  // position of the root's backslash
  const std::size_t last = path.rfind(L'\\');
  if (last == std::wstring_view::npos) return std::wstring(path.substr(0, root));
  return std::wstring(path.substr(0, last == root ? last + 1 : last));
}

}  // namespace orv
