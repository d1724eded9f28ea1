// Any bytes as a property-set image: read in both manners, written again, merged into a set.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "properties/property_image.h"
#include "properties/property_set.h"

namespace {

using namespace orv;

void Require(bool condition) {
  if (!condition) std::abort();
}

// A NaN equals nothing, so numbers are compared by their bytes: through their own image.
ImageBytes ImageOf(const ORVPropertyEntry& entry) {
  ImageBytes image;
  EncodeImage({entry}, image);
  return image;
}

// What was read comes back from its image, but for texts and bytes that are empty.
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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> image(data, size);
  ORVPropertyList replaced, merged;
  const ImageDecoding decoding = DecodeImage(image, ImageReading::Replace, replaced);
  Require(decoding.complete == (decoding.fault == ImageFault::None));
  Require(DecodeImage(image, ImageReading::Merge, merged).complete);
  Require(merged.size() >= replaced.size());
  RequireRoundTrip(merged);

  const ImageBytes bytes(data, data + size);
  ORVPropertySetThreadsafe set;
  set.SetAllPropertiesBinary(bytes);
  set.MergePropertiesBinary(bytes, true, true);
  for (const ORVPropertyEntry& entry : merged) {
    std::wstring text;
    Require(set.GetProperty(entry.name.c_str(), text));
  }
  return 0;
}
