#include "values/value.h"

#include <boost/lexical_cast.hpp>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <limits>
#include <utility>

#include "platform/text.h"

namespace orv {
namespace {

constexpr std::int32_t kNoInteger = -1;
constexpr float kNoFloat = -1.0F;

// 2 to the power of 31.
constexpr float kIntegerEnd = 2147483648.0F;

boost::any Narrowed(boost::any held) {
  if (const auto* wide = boost::any_cast<std::wstring>(&held)) return Narrow(*wide);
  return held;
}

std::int32_t IntegerFromText(const std::string& text) {
  if (text == "Enabled") return 1;
  if (text == "Disabled") return 0;
  std::int32_t number = 0;
  if (text.find('.') == std::string::npos)
    return boost::conversion::try_lexical_convert(text, number) ? number : kNoInteger;
  float real = 0;
  if (!boost::conversion::try_lexical_convert(text, real)) return kNoInteger;
  if (!(real > -kIntegerEnd && real < kIntegerEnd)) return kNoInteger;  // a NaN neither
  return boost::conversion::try_lexical_convert(real, number) ? number : kNoInteger;
}

std::int32_t Truncated(float real) {
  const bool in_range = real >= -kIntegerEnd && real < kIntegerEnd;
  return in_range ? static_cast<std::int32_t>(real) : std::numeric_limits<std::int32_t>::min();
}

}  // namespace

ORVQVTValue::ORVQVTValue() : ORVQVTValue("Unnamed", 0) {}

ORVQVTValue::ORVQVTValue(std::string name, boost::any held)
    : name_(std::move(name)), held_(Narrowed(std::move(held))) {}

ORVQVTValue::ORVQVTValue(std::string name, std::int32_t value)
    : name_(std::move(name)), held_(LongValue{value}) {}

std::wstring ORVQVTValue::GetWName() const { return Widen(name_); }

std::string ORVQVTValue::GetBaseName() const {
  const std::size_t colon = name_.find(':');
  return colon == std::string::npos ? name_ : name_.substr(colon + 1);
}

void ORVQVTValue::SetValue(const char* text) { held_ = std::string(text == nullptr ? "" : text); }

void ORVQVTValue::SetValue(const std::string& text) { held_ = text; }

void ORVQVTValue::SetValue(const wchar_t* text) {
  held_ = Narrow(text == nullptr ? std::wstring_view() : text);
}

void ORVQVTValue::SetValue(const std::wstring& text) { held_ = Narrow(text); }

void ORVQVTValue::SetValue(std::int32_t value) { held_ = LongValue{value}; }

void ORVQVTValue::SetValue(const boost::any& held) { held_ = Narrowed(held); }

std::string ORVQVTValue::ToString() const {
  if (const auto* text = boost::any_cast<std::string>(&held_)) return *text;
  if (const auto* number = boost::any_cast<LongValue>(&held_))
    return boost::lexical_cast<std::string>(number->value);
  if (const auto* number = boost::any_cast<int>(&held_))
    return boost::lexical_cast<std::string>(*number);
  if (const auto* real = boost::any_cast<float>(&held_))
    return boost::lexical_cast<std::string>(*real);
  return std::string();
}

std::wstring ORVQVTValue::ToWString() const { return Widen(ToString()); }

std::int32_t ORVQVTValue::ToLong() const {
  if (const auto* text = boost::any_cast<std::string>(&held_)) return IntegerFromText(*text);
  if (const auto* number = boost::any_cast<LongValue>(&held_)) return number->value;
  if (const auto* number = boost::any_cast<int>(&held_)) return *number;
  if (const auto* real = boost::any_cast<float>(&held_)) return Truncated(*real);
  return kNoInteger;
}

float ORVQVTValue::ToFloat() const {
  if (const auto* text = boost::any_cast<std::string>(&held_)) {
    float real = 0;
    return boost::conversion::try_lexical_convert(*text, real) ? real : kNoFloat;
  }
  if (const auto* number = boost::any_cast<LongValue>(&held_))
    return static_cast<float>(number->value);
  if (const auto* number = boost::any_cast<int>(&held_)) return static_cast<float>(*number);
  if (const auto* real = boost::any_cast<float>(&held_)) return *real;
  return kNoFloat;
}

bool ORVQVTValue::Equals(const ORVQVTValue& other) const {
  return name_ == other.name_ && ToString() == other.ToString();
}

bool ORVQVTValue::EqualsText(const char* text) const {
  return text != nullptr && ToString() == text;
}

}  // namespace orv
