// The binary image of a property list: the form in which the registry holds one and in which the
// processing object reads it. A pure codec: bytes to list and back.
//
// An image is a run of records without header, count, padding or checksum. A record, little-endian:
//   0       4  name length N in bytes (16-bit units)
//   4       4  tag length T, 1 when written
//   8       4  data length D
//   12      N  name, no terminator
//   12+N    T  tag: one byte, a PropertyKind
//   12+N+T  D  value
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "properties/property_value.h"

namespace orv {

using ImageBytes = std::vector<std::uint8_t>;

inline constexpr std::uint32_t kImageNameLimit = 2048;  // bytes, inclusive
inline constexpr std::uint32_t kImageTagLimit = 1024;

// Replaces `image` by the image of the list, in order. The result is false if an entry was left
// out: one without a known kind, with empty data, or with a name that no reader accepts (empty, or
// longer than kImageNameLimit).
bool EncodeImage(const ORVPropertyList& list, ImageBytes& image);

// The image of one list, kept from one use to the next: when few values changed, their records
// alone are encoded again. The owner of the list reports every change of it, in any order. Keeps
// nothing before the first update.
class KeptImage {
 public:
  // The entry at `index` has another value, or was appended to the list.
  void EntryChanged(std::size_t index) noexcept;
  // Anything else happened to the list: the next update encodes all of it.
  void Forget() noexcept;
  // Makes `bytes` the image of the list; returns false if an entry was left out.
  bool Update(const ORVPropertyList& list);
  const ImageBytes& bytes() const noexcept { return bytes_; }

 private:
  static constexpr std::size_t kMostChanges = 8;

  void EncodeAll(const ORVPropertyList& list);
  void EncodeAgain(const ORVPropertyList& list, std::size_t index);

  ImageBytes bytes_;
  std::vector<std::size_t> ends_;  // of the entries' records; one left out ends where it starts
  std::array<std::size_t, kMostChanges> changed_{};
  std::size_t changes_ = 0;  // entries in changed_ whose records are to be encoded again
  std::size_t left_out_ = 0;
};

enum class ImageReading {
  Replace,  // stops with false at a record without data, with a broken header or with an unknown
            // text tag
  Merge,    // stops at a record without data or with a broken header, passes over unknown tags;
            // always true
};

// Why decoding ended before the image did.
enum class ImageFault { None, NoData, BrokenHeader, UnknownTextTag, CutShort };

struct ImageDecoding {
  bool complete = true;  // the result of the reading in the chosen manner
  ImageFault fault = ImageFault::None;
  std::size_t fault_offset = 0;  // offset of the record that ended it
  std::size_t unknown_tags = 0;  // records passed over for their tag
};

// Appends the entries of the image to the list, duplicates and all. Never reads outside the image:
// a record whose fields run past its end, or whose data is too short for its kind, ends the
// decoding.
ImageDecoding DecodeImage(std::span<const std::uint8_t> image, ImageReading reading,
                          ORVPropertyList& list);

}  // namespace orv
