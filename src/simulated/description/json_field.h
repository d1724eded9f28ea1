// Values of a machine's files with their place in words, so that an error can name the value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/located_json.h"

namespace orv {

// A value of the file with its place in words: "endpoints[0].state". Refusals throw a FileError,
// which ReadJson catches.
class JsonField {
 public:
  using Kind = LocatedJson::Kind;
  // An enumerator or a number, and its name in the file.
  template <class Value>
  struct Named {
    std::string_view name;
    Value value;
  };

  JsonField(const LocatedJson& value, std::string path) : value_(value), path_(std::move(path)) {}

  [[noreturn]] void Refuse(const std::string& reason) const { RefuseAt(value_.line, reason); }
  [[noreturn]] void RefuseAt(int line, const std::string& reason) const;

  Kind kind() const noexcept { return value_.kind; }
  const LocatedJson& value() const noexcept { return value_; }
  const std::vector<LocatedJson::Member>& members() const noexcept { return value_.members; }

  // Refuses a value that is not an object, unknown names and names that occur twice.
  void ExpectObject(const std::vector<std::string_view>& names) const;
  void ExpectDistinctNames() const;

  static std::string UnknownName(const std::string& what, const std::string& name,
                                 const std::vector<std::string_view>& names);

  std::optional<JsonField> Find(const std::string& name) const;
  JsonField Need(const std::string& name) const;
  std::vector<JsonField> Items() const;

  bool Boolean() const;
  const std::string& Text() const;
  std::wstring WideText() const;
  // A number that fits an unsigned 32-bit word.
  std::uint32_t Number(
      const std::string& expected = "expected a number from 0 to 4294967295") const;
  std::uint32_t NumberWithin(std::uint32_t least, std::uint32_t most) const;
  std::uint32_t NumberUpTo(std::uint32_t most) const { return NumberWithin(0, most); }
  std::uint8_t Byte() const { return static_cast<std::uint8_t>(NumberUpTo(0xFF)); }
  // A number, whole or not, within these bounds.
  double Real(double least, double most, const std::string& expected) const;
  // A status: any 32-bit number, or its bits as text.
  std::int32_t Status() const;
  // A call's number; nullopt for "always".
  std::optional<std::uint32_t> Nth() const;
  // Pairs of hexadecimal digits, with or without blanks.
  std::vector<std::uint8_t> Hex() const;
  // "0x80070005"
  static bool ParseHexWord(std::string_view text, std::uint32_t& number);
  // Digits of a base and nothing else.
  static bool ParseDigits(std::string_view text, std::uint32_t& number, int base = 10);

  // One of the named values, by name or by number.
  template <class Value, std::size_t Count>
  Value Choice(const Named<Value> (&choices)[Count], const std::string& what) const {
    std::vector<Named<std::uint32_t>> numbers;
    for (const auto& choice : choices)
      numbers.push_back({choice.name, static_cast<std::uint32_t>(choice.value)});
    return static_cast<Value>(ChosenNumber(numbers, what));
  }

 private:
  std::uint32_t ChosenNumber(const std::vector<Named<std::uint32_t>>& choices,
                             const std::string& what) const;

  const LocatedJson& value_;
  std::string path_;
};

// Returns read(the text as a field at `path`). Returns nullopt, with line and reason in `error`, if
// the text is not JSON or `read` refuses it.
template <class Read>
auto ReadJson(std::string_view text, std::string path, FileError& error, Read&& read)
    -> std::optional<decltype(read(std::declval<const JsonField&>()))> {
  const auto content = ParseLocatedJson(text, error);
  if (!content) return std::nullopt;
  try {
    return read(JsonField(*content, std::move(path)));
  } catch (FileError& refusal) {
    error.line = refusal.line;
    error.reason = std::move(refusal.reason);
    return std::nullopt;
  }
}

}  // namespace orv
