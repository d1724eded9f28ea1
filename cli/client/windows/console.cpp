#include "cli/client/windows/console.h"

#include <algorithm>
#include <boost/locale/utf.hpp>

#include "orv_apo/com.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

constexpr std::size_t kMuchText = 8192;    // bytes
constexpr std::size_t kOneWriting = 8192;  // units; consoles take less than 64 KB at a time

// Size of the text without an incomplete last character.
std::size_t WholeCharacters(std::string_view utf8) {
  using Utf8 = boost::locale::utf::utf_traits<char>;
  std::size_t last = utf8.size();
  while (last > 0 && utf8.size() - last < 3 && Utf8::is_trail(utf8[last - 1])) --last;
  if (last == 0) return utf8.size();
  --last;
  const int missing = Utf8::trail_length(utf8[last]) + 1 - static_cast<int>(utf8.size() - last);
  return missing > 0 ? last : utf8.size();
}

bool IsLeadSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

}  // namespace

Utf8Buffer::~Utf8Buffer() {
  try {
    HandOn(pending_.size());
  } catch (...) {
    return;  // without memory the rest is lost
  }
}

bool Utf8Buffer::HandOn(std::size_t size) {
  if (size == 0) return true;
  const std::wstring wide = WideFromUtf8(std::string_view(pending_).substr(0, size));
  pending_.erase(0, size);
  return sink_(wide);
}

Utf8Buffer::int_type Utf8Buffer::overflow(int_type unit) {
  if (traits_type::eq_int_type(unit, traits_type::eof())) return traits_type::not_eof(unit);
  const char byte = traits_type::to_char_type(unit);
  return xsputn(&byte, 1) == 1 ? unit : traits_type::eof();
}

std::streamsize Utf8Buffer::xsputn(const char* text, std::streamsize size) {
  pending_.append(text, static_cast<std::size_t>(size));
  return pending_.size() < kMuchText || sync() == 0 ? size : 0;
}

int Utf8Buffer::sync() { return HandOn(WholeCharacters(pending_)) ? 0 : -1; }

bool IsConsole(void* handle) {
  DWORD mode = 0;
  return GetConsoleMode(handle, &mode) != FALSE;
}

bool WriteConsoleText(void* console, std::wstring_view text) {
  while (!text.empty()) {
    std::size_t size = std::min(text.size(), kOneWriting);
    if (size < text.size() && IsLeadSurrogate(text[size - 1])) --size;
    DWORD written = 0;
    if (!WriteConsoleW(console, text.data(), static_cast<DWORD>(size), &written, nullptr) ||
        written == 0)
      return false;
    text.remove_prefix(written);
  }
  return true;
}

bool IsDiagnosticLine(std::wstring_view line) {
  const std::size_t file = line.find_first_not_of(L"abcdefghijklmnopqrstuvwxyz0123456789_.");
  if (file == 0 || file == std::wstring_view::npos || line[file] != L'(') return false;
  const std::size_t number = line.find_first_not_of(L"0123456789", file + 1);
  return number != std::wstring_view::npos && number > file + 1 &&
         line.substr(number).starts_with(L") | ");
}

}  // namespace orv::cli
