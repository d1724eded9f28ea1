#include "platform/located_json.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>

namespace orv {
namespace {

constexpr std::size_t kDeepest = 64;  // levels of nesting

// The part of the text that the parser has read.
struct Progress {
  int line = 1;
  std::size_t taken = 0;  // characters
  char last = '\0';
};

// Walks the text and keeps count of its lines.
class CountingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  CountingIterator(const char* position, Progress* progress) noexcept
      : position_(position), progress_(progress) {}
  reference operator*() const noexcept { return *position_; }
  CountingIterator& operator++() noexcept {
    progress_->last = *position_++;
    ++progress_->taken;
    if (progress_->last == '\n') ++progress_->line;
    return *this;
  }
  bool operator==(const CountingIterator& other) const noexcept {
    return position_ == other.position_;
  }
  bool operator!=(const CountingIterator& other) const noexcept { return !(*this == other); }

 private:
  const char* position_;
  Progress* progress_;
};

class TreeBuilder {
 public:
  using Kind = LocatedJson::Kind;

  TreeBuilder(std::string_view text, const Progress& progress, FileError& error)
      : text_(text), progress_(progress), error_(error) {}

  bool null() { return Add(Kind::Null, progress_.line) != nullptr; }
  bool boolean(bool value) {
    Add(Kind::Boolean, progress_.line)->boolean = value;
    return true;
  }
  bool number_integer(std::int64_t value) {
    LocatedJson* number = Add(Kind::Integer, NumberLine());
    number->integer = value;
    number->real = static_cast<double>(value);
    return true;
  }
  bool number_unsigned(std::uint64_t value) {
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
      return number_float(static_cast<double>(value), {});
    return number_integer(static_cast<std::int64_t>(value));
  }
  bool number_float(double value, const std::string&) {
    Add(Kind::Real, NumberLine())->real = value;
    return true;
  }
  bool string(std::string& value) {
    Add(Kind::Text, progress_.line)->text = std::move(value);
    return true;
  }
  bool binary(std::vector<std::uint8_t>&) { return false; }  // not in text
  bool start_object(std::size_t) { return Open(Kind::Object); }
  bool start_array(std::size_t) { return Open(Kind::Array); }
  bool end_object() { return Close(); }
  bool end_array() { return Close(); }
  bool key(std::string& name) {
    open_.back()->members.push_back({std::move(name), progress_.line, {}});
    return true;
  }
  bool parse_error(std::size_t position, const std::string&, const nlohmann::json::exception&) {
    const std::string_view before = text_.substr(0, position == 0 ? 0 : position - 1);
    error_.line = 1 + static_cast<int>(std::count(before.begin(), before.end(), '\n'));
    const std::size_t line_break = before.rfind('\n') + 1;  // npos + 1 is 0
    error_.reason = position > text_.size() ? "this is not valid JSON: it ends too early"
                                            : fmt::format("this is not valid JSON near column {}",
                                                          before.size() - line_break + 1);
    return false;
  }

  LocatedJson& root() noexcept { return root_; }

 private:
  // The end of a number is only known from the character that follows it.
  int NumberLine() const noexcept { return progress_.line - (progress_.last == '\n' ? 1 : 0); }

  LocatedJson* Add(Kind kind, int line) {
    LocatedJson* added = &root_;
    if (!open_.empty()) {
      LocatedJson& parent = *open_.back();
      added =
          parent.kind == Kind::Object ? &parent.members.back().value : &parent.items.emplace_back();
    }
    added->kind = kind;
    added->line = line;
    return added;
  }
  bool Open(Kind kind) {
    if (open_.size() == kDeepest) {
      error_.line = progress_.line;
      error_.reason = fmt::format("nested more than {} levels deep", kDeepest);
      return false;
    }
    open_.push_back(Add(kind, progress_.line));
    open_.back()->begin = progress_.taken - 1;
    return true;
  }
  bool Close() {
    open_.back()->end = progress_.taken;
    open_.pop_back();
    return true;
  }

  std::string_view text_;
  const Progress& progress_;
  FileError& error_;
  LocatedJson root_;
  // The innermost last. Elements stay where they are while something below them is open.
  std::vector<LocatedJson*> open_;
};

}  // namespace

std::optional<LocatedJson> ParseLocatedJson(std::string_view text, FileError& error) {
  Progress progress;
  TreeBuilder builder(text, progress, error);
  const CountingIterator begin(text.data(), &progress);
  const CountingIterator end(text.data() + text.size(), &progress);
  constexpr bool kWholeText = true;
  constexpr bool kComments = true;
  if (!nlohmann::json::sax_parse(begin, end, &builder, nlohmann::json::input_format_t::json,
                                 kWholeText, kComments))
    return std::nullopt;
  return std::move(builder.root());
}

}  // namespace orv
