#include "cli/offline/image_json.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "platform/text.h"

namespace orv::cli {
namespace {

constexpr std::array kKindNames = {"long", "int",    "short", "float", "double",
                                   "bool", "narrow", "wide",  "bytes", "unsigned_bytes"};

// Unsigned integer as fixed-width digits, most significant first.
template <class Unsigned>
std::string BitsText(Unsigned bits) {
  char text[20];
  std::snprintf(text, sizeof text, "%0*llx", static_cast<int>(2 * sizeof bits),
                static_cast<unsigned long long>(bits));
  return text;
}

template <class Unsigned>
std::optional<Unsigned> BitsFromText(std::string_view digits) {
  Unsigned bits = 0;
  const char* end = digits.data() + digits.size();
  const auto [rest, error] = std::from_chars(digits.data(), end, bits, 16);
  if (digits.size() != 2 * sizeof bits || error != std::errc() || rest != end) return std::nullopt;
  return bits;
}

template <class Real, class Bits>
Json RealToJson(Real value) {
  if (std::isnan(value)) return "nan:" + BitsText(std::bit_cast<Bits>(value));
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  return static_cast<double>(value);
}

template <class Real, class Bits>
std::optional<Real> RealFromJson(const Json& json) {
  if (json.is_number()) {
    const double value = json.get<double>();
    // A double beyond the narrower kind would turn into an infinity.
    if (std::abs(value) > static_cast<double>(std::numeric_limits<Real>::max()))
      return std::nullopt;
    return static_cast<Real>(value);
  }
  if (!json.is_string()) return std::nullopt;
  const std::string text = json.get<std::string>();
  if (text == "inf") return std::numeric_limits<Real>::infinity();
  if (text == "-inf") return -std::numeric_limits<Real>::infinity();
  if (!text.starts_with("nan:")) return std::nullopt;
  const auto bits = BitsFromText<Bits>(std::string_view(text).substr(4));
  if (!bits || !std::isnan(std::bit_cast<Real>(*bits))) return std::nullopt;
  return std::bit_cast<Real>(*bits);
}

template <class Integer>
std::optional<Integer> IntegerFromJson(const Json& json) {
  if (!json.is_number_integer()) return std::nullopt;
  if (json.is_number_unsigned() &&
      json.get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<Integer>::max()))
    return std::nullopt;
  const std::int64_t value = json.get<std::int64_t>();
  if (value < std::numeric_limits<Integer>::min() || value > std::numeric_limits<Integer>::max())
    return std::nullopt;
  return static_cast<Integer>(value);
}

Json NarrowToJson(const std::string& text) {
  if (Utf8FromWide(WideFromUtf8(text)) == text) return text;
  return {{"units", HexText(ImageBytes(text.begin(), text.end()))}};
}

std::optional<std::string> NarrowFromJson(const Json& json) {
  if (json.is_string()) return json.get<std::string>();
  if (!json.is_object() || json.size() != 1 || !json.contains("units") ||
      !json["units"].is_string())
    return std::nullopt;
  const auto bytes = BytesFromHex(json["units"].get<std::string>());
  if (!bytes) return std::nullopt;
  return std::string(bytes->begin(), bytes->end());
}

Json WideToJson(const std::wstring& text) {
  const std::string utf8 = Utf8FromWide(text);
  if (WideFromUtf8(utf8) == text) return utf8;
  std::string units;
  for (const wchar_t unit : text) units += BitsText(static_cast<std::uint16_t>(unit));
  return {{"units", units}};
}

std::optional<std::wstring> WideFromJson(const Json& json) {
  if (json.is_string()) return WideFromUtf8(json.get<std::string>());
  const std::optional<std::string> bytes = NarrowFromJson(json);
  if (!bytes || bytes->size() % 2 != 0) return std::nullopt;
  std::wstring text;
  for (std::size_t i = 0; i < bytes->size(); i += 2)
    text += static_cast<wchar_t>((static_cast<unsigned char>((*bytes)[i]) << 8) |
                                 static_cast<unsigned char>((*bytes)[i + 1]));
  return text;
}

Json ValueToJson(const boost::any& value, PropertyKind kind) {
  switch (kind) {
    case PropertyKind::Long:
      return boost::any_cast<LongValue>(value).value;
    case PropertyKind::Int:
      return boost::any_cast<int>(value);
    case PropertyKind::Short:
      return boost::any_cast<short>(value);
    case PropertyKind::Float:
      return RealToJson<float, std::uint32_t>(boost::any_cast<float>(value));
    case PropertyKind::Double:
      return RealToJson<double, std::uint64_t>(boost::any_cast<double>(value));
    case PropertyKind::Bool:
      return boost::any_cast<bool>(value);
    case PropertyKind::NarrowText:
      return NarrowToJson(boost::any_cast<const std::string&>(value));
    case PropertyKind::WideText:
      return WideToJson(boost::any_cast<const std::wstring&>(value));
    case PropertyKind::SignedBytes: {
      const auto& bytes = boost::any_cast<const SignedBytes&>(value);
      return HexText(ImageBytes(bytes.begin(), bytes.end()));
    }
    case PropertyKind::UnsignedBytes:
      break;
  }
  return HexText(boost::any_cast<const UnsignedBytes&>(value));
}

template <class Value>
boost::any Held(const std::optional<Value>& value) {
  return value ? boost::any(*value) : boost::any();
}

boost::any BytesFromJson(const Json& json, bool is_signed) {
  const auto bytes = json.is_string() ? BytesFromHex(json.get<std::string>()) : std::nullopt;
  if (!bytes) return {};
  return is_signed ? boost::any(SignedBytes(bytes->begin(), bytes->end())) : boost::any(*bytes);
}

// Empty when the JSON value is none of the kind.
boost::any ValueFromJson(const Json& json, PropertyKind kind) {
  switch (kind) {
    case PropertyKind::Long: {
      const auto number = IntegerFromJson<std::int32_t>(json);
      return number ? boost::any(LongValue{*number}) : boost::any();
    }
    case PropertyKind::Int:
      return Held(IntegerFromJson<int>(json));
    case PropertyKind::Short:
      return Held(IntegerFromJson<short>(json));
    case PropertyKind::Float:
      return Held(RealFromJson<float, std::uint32_t>(json));
    case PropertyKind::Double:
      return Held(RealFromJson<double, std::uint64_t>(json));
    case PropertyKind::Bool:
      return json.is_boolean() ? boost::any(json.get<bool>()) : boost::any();
    case PropertyKind::NarrowText:
      return Held(NarrowFromJson(json));
    case PropertyKind::WideText:
      return Held(WideFromJson(json));
    case PropertyKind::SignedBytes:
      return BytesFromJson(json, true);
    case PropertyKind::UnsignedBytes:
      break;
  }
  return BytesFromJson(json, false);
}

std::optional<PropertyKind> KindNamed(const std::string& name) {
  for (std::size_t i = 0; i < kKindNames.size(); ++i)
    if (name == kKindNames[i]) return static_cast<PropertyKind>(i);
  return std::nullopt;
}

// Why the entry is refused; empty when it was added.
std::string AddEntry(const Json& json, ORVPropertyList& list) {
  if (!json.is_object() || !json.contains("name") || !json.contains("kind") ||
      !json.contains("value"))
    return "expected an object with name, kind and value";
  const std::optional<std::wstring> name = WideFromJson(json["name"]);
  if (!name) return "the name is no text";
  const auto kind =
      json["kind"].is_string() ? KindNamed(json["kind"].get<std::string>()) : std::nullopt;
  if (!kind) return "the kind is not known";
  boost::any value = ValueFromJson(json["value"], *kind);
  if (value.empty()) return std::string("the value is no ") + KindName(*kind);
  list.push_back({*name, std::move(value)});
  return {};
}

}  // namespace

