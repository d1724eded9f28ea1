#include "cli/show/output.h"

namespace orv::cli {
namespace {

std::string Dump(const Json& value, int indent) {
  return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string Counted(std::size_t count, const std::string& one, const std::string& several) {
  if (count == 1) return "1 " + one;
  return fmt::format("{} {}", count, several.empty() ? one + "s" : several);
}

void Output::Value(const Json& value) { results_ << Dump(value, 2) << "\n"; }

void Output::JsonLine(const Json& value) { results_ << Dump(value, -1) << std::endl; }

void Output::Line(const std::string& text) { results_ << Folded(text, columns_) << std::endl; }

void Output::Result(const Json& value, const std::string& line) {
  json_ ? Value(value) : Line(line);
}

void Output::Result(const Json& value, const Table& table) { json_ ? Value(value) : Show(table); }

void Output::Show(const Table& table, std::size_t indent) {
  results_ << table.Text(colour_, indent, columns_);
}

void Output::Raw(const std::string& bytes) {
  results_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void Output::Notice(const std::string& text) {
  // Earlier results stay above the notice if both streams go to one place.
  results_.flush();
  notices_ << Folded(text, notice_columns_) << std::endl;
}

std::string Output::Painted(const std::string& text, const char* colour) const {
  return colour_ ? colour + text + ansi::kReset : text;
}

}  // namespace orv::cli
