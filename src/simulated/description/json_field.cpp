#include "simulated/description/json_field.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/hex.hpp>
#include <charconv>

#include "platform/nearest_name.h"
#include "platform/text.h"

namespace orv {

void JsonField::RefuseAt(int line, const std::string& reason) const {
  throw FileError{{}, line, path_.empty() ? reason : path_ + ": " + reason};
}

void JsonField::ExpectObject(const std::vector<std::string_view>& names) const {
  if (kind() != Kind::Object) Refuse("expected an object in braces");
  for (const auto& member : value_.members) {
    if (std::ranges::find(names, member.name) == names.end())
      RefuseAt(member.line, UnknownName("key", member.name, names));
  }
  ExpectDistinctNames();
}

void JsonField::ExpectDistinctNames() const {
  for (auto member = value_.members.begin(); member != value_.members.end(); ++member) {
    if (std::ranges::find(value_.members.begin(), member, member->name,
                          &LocatedJson::Member::name) != member)
      RefuseAt(member->line, fmt::format("the key \"{}\" comes twice", member->name));
  }
}

std::string JsonField::UnknownName(const std::string& what, const std::string& name,
                                   const std::vector<std::string_view>& names) {
  const std::string_view nearest = NearestName(name, names);
  std::string reason = fmt::format("there is no {} \"{}\"", what, name);
  return nearest.empty() ? reason : fmt::format("{}; the nearest is \"{}\"", reason, nearest);
}

std::optional<JsonField> JsonField::Find(const std::string& name) const {
  for (const auto& member : value_.members) {
    if (member.name == name)
      return JsonField(member.value, path_.empty() ? name : path_ + "." + name);
  }
  return std::nullopt;
}

JsonField JsonField::Need(const std::string& name) const {
  auto field = Find(name);
  if (!field) Refuse(fmt::format("the key \"{}\" is missing", name));
  return *field;
}

std::vector<JsonField> JsonField::Items() const {
  if (kind() != Kind::Array) Refuse("expected a list in square brackets");
  std::vector<JsonField> items;
  for (std::size_t i = 0; i < value_.items.size(); ++i)
    items.emplace_back(value_.items[i], fmt::format("{}[{}]", path_, i));
  return items;
}

bool JsonField::Boolean() const {
  if (kind() != Kind::Boolean) Refuse("expected true or false");
  return value_.boolean;
}

const std::string& JsonField::Text() const {
  if (kind() != Kind::Text) Refuse("expected text in quotation marks");
  return value_.text;
}

std::wstring JsonField::WideText() const { return WideFromUtf8(Text()); }

std::uint32_t JsonField::Number(const std::string& expected) const {
  if (kind() != Kind::Integer || value_.integer < 0 || value_.integer > 0xFFFFFFFF)
    Refuse(expected);
  return static_cast<std::uint32_t>(value_.integer);
}

std::uint32_t JsonField::NumberWithin(std::uint32_t least, std::uint32_t most) const {
  const std::string expected = fmt::format("expected a number from {} to {}", least, most);
  const std::uint32_t number = Number(expected);
  if (number < least || number > most) Refuse(expected);
  return number;
}

double JsonField::Real(double least, double most, const std::string& expected) const {
  const bool number = kind() == Kind::Integer || kind() == Kind::Real;
  if (!number || !(value_.real >= least && value_.real <= most)) Refuse(expected);
  return value_.real;
}

std::int32_t JsonField::Status() const {
  const char* const kExpected = "expected a 32-bit number or text like \"0x80070005\"";
  if (kind() == Kind::Integer) {
    if (value_.integer < INT32_MIN || value_.integer > UINT32_MAX) Refuse(kExpected);
    return static_cast<std::int32_t>(value_.integer);
  }
  std::uint32_t number = 0;
  if (kind() != Kind::Text || !ParseHexWord(value_.text, number)) Refuse(kExpected);
  return static_cast<std::int32_t>(number);
}

std::optional<std::uint32_t> JsonField::Nth() const {
  const char* const kExpected = "expected a call's number from 1 or \"always\"";
  if (kind() == Kind::Text && value_.text == "always") return std::nullopt;
  const std::uint32_t nth = Number(kExpected);
  if (nth == 0) Refuse(kExpected);
  return nth;
}

std::vector<std::uint8_t> JsonField::Hex() const {
  std::string digits = Text();
  std::erase(digits, ' ');
  std::vector<std::uint8_t> bytes;
  try {
    boost::algorithm::unhex(digits, std::back_inserter(bytes));
  } catch (const boost::algorithm::hex_decode_error&) {
    Refuse("expected pairs of hexadecimal digits");
  }
  return bytes;
}

bool JsonField::ParseHexWord(std::string_view text, std::uint32_t& number) {
  const bool marked = text.starts_with("0x") || text.starts_with("0X");
  return marked && ParseDigits(text.substr(2), number, 16);
}

bool JsonField::ParseDigits(std::string_view text, std::uint32_t& number, int base) {
  const char* end = text.data() + text.size();
  const auto [stop, failed] = std::from_chars(text.data(), end, number, base);
  return failed == std::errc{} && stop == end;
}

std::uint32_t JsonField::ChosenNumber(const std::vector<Named<std::uint32_t>>& choices,
                                      const std::string& what) const {
  if (kind() == Kind::Integer) {
    const std::uint32_t number = Number();
    for (const auto& choice : choices) {
      if (choice.value == number) return number;
    }
    Refuse(fmt::format("there is no {} {}", what, number));
  }
  if (kind() != Kind::Text) Refuse(fmt::format("expected a number or a {}'s name", what));
  std::vector<std::string_view> names;
  for (const auto& choice : choices) {
    if (EqualsIgnoringCase(choice.name, value_.text)) return choice.value;
    names.push_back(choice.name);
  }
  Refuse(UnknownName(what, value_.text, names));
}

}  // namespace orv
