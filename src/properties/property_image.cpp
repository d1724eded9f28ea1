#include "properties/property_image.h"

#include <bit>
#include <cstring>
#include <limits>
#include <type_traits>

#include "properties/property_visit.h"

namespace orv {
namespace {

static_assert(std::endian::native == std::endian::little,
              "numbers and text units are copied as they lie in memory");
static_assert(sizeof(bool) == 1 && sizeof(LongValue) == 4);

constexpr std::size_t kHeaderSize = 12;
constexpr std::size_t kWrittenTagSize = 1;
constexpr std::size_t kUnitSize = 2;
constexpr auto kLastTag = static_cast<std::uint8_t>(PropertyKind::UnsignedBytes);

// ---- writing

template <class T>
std::size_t DataSize(const T& value) {
  if constexpr (std::is_same_v<T, std::wstring>)
    return value.size() * kUnitSize;
  else if constexpr (requires { value.size(); })
    return value.size();
  else
    return sizeof value;
}

// Room that the entry takes in the image; 0 when it has to be left out.
std::size_t RecordSize(const ORVPropertyEntry& entry) {
  std::size_t data_size = 0;
  VisitValue(entry.value, [&](const auto& value) { data_size = DataSize(value); });
  const std::size_t name_size = entry.name.size() * kUnitSize;
  constexpr std::size_t kLimit = std::numeric_limits<std::uint32_t>::max();
  if (data_size == 0 || data_size > kLimit || name_size > kLimit) return 0;
  return kHeaderSize + name_size + kWrittenTagSize + data_size;
}

std::uint8_t* PutBytes(std::uint8_t* out, const void* bytes, std::size_t size) {
  if (size != 0) std::memcpy(out, bytes, size);
  return out + size;
}

std::uint8_t* PutUnits(std::uint8_t* out, const std::wstring& text) {
  if constexpr (sizeof(wchar_t) == kUnitSize) {
    return PutBytes(out, text.data(), text.size() * kUnitSize);
  } else {
    for (const wchar_t element : text) {
      const auto unit = static_cast<std::uint16_t>(static_cast<std::uint32_t>(element));
      std::memcpy(out, &unit, kUnitSize);
      out += kUnitSize;
    }
    return out;
  }
}

template <class T>
std::uint8_t* PutData(std::uint8_t* out, const T& value) {
  if constexpr (std::is_same_v<T, std::wstring>)
    return PutUnits(out, value);
  else if constexpr (requires { value.size(); })
    return PutBytes(out, value.data(), value.size());
  else
    return PutBytes(out, &value, sizeof value);
}

std::uint8_t* PutRecord(std::uint8_t* out, const ORVPropertyEntry& entry) {
  VisitValue(entry.value, [&]<class T>(const T& value) {
    const std::uint32_t sizes[] = {static_cast<std::uint32_t>(entry.name.size() * kUnitSize),
                                   static_cast<std::uint32_t>(kWrittenTagSize),
                                   static_cast<std::uint32_t>(DataSize(value))};
    static_assert(sizeof sizes == kHeaderSize);
    out = PutBytes(out, sizes, sizeof sizes);
    out = PutUnits(out, entry.name);
    *out++ = static_cast<std::uint8_t>(KindOfType<T>::value);
    out = PutData(out, value);
  });
  return out;
}

// ---- reading

struct Record {
  std::span<const std::uint8_t> name;
  std::span<const std::uint8_t> tag;
  std::span<const std::uint8_t> data;
  std::size_t size = 0;
};

// The record at the start of `image`.
ImageFault ReadRecord(std::span<const std::uint8_t> image, Record& record) {
  std::uint32_t sizes[3];
  if (image.size() < sizeof sizes) return ImageFault::CutShort;
  std::memcpy(sizes, image.data(), sizeof sizes);
  const auto [name_size, tag_size, data_size] = sizes;
  if (data_size == 0) return ImageFault::NoData;
  if (name_size == 0 || tag_size == 0 || name_size > kImageNameLimit || tag_size > kImageTagLimit)
    return ImageFault::BrokenHeader;
  const std::size_t before_data = sizeof sizes + name_size + tag_size;
  if (image.size() < before_data || image.size() - before_data < data_size)
    return ImageFault::CutShort;
  record.name = image.subspan(sizeof sizes, name_size);
  record.tag = image.subspan(sizeof sizes + name_size, tag_size);
  record.data = image.subspan(before_data, data_size);
  record.size = before_data + data_size;
  return ImageFault::None;
}

std::size_t CountRecords(std::span<const std::uint8_t> image) {
  std::size_t count = 0;
  Record record;
  while (ReadRecord(image, record) == ImageFault::None) {
    image = image.subspan(record.size);
    ++count;
  }
  return count;
}

// Both kinds of text end at the first terminator, or with their bytes.
std::wstring ReadUnits(std::span<const std::uint8_t> bytes) {
  const std::size_t size = bytes.size() / kUnitSize;
  std::wstring text(size, L'\0');
  const std::uint8_t* const in = bytes.data();
  std::uint32_t terminators = 0;
  for (std::size_t i = 0; i < size; ++i) {
    std::uint16_t unit;
    std::memcpy(&unit, in + i * kUnitSize, kUnitSize);
    text[i] = static_cast<wchar_t>(unit);
    terminators += unit == 0;
  }
  if (terminators != 0) text.resize(text.find(L'\0'));
  return text;
}

std::string ReadNarrow(std::span<const std::uint8_t> bytes) {
  const void* end = std::memchr(bytes.data(), 0, bytes.size());
  const std::size_t size =
      end == nullptr ? bytes.size() : static_cast<const std::uint8_t*>(end) - bytes.data();
  return std::string(reinterpret_cast<const char*>(bytes.data()), size);
}

template <class Number>
bool ReadNumber(std::span<const std::uint8_t> bytes, boost::any& value) {
  if (bytes.size() < sizeof(Number)) return false;
  Number number;
  std::memcpy(&number, bytes.data(), sizeof number);
  value = number;
  return true;
}

// False when the data is too short for the kind.
bool ReadData(PropertyKind kind, std::span<const std::uint8_t> data, boost::any& value) {
  switch (kind) {
    case PropertyKind::Long:
      return ReadNumber<LongValue>(data, value);
    case PropertyKind::Int:
      return ReadNumber<int>(data, value);
    case PropertyKind::Short:
      return ReadNumber<short>(data, value);
    case PropertyKind::Float:
      return ReadNumber<float>(data, value);
    case PropertyKind::Double:
      return ReadNumber<double>(data, value);
    case PropertyKind::Bool:
      value = data.front() != 0;
      return true;
    case PropertyKind::NarrowText:
      value = ReadNarrow(data);
      return true;
    case PropertyKind::WideText:
      value = ReadUnits(data);
      return true;
    case PropertyKind::SignedBytes:
      value = SignedBytes(data.begin(), data.end());
      return true;
    case PropertyKind::UnsignedBytes:
      value = UnsignedBytes(data.begin(), data.end());
      return true;
  }
  return false;
}

// Appends what the record holds; a name that is empty once cut yields nothing.
ImageFault TakeRecord(const Record& record, ORVPropertyList& list) {
  boost::any value;
  if (!ReadData(static_cast<PropertyKind>(record.tag.front()), record.data, value))
    return ImageFault::CutShort;
  std::wstring name = ReadUnits(record.name);
  if (!name.empty()) list.push_back({std::move(name), std::move(value)});
  return ImageFault::None;
}

}  // namespace

bool EncodeImage(const ORVPropertyList& list, ImageBytes& image) {
  std::size_t size = 0;
  bool complete = true;
  for (const ORVPropertyEntry& entry : list) {
    const std::size_t record_size = RecordSize(entry);
    size += record_size;
    complete = complete && record_size != 0;
  }
  image.clear();
  image.resize(size);
  std::uint8_t* out = image.data();
  for (const ORVPropertyEntry& entry : list)
    if (complete || RecordSize(entry) != 0) out = PutRecord(out, entry);
  return complete;
}

ImageDecoding DecodeImage(std::span<const std::uint8_t> image, ImageReading reading,
                          ORVPropertyList& list) {
  list.reserve(list.size() + CountRecords(image));
  ImageDecoding result;
  std::size_t at = 0;
  // A single byte behind a record is padding of the registry value, never a record.
  while (at == 0 ? !image.empty() : image.size() - at > 1) {
    Record record;
    ImageFault fault = ReadRecord(image.subspan(at), record);
    if (fault == ImageFault::None) {
      const bool text_tag = record.tag.size() > 1;
      const bool known = !text_tag && record.tag.front() <= kLastTag;
      if (known)
        fault = TakeRecord(record, list);
      else if (text_tag && reading == ImageReading::Replace)
        fault = ImageFault::UnknownTextTag;
      else
        ++result.unknown_tags;
    }
    if (fault != ImageFault::None) {
      result.fault = fault;
      result.fault_offset = at;
      result.complete = reading == ImageReading::Merge;
      break;
    }
    at += record.size;
  }
  return result;
}

}  // namespace orv
