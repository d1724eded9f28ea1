// Little-endian words and identifiers in the bytes of a request.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <vector>

#include "orv_apo/com.h"

namespace orv {

// Words are read and written in the byte order of the driver, which is that of every host here.
template <class Word>
Word ReadWire(std::span<const std::byte> bytes, std::size_t offset) noexcept {
  static_assert(std::is_trivially_copyable_v<Word>);
  Word word{};
  if (offset + sizeof word <= bytes.size()) std::memcpy(&word, bytes.data() + offset, sizeof word);
  return word;
}

template <class Word>
void AppendWire(std::vector<std::byte>& bytes, const Word& word) {
  static_assert(std::is_trivially_copyable_v<Word>);
  const std::size_t end = bytes.size();
  bytes.resize(end + sizeof word);
  std::memcpy(bytes.data() + end, &word, sizeof word);
}

template <class Word>
void WriteWire(std::span<std::byte> bytes, std::size_t offset, const Word& word) noexcept {
  static_assert(std::is_trivially_copyable_v<Word>);
  std::memcpy(bytes.data() + offset, &word, sizeof word);
}

}  // namespace orv
