// The words of filter coefficients as text.
#pragma once

#include "records/fields.h"

namespace orv::records {

struct WordFormat {
  FieldType type = FieldType::I32;  // of shifts and coefficients
  int digits = 7;                   // of a coefficient's text
  std::size_t first_section = 1;    // the number in its name
  std::size_t offset = 0;           // of the first word in its record
};

// Decodes words one after the other, up to the end of the bytes. A coefficient has as many bits
// before the point as its shift.
class WordDecoder {
 public:
  explicit WordDecoder(std::span<const std::byte> bytes, const WordFormat& format = {})
      : bytes_(bytes), format_(format) {}

  std::size_t words_left() const { return (bytes_.size() - next_) / FieldWidth(format_.type); }

  // A whole number; 0 after the end.
  std::int64_t Count(const std::string& name) { return Count(name, format_.type); }
  std::int64_t Count(const std::string& name, FieldType type);
  // Whether the word is not zero.
  bool Switch(const std::string& name);
  void Coefficient(const std::string& name, std::int64_t shift);
  // Sections of a shift and five coefficients, then the shift and the gain of all.
  void Cascade(const std::string& prefix, std::size_t sections);
  // The low-pass and the two resonators of a loudspeaker size.
  void Resonators(const std::string& name);

  // All fields; the words that are left have the name `rest`.
  std::vector<DecodedField> Finish(const std::string& rest, FieldType type);

 private:
  // Adds the next number, without its text. Null after the end.
  DecodedField* Append(const std::string& name, FieldType type);

  std::span<const std::byte> bytes_;
  WordFormat format_;
  std::size_t next_ = 0;
  std::vector<DecodedField> fields_;
};

}  // namespace orv::records
