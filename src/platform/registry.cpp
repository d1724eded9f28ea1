#include "platform/registry.h"

namespace orv {

RegStatus ReadValue(RegistryKey& key, const std::wstring& name, std::uint32_t& type,
                    std::vector<std::uint8_t>& bytes) {
  // Gives up on a value that grows each time it is read.
  constexpr int kAttempts = 16;
  RegStatus status = kRegMoreData;
  for (int attempt = 0; attempt < kAttempts && status == kRegMoreData; ++attempt) {
    std::uint32_t read_type = kRegNone;
    std::uint32_t size = 0;
    status = key.QueryValue(name, &read_type, nullptr, &size);
    if (status != kRegOk) continue;
    std::vector<std::uint8_t> read(size);
    if (size != 0) status = key.QueryValue(name, &read_type, read.data(), &size);
    if (status != kRegOk) continue;
    if (size < read.size()) read.resize(size);
    type = read_type;
    bytes = std::move(read);
  }
  return status;
}

std::optional<std::wstring> RegistryText(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return std::wstring();
  if (size % 2 != 0 || bytes[size - 2] != 0 || bytes[size - 1] != 0) return std::nullopt;
  std::wstring text;
  text.reserve(size / 2 - 1);
  for (std::size_t at = 0; at < size; at += 2) {
    const unsigned unit = bytes[at] | (unsigned{bytes[at + 1]} << 8);
    if (unit == 0) break;
    text.push_back(static_cast<wchar_t>(unit));
  }
  return text;
}

std::vector<std::uint8_t> RegistryTextBytes(std::wstring_view text) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(2 * text.size() + 2);
  for (const wchar_t unit : text) {
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>((unit >> 8) & 0xFF));
  }
  bytes.insert(bytes.end(), 2, 0);
  return bytes;
}

}  // namespace orv
