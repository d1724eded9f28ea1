#include "cli/offline/image_json.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <boost/algorithm/hex.hpp>
#include <charconv>
#include <cmath>
#include <concepts>
#include <limits>
#include <utility>

#include "platform/text.h"

namespace orv::cli {
namespace {

template <class Real>
using BitsOf = std::conditional_t<sizeof(Real) == 4, std::uint32_t, std::uint64_t>;

// Two digits for each byte of the number, most significant first.
template <class Unsigned>
std::string BitsText(Unsigned bits) {
  return fmt::format("{:0{}x}", bits, 2 * sizeof bits);
}

Json UnitsJson(const std::string& digits) { return {{"units", digits}}; }

template <class Number>
Json Encode(Number number) {
  if constexpr (std::is_floating_point_v<Number>) {
    if (std::isnan(number)) return "nan:" + BitsText(std::bit_cast<BitsOf<Number>>(number));
    if (std::isinf(number)) return number < 0 ? "-inf" : "inf";
    return static_cast<double>(number);
  } else {
    return number;
  }
}
Json Encode(LongValue number) { return number.value; }
Json Encode(const UnsignedBytes& bytes) { return HexText(bytes); }
Json Encode(const SignedBytes& bytes) { return HexText({bytes.begin(), bytes.end()}); }
Json Encode(const std::string& text) {
  if (Utf8FromWide(WideFromUtf8(text)) == text) return text;
  return UnitsJson(HexText({text.begin(), text.end()}));
}
Json Encode(const std::wstring& text) {
  const std::string utf8 = Utf8FromWide(text);
  if (WideFromUtf8(utf8) == text) return utf8;
  std::string units;
  for (const wchar_t unit : text) units += BitsText(static_cast<std::uint16_t>(unit));
  return UnitsJson(units);
}

// These return false if the JSON value is not of the kind.
bool Decode(const Json& json, bool& value) {
  if (json.is_boolean()) value = json.get<bool>();
  return json.is_boolean();
}
template <std::signed_integral Integer>
bool Decode(const Json& json, Integer& number) {
  if (!json.is_number_integer()) return false;
  if (json.is_number_unsigned() ? !std::in_range<Integer>(json.get<std::uint64_t>())
                                : !std::in_range<Integer>(json.get<std::int64_t>()))
    return false;
  number = json.get<Integer>();
  return true;
}
bool Decode(const Json& json, LongValue& number) { return Decode(json, number.value); }

template <std::floating_point Real>
bool Decode(const Json& json, Real& number) {
  if (json.is_number()) {
    const double value = json.get<double>();
    number = static_cast<Real>(value);
    // A double beyond the narrower kind would turn into an infinity.
    return std::abs(value) <= static_cast<double>(std::numeric_limits<Real>::max());
  }
  const std::string text = json.is_string() ? json.get<std::string>() : "";
  if (text == "inf" || text == "-inf") {
    number = std::copysign(std::numeric_limits<Real>::infinity(), text == "inf" ? 1.0F : -1.0F);
    return true;
  }
  BitsOf<Real> bits = 0;
  constexpr std::string_view kMark = "nan:";
  const char* const end = text.data() + text.size();
  if (!text.starts_with(kMark) || text.size() != kMark.size() + 2 * sizeof bits ||
      std::from_chars(text.data() + kMark.size(), end, bits, 16).ptr != end)
    return false;
  number = std::bit_cast<Real>(bits);
  return std::isnan(number);
}

template <class Byte>
bool Decode(const Json& json, std::vector<Byte>& bytes) {
  const auto held = json.is_string() ? BytesFromHex(json.get<std::string>()) : std::nullopt;
  if (held) bytes.assign(held->begin(), held->end());
  return held.has_value();
}

bool Decode(const Json& json, std::string& text) {
  UnsignedBytes bytes;
  if (json.is_string()) {
    text = json.get<std::string>();
    return true;
  }
  if (!json.is_object() || json.size() != 1 || !json.contains("units")) return false;
  if (!Decode(json["units"], bytes)) return false;
  text.assign(bytes.begin(), bytes.end());
  return true;
}

bool Decode(const Json& json, std::wstring& text) {
  std::string bytes;
  if (!Decode(json, bytes) || (!json.is_string() && bytes.size() % 2 != 0)) return false;
  if (json.is_string()) {
    text = WideFromUtf8(bytes);
    return true;
  }
  for (std::size_t i = 0; i < bytes.size(); i += 2)
    text += static_cast<wchar_t>((static_cast<unsigned char>(bytes[i]) << 8) |
                                 static_cast<unsigned char>(bytes[i + 1]));
  return true;
}

struct NamedKind {
  const char* name;
  boost::any (*decode)(const Json& json);  // empty if the JSON value is not of the kind
};

template <class Value>
constexpr NamedKind Named(const char* name) {
  return {name, [](const Json& json) {
            Value value{};
            return Decode(json, value) ? boost::any(value) : boost::any();
          }};
}

// By PropertyKind.
constexpr std::array kKinds = {
    Named<LongValue>("long"),     Named<int>("int"),
    Named<short>("short"),        Named<float>("float"),
    Named<double>("double"),      Named<bool>("bool"),
    Named<std::string>("narrow"), Named<std::wstring>("wide"),
    Named<SignedBytes>("bytes"),  Named<UnsignedBytes>("unsigned_bytes")};

// Why the entry is refused; empty if it was added.
std::string AddEntry(const Json& json, ORVPropertyList& list) {
  if (!json.is_object() || !json.contains("name") || !json.contains("kind") ||
      !json.contains("value"))
    return "expected an object with name, kind and value";
  ORVPropertyEntry entry;
  if (!Decode(json["name"], entry.name)) return "the name is not a text";
  std::string named;
  const auto kind = Decode(json["kind"], named) ? std::ranges::find(kKinds, named, &NamedKind::name)
                                                : kKinds.end();
  if (kind == kKinds.end()) return "the kind is not known";
  entry.value = kind->decode(json["value"]);
  if (entry.value.empty()) return fmt::format("the value is not of the kind \"{}\"", kind->name);
  list.push_back(std::move(entry));
  return {};
}

}  // namespace

Json EntriesToJson(const ORVPropertyList& list) {
  Json array = Json::array();
  for (const ORVPropertyEntry& entry : list) {
    // No image holds an entry of another kind.
    VisitValue(entry.value, [&]<class Value>(const Value& value) {
      constexpr auto kKind = static_cast<std::size_t>(kKindOfType<Value>);
      array.push_back(
          {{"name", Encode(entry.name)}, {"kind", kKinds[kKind].name}, {"value", Encode(value)}});
    });
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
    error = fmt::format("entry {}: {}", list.size(), reason);
    return std::nullopt;
  }
  return list;
}

std::string HexText(const ImageBytes& bytes) {
  std::string text;
  boost::algorithm::hex_lower(bytes, std::back_inserter(text));
  return text;
}

std::optional<ImageBytes> BytesFromHex(std::string_view text) {
  if (const std::size_t mark = text.find("hex:"); mark != std::string_view::npos)
    text.remove_prefix(mark + 4);
  constexpr std::string_view kBetweenBytes = " ,\\\r\n\t";
  std::string digits;
  for (const char c : text) {
    if (kBetweenBytes.find(c) == std::string_view::npos) {
      digits += c;
    } else if (digits.size() % 2 != 0) {
      return std::nullopt;
    }
  }
  ImageBytes bytes;
  try {
    boost::algorithm::unhex(digits, std::back_inserter(bytes));
  } catch (const boost::algorithm::hex_decode_error&) {
    return std::nullopt;
  }
  return bytes;
}

}  // namespace orv::cli
