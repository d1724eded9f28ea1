// Any bytes as a property-set image: read in both ways, written again, merged into a set.

#include "fuzzer.h"
#include "properties/property_image.h"
#include "properties/property_set.h"

namespace orv::fuzz {
namespace {

// A NaN equals nothing, so numbers are compared by their bytes: through their own image.
ImageBytes ImageOf(const ORVPropertyEntry& entry) {
  ImageBytes image;
  EncodeImage({entry}, image);
  return image;
}

// A list is read back from its image, except for empty texts and bytes.
void RequireRoundTrip(const ORVPropertyList& list) {
  ImageBytes image;
  const bool complete = EncodeImage(list, image);
  ORVPropertyList back;
  Require(DecodeImage(image, ImageReading::Replace, back).complete);
  Require(complete == (back.size() == list.size()));
  auto entry = back.begin();
  for (const ORVPropertyEntry& written : list) {
    const ImageBytes bytes = ImageOf(written);
    if (bytes.empty()) continue;
    Require(entry != back.end() && entry->name == written.name && ImageOf(*entry) == bytes);
    ++entry;
  }
  Require(entry == back.end());
}

}  // namespace

void Run(std::span<const std::uint8_t> bytes) {
  ORVPropertyList replaced, merged;
  const ImageDecoding decoding = DecodeImage(bytes, ImageReading::Replace, replaced);
  Require(decoding.complete == (decoding.fault == ImageFault::None));
  Require(DecodeImage(bytes, ImageReading::Merge, merged).complete);
  Require(merged.size() >= replaced.size());
  RequireRoundTrip(merged);

  const ImageBytes image(bytes.begin(), bytes.end());
  ORVPropertySetThreadsafe set;
  set.SetAllPropertiesBinary(image);
  set.MergePropertiesBinary(image, true, true);
  for (const ORVPropertyEntry& entry : merged) {
    std::wstring text;
    Require(set.GetProperty(entry.name.c_str(), text));
  }
}

}  // namespace orv::fuzz
