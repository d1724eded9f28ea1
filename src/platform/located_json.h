// JSON (comments allowed) with the line of each value, so that an error can be reported with its
// line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_error.h"

namespace orv {

struct LocatedJson {
  enum class Kind { Null, Boolean, Integer, Real, Text, Array, Object };
  struct Member;

  Kind kind = Kind::Null;
  int line = 0;
  bool boolean = false;
  std::int64_t integer = 0;
  double real = 0;   // value of an integer too
  std::string text;  // UTF-8
  std::vector<LocatedJson> items;
  std::vector<Member> members;  // in their order, names may repeat
  // Position of an array or object in the text: its opening bracket, and after the closing one.
  std::size_t begin = 0;
  std::size_t end = 0;
};

struct LocatedJson::Member {
  std::string name;
  int line = 0;
  LocatedJson value;
};

// Returns nullopt, with the line and the reason in `error`, if the text is not valid JSON.
std::optional<LocatedJson> ParseLocatedJson(std::string_view text, FileError& error);

}  // namespace orv
