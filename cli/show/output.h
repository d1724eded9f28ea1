// Where results go: standard output, as one JSON value or as text.
#pragma once

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "cli/show/table.h"

namespace orv::cli {

using Json = nlohmann::ordered_json;

namespace ansi {
inline constexpr char kBold[] = "\x1b[1m";
inline constexpr char kDim[] = "\x1b[2m";
inline constexpr char kGood[] = "\x1b[32m";
inline constexpr char kWarning[] = "\x1b[33m";
inline constexpr char kBad[] = "\x1b[31m";
inline constexpr char kAccent[] = "\x1b[36m";
inline constexpr char kReset[] = "\x1b[0m";
}  // namespace ansi

// "1 block", "2 blocks"; `several` is for nouns that take more than an "s".
std::string Counted(std::size_t count, const std::string& one, const std::string& several = {});

class Output {
 public:
  Output(std::ostream& results, std::ostream& notices) : results_(results), notices_(notices) {}

  void UseJson(bool json) noexcept { json_ = json; }
  void UseColour(bool colour) noexcept { colour_ = colour; }
  // Lines and tables are made to fit terminals of so many columns, for results and notices; 0, the
  // default, leaves them as wide as they are.
  void UseColumns(std::size_t results, std::size_t notices) noexcept {
    columns_ = results;
    notice_columns_ = notices;
  }
  bool json() const noexcept { return json_; }
  bool colour() const noexcept { return colour_; }

  // The command's one JSON value.
  void Value(const Json& value);
  // One JSON value on a line of its own, flushed at once.
  void JsonLine(const Json& value);
  void Line(const std::string& text);
  // The command's whole result: the value with --json, else the line or the table.
  void Result(const Json& value, const std::string& line);
  void Result(const Json& value, const Table& table);
  void Show(const Table& table, std::size_t indent = 0);
  void Raw(const std::string& bytes);
  // A line on standard error, for the user; scripts may ignore it. Flushed at once.
  void Notice(const std::string& text);

  std::string Painted(const std::string& text, const char* colour) const;

 private:
  std::ostream& results_;
  std::ostream& notices_;
  bool json_ = false;
  bool colour_ = false;
  std::size_t columns_ = 0;
  std::size_t notice_columns_ = 0;
};

}  // namespace orv::cli
