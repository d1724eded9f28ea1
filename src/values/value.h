// One control value: a narrow name and one held value, with conversions that never throw.
#pragma once

#include <boost/any.hpp>
#include <cstdint>
#include <string>
#include <string_view>

#include "properties/property_value.h"
#include "values/overridable.h"

namespace orv {

// Converts a held LongValue, int, float or std::string; wide text is narrowed when it is set. Any
// other type is held and copied, but not converted. A conversion that fails gives empty text, -1 or
// -1.0.
class ORVQVTValue : public Overridable {
 public:
  ORVQVTValue();  // "Unnamed", long 0
  ORVQVTValue(std::string name, boost::any held);
  ORVQVTValue(std::string name, std::int32_t value);  // long kind

  const std::string& GetName() const noexcept { return name_; }
  void SetName(std::string name) { name_ = std::move(name); }
  std::wstring GetWName() const;
  // What follows the first ':'; the whole name without one.
  std::string GetBaseName() const;

  void SetValue(const char* text);
  void SetValue(const std::string& text);
  void SetValue(const wchar_t* text);
  void SetValue(const std::wstring& text);
  void SetValue(std::int32_t value);  // long kind
  void SetValue(const boost::any& held);
  const boost::any& GetHeld() const noexcept { return held_; }

  std::string ToString() const;
  std::wstring ToWString() const;
  // "Enabled" is 1, "Disabled" 0; text with a '.' must be a whole number (or smaller than 1);
  // floats are truncated.
  std::int32_t ToLong() const;
  float ToFloat() const;

  bool Equals(const ORVQVTValue& other) const;  // same name and same text form
  bool EqualsText(const char* text) const;

 private:
  std::string name_;
  boost::any held_;
};

}  // namespace orv
