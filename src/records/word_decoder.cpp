#include "records/word_decoder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace orv::records {

DecodedField* WordDecoder::Append(const std::string& name, FieldType type) {
  const std::size_t width = FieldWidth(type);
  if (next_ + width > bytes_.size()) return nullptr;
  fields_.push_back({format_.offset + next_, name, ReadField(bytes_, next_, type), {}});
  next_ += width;
  return &fields_.back();
}

std::int64_t WordDecoder::Count(const std::string& name, FieldType type) {
  DecodedField* const field = Append(name, type);
  if (field == nullptr) return 0;
  field->text = fmt::to_string(field->value);
  return field->value;
}

bool WordDecoder::Switch(const std::string& name) {
  DecodedField* const field = Append(name, format_.type);
  if (field == nullptr) return false;
  field->text = field->value != 0 ? "on" : "off";
  return field->value != 0;
}

void WordDecoder::Coefficient(const std::string& name, std::int64_t shift) {
  DecodedField* const field = Append(name, format_.type);
  if (field == nullptr) return;
  // A driver may hold any word as a shift.
  const int exponent = static_cast<int>(std::clamp<std::int64_t>(shift, -1000, 1000)) -
                       static_cast<int>(8 * FieldWidth(format_.type));
  field->text = RealText(std::ldexp(static_cast<double>(field->value), exponent), format_.digits);
}

void WordDecoder::Cascade(const std::string& prefix, std::size_t sections) {
  for (std::size_t i = 0; i < sections; ++i) {
    const std::string section = fmt::format("{}section {} ", prefix, format_.first_section + i);
    const std::int64_t shift = Count(section + "shift");
    for (const char* coefficient : {"b0", "b1", "b2", "a1", "a2"})
      Coefficient(section + coefficient, shift);
  }
  Coefficient(prefix + "gain", Count(prefix + "gain shift"));
}

void WordDecoder::Resonators(const std::string& name) {
  for (const char* word : {" low-pass b0", " low-pass a1"}) Coefficient(name + word, 1);
  for (const char* resonator : {" resonator 1 ", " resonator 2 "})
    for (const char* word : {"b2", "a1", "a2"}) Coefficient(name + resonator + word, 2);
}

std::vector<DecodedField> WordDecoder::Finish(const std::string& rest, FieldType type) {
  while (next_ + FieldWidth(type) <= bytes_.size()) Count(rest, type);
  return std::move(fields_);
}

}  // namespace orv::records