const char* KindName(PropertyKind kind) { return kKindNames[static_cast<std::size_t>(kind)]; }

Json EntriesToJson(const ORVPropertyList& list) {
  Json array = Json::array();
  for (const ORVPropertyEntry& entry : list) {
    const std::optional<PropertyKind> kind = KindOf(entry.value);
    if (!kind) continue;  // no image holds such an entry
    Json json = {{"name", WideToJson(entry.name)}, {"kind", KindName(*kind)}};
    json["value"] = ValueToJson(entry.value, *kind);
    array.push_back(std::move(json));
  }
  return array;
}

std::optional<ORVPropertyList> EntriesFromJson(const Json& json, std::string& error) {
  if (!json.is_array()) {
    error = "expected a list of entries";
    return std::nullopt;
  }
  ORVPropertyList list;
  for (const Json& entry : json) {
    const std::string reason = AddEntry(entry, list);
    if (reason.empty()) continue;
    error = "entry " + std::to_string(list.size()) + ": " + reason;
    return std::nullopt;
  }
  return list;
}

std::string HexText(const ImageBytes& bytes) {
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) text += BitsText(byte);
  return text;
}

std::optional<ImageBytes> BytesFromHex(std::string_view text) {
  if (const std::size_t mark = text.find("hex:"); mark != std::string_view::npos)
    text.remove_prefix(mark + 4);
  ImageBytes bytes;
  std::string digits;
  for (const char c : text) {
    if (c == ' ' || c == ',' || c == '\\' || c == '\r' || c == '\n' || c == '\t') {
      if (!digits.empty()) return std::nullopt;
      continue;
    }
    digits += c;
    if (digits.size() < 2) continue;
    const auto byte = BitsFromText<std::uint8_t>(digits);
    if (!byte) return std::nullopt;
    bytes.push_back(*byte);
    digits.clear();
  }
  if (!digits.empty()) return std::nullopt;
  return bytes;
}

}  // namespace orv::cli
