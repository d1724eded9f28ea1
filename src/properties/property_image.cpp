#include "properties/property_image.h"

#include <bit>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

namespace orv {
namespace {

static_assert(std::endian::native == std::endian::little,
              "numbers and text units are copied as they are in memory");
static_assert(sizeof(bool) == 1 && sizeof(LongValue) == 4);

constexpr std::size_t kHeaderSize = 12;
constexpr std::uint32_t kWrittenTagSize = 1;
constexpr std::size_t kUnitSize = 2;
constexpr std::size_t kUsualRecord = 80;
using KindCount = boost::mp11::mp_size<PropertyTypes>;

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

// Writes the entry's record to the place that `room_of` returns for the record's size. A record
// that must be left out has the size 0 and gets no room.
template <class RoomOf>
std::size_t PutRecord(const ORVPropertyEntry& entry, RoomOf room_of) {
  std::size_t size = 0;
  VisitValue(entry.value, [&]<class T>(const T& value) {
    const std::size_t name_size = entry.name.size() * kUnitSize;
    const std::size_t data_size = DataSize(value);
    constexpr std::size_t kLimit = std::numeric_limits<std::uint32_t>::max();
    if (data_size == 0 || data_size > kLimit || name_size == 0 || name_size > kImageNameLimit)
      return;
    size = kHeaderSize + name_size + kWrittenTagSize + data_size;
    const std::uint32_t sizes[] = {static_cast<std::uint32_t>(name_size), kWrittenTagSize,
                                   static_cast<std::uint32_t>(data_size)};
    static_assert(sizeof sizes == kHeaderSize);
    std::uint8_t* out = PutBytes(room_of(size), sizes, sizeof sizes);
    out = PutUnits(out, entry.name);
    *out++ = static_cast<std::uint8_t>(kKindOfType<T>);
    PutData(out, value);
  });
  return size;
}

// The record's size, 0 when it was left out.
std::size_t AppendRecord(const ORVPropertyEntry& entry, ImageBytes& image) {
  return PutRecord(entry, [&image](std::size_t size) {
    const std::size_t end = image.size();
    image.resize(end + size);
    return image.data() + end;
  });
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

// Returns false if the data is too short for the type.
template <class T>
bool ReadAs(std::span<const std::uint8_t> data, boost::any& value) {
  if constexpr (std::is_same_v<T, std::string>) {
    value = ReadNarrow(data);
  } else if constexpr (std::is_same_v<T, std::wstring>) {
    value = ReadUnits(data);
  } else if constexpr (std::is_same_v<T, bool>) {
    value = data.front() != 0;
  } else if constexpr (requires(T bytes) { bytes.size(); }) {
    value = T(data.begin(), data.end());
  } else {
    T number;
    if (data.size() < sizeof number) return false;
    std::memcpy(&number, data.data(), sizeof number);
    value = number;
  }
  return true;
}

// Appends what the record holds; a name that is empty once cut yields nothing.
ImageFault TakeRecord(const Record& record, ORVPropertyList& list) {
  boost::any value;
  const bool read = boost::mp11::mp_with_index<KindCount>(record.tag.front(), [&](auto kind) {
    return ReadAs<boost::mp11::mp_at<PropertyTypes, decltype(kind)>>(record.data, value);
  });
  if (!read) return ImageFault::CutShort;
  std::wstring name = ReadUnits(record.name);
  if (!name.empty()) list.push_back({std::move(name), std::move(value)});
  return ImageFault::None;
}

}  // namespace

bool EncodeImage(const ORVPropertyList& list, ImageBytes& image) {
  image.clear();
  image.reserve(list.size() * kUsualRecord);
  bool complete = true;
  for (const ORVPropertyEntry& entry : list) complete = AppendRecord(entry, image) != 0 && complete;
  return complete;
}

void KeptImage::EntryChanged(std::size_t index) noexcept {
  if (index >= ends_.size()) return;
  if (changes_ == changed_.size())
    Forget();
  else
    changed_[changes_++] = index;
}

void KeptImage::Forget() noexcept {
  bytes_.clear();
  ends_.clear();
  changes_ = 0;
  left_out_ = 0;
}

bool KeptImage::Update(const ORVPropertyList& list) {
  if (ends_.size() != list.size()) {
    EncodeAll(list);
  } else {
    for (; changes_ != 0; --changes_) EncodeAgain(list, changed_[changes_ - 1]);
  }
  return left_out_ == 0;
}

void KeptImage::EncodeAll(const ORVPropertyList& list) {
  Forget();
  std::vector<std::size_t> ends;
  ends.reserve(list.size());
  for (const ORVPropertyEntry& entry : list) {
    left_out_ += AppendRecord(entry, bytes_) == 0;
    ends.push_back(bytes_.size());
  }
  ends_ = std::move(ends);
}

void KeptImage::EncodeAgain(const ORVPropertyList& list, std::size_t index) {
  const std::size_t start = index == 0 ? 0 : ends_[index - 1];
  const bool was_left_out = ends_[index] == start;
  const auto make_room = [&](std::size_t size) {
    const auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(ends_[index]);
    const std::size_t old_size = ends_[index] - start;
    if (size == old_size) return bytes_.data() + start;
    if (size > old_size)
      bytes_.insert(end, size - old_size, 0);
    else
      bytes_.erase(end - static_cast<std::ptrdiff_t>(old_size - size), end);
    for (std::size_t i = index; i < ends_.size(); ++i) ends_[i] = ends_[i] + size - old_size;
    return bytes_.data() + start;
  };
  const bool left_out = PutRecord(list[index], make_room) == 0;
  if (left_out) make_room(0);
  left_out_ = left_out_ + left_out - was_left_out;
}

ImageDecoding DecodeImage(std::span<const std::uint8_t> image, ImageReading reading,
                          ORVPropertyList& list) {
  list.reserve(list.size() + CountRecords(image));
  ImageDecoding result;
  std::size_t at = 0;
  // A single byte after a record is padding of the registry value, never a record.
  while (at == 0 ? !image.empty() : image.size() - at > 1) {
    Record record;
    ImageFault fault = ReadRecord(image.subspan(at), record);
    if (fault == ImageFault::None) {
      const bool text_tag = record.tag.size() > 1;
      const bool known = !text_tag && record.tag.front() < KindCount::value;
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
