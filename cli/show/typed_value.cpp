#include "cli/show/typed_value.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "cli/show/failure.h"
#include "cli/show/select.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

struct Unit {
  const char* typed;
  const char* unit;
  double factor;  // units to one of the typed unit
};
constexpr Unit kUnits[] = {{"dB", "dB", 1},     {"%", "%", 1},   {"Hz", "Hz", 1},
                           {"kHz", "Hz", 1000}, {"ms", "ms", 1}, {"s", "ms", 1000}};

struct Switch {
  const char* off;
  const char* on;
};
constexpr Switch kSwitches[] = {{"off", "on"},
                                {"disabled", "enabled"},
                                {"disable", "enable"},
                                {"no", "yes"},
                                {"false", "true"}};

// Ends of the names of controls that hold a frequency.
constexpr const char* kFrequencyNames[] = {" Frequency", " Freq", " Audio Size", " Analysis Size"};

struct TypedQuantity {
  double number = 0;
  bool decimals = false;  // a decimal point or comma was typed
  std::string unit;       // as typed
};

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// "-3,5 dB" in its pieces; std::nullopt if the text does not begin with a number.
std::optional<TypedQuantity> ParseQuantity(std::string_view text) {
  constexpr std::string_view kTrueMinus = "\u2212";
  std::string number(text);
  if (number.starts_with(kTrueMinus)) number.replace(0, kTrueMinus.size(), "-");
  if (number.starts_with("+")) number.erase(0, 1);
  const std::size_t digits = number.find_first_not_of("-0123456789.,");
  std::string unit = digits == std::string::npos ? "" : number.substr(digits);
  number.resize(std::min(digits, number.size()));
  // "1,000" is a thousand to some and one to others.
  constexpr std::size_t kDigitsOfAThousand = 3;
  const std::size_t comma = number.find(',');
  if (comma != std::string::npos && number.size() - comma - 1 == kDigitsOfAThousand)
    return std::nullopt;
  std::ranges::replace(number, ',', '.');
  TypedQuantity quantity{.decimals = number.find('.') != std::string::npos,
                         .unit = std::string(Trimmed(unit))};
  const char* const last = number.data() + number.size();
  const auto [end, error] =
      std::from_chars(number.data(), last, quantity.number, std::chars_format::fixed);
  constexpr double kLargest = 1e12;  // its steps still fit into 64 bits
  if (error != std::errc() || end != last || std::abs(quantity.number) > kLargest)
    return std::nullopt;
  return quantity;
}

std::string Expected(const ValueForm& form) {
  if (form.choices.empty()) {
    const std::string unit = form.unit.empty() ? "" : " in " + form.unit;
    return fmt::format("a number{}, for example {}", unit,
                       QuantityText(form.current.value_or(form.steps_per_unit), form));
  }
  std::string expected = "a choice's position or one of";
  for (const std::string& choice : form.choices) expected += "\n  " + choice;
  return expected;
}

[[noreturn]] void NotAValue(const ValueForm& form, std::string_view text) {
  const std::string suggestion = Suggestion(form.choices, text);
  UsageFailure("\"{}\" is not a value for \"{}\": expected {}{}", Excerpt(text), form.name,
               Expected(form), suggestion.empty() ? "." : "\n" + suggestion.substr(1));
}

std::int32_t Stored(const ValueForm& form, std::int64_t number) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (number < Limits::min() || number > Limits::max())
    UsageFailure("{} does not fit into \"{}\".", QuantityText(number, form), form.name);
  return static_cast<std::int32_t>(number);
}

// The typed quantity in the control's steps. `sign` is what stands before it in `text`: "+=", "-="
// or nothing.
std::int64_t Steps(const ValueForm& form, const TypedQuantity& quantity, std::string_view text,
                   std::string_view sign) {
  double factor = 1;
  if (!quantity.unit.empty()) {
    const auto unit = std::ranges::find_if(kUnits, [&](const Unit& known) {
      return EqualsIgnoringCase(known.typed, quantity.unit) && form.unit == known.unit;
    });
    if (unit == std::end(kUnits)) NotAValue(form, text);
    factor = unit->factor;
  } else if (form.steps_per_unit != 1 && !quantity.decimals && quantity.number != 0) {
    const auto number = static_cast<std::int64_t>(quantity.number);
    UsageFailure("\"{}\" has two readings for \"{}\": write {}{}{} for {}, or --raw {}{} for {}.",
                 text, form.name, sign, number, form.unit.empty() ? ".0" : form.unit,
                 QuantityText(number * form.steps_per_unit, form), sign, number,
                 QuantityText(number, form));
  }
  const double steps = quantity.number * factor * form.steps_per_unit;
  const double nearest = std::round(steps);
  if (std::abs(steps - nearest) > 1e-6 * std::max(1.0, std::abs(steps))) {
    const auto below = static_cast<std::int64_t>(std::floor(steps));
    UsageFailure("\"{}\" is between two steps of \"{}\": {}{} and {}{}.", text, form.name, sign,
                 QuantityText(below, form), sign, QuantityText(below + 1, form));
  }
  return static_cast<std::int64_t>(nearest);
}

// "+=" or "-=" if the text is a step from the current value.
std::string_view StepSign(std::string_view text) {
  return text.starts_with("+=") || text.starts_with("-=") ? text.substr(0, 2) : std::string_view();
}

// The number to store for a number of steps after the sign.
std::int32_t Changed(const ValueForm& form, std::string_view sign, std::int64_t steps,
                     std::string_view text) {
  if (sign.empty()) return Stored(form, steps);
  if (!form.current) UsageFailure("\"{}\" holds no number that {} could change.", form.name, text);
  return Stored(form, *form.current + (sign == "+=" ? steps : -steps));
}

// What on, off and toggle mean for a pair of choices that is a switch; std::nullopt for other
// words.
std::optional<std::int32_t> ReadSwitch(const ValueForm& form, std::string_view text) {
  if (form.choices.size() != 2) return std::nullopt;
  if (EqualsIgnoringCase(text, "toggle")) {
    if (form.current != 0 && form.current != 1) NotAValue(form, text);
    return 1 - *form.current;
  }
  const auto is_pair = [&](const Switch& words) {
    return EqualsIgnoringCase(form.choices[0], words.off) &&
           EqualsIgnoringCase(form.choices[1], words.on);
  };
  if (std::ranges::none_of(kSwitches, is_pair)) return std::nullopt;
  for (const Switch& words : kSwitches) {
    if (EqualsIgnoringCase(text, words.off)) return 0;
    if (EqualsIgnoringCase(text, words.on)) return 1;
  }
  return std::nullopt;
}

std::int32_t ReadChoice(const ValueForm& form, std::string_view text) {
  const auto& choices = form.choices;
  // Of choices with one text the last counts, as in the component.
  const auto exact = std::find(choices.rbegin(), choices.rend(), text);
  if (exact != choices.rend()) return static_cast<std::int32_t>(choices.rend() - exact - 1);
  const auto folded = std::ranges::find_if(
      choices, [&](const std::string& choice) { return EqualsIgnoringCase(choice, text); });
  if (folded != choices.end()) return static_cast<std::int32_t>(folded - choices.begin());
  if (const auto position = ReadSwitch(form, text)) return *position;
  if (const auto position = ParseNumber(text)) return *position;
  NotAValue(form, text);
}

}  // namespace

ValueForm FormOf(const std::string& name, ORV_QVT_SCALE scale, float factor, std::int32_t maximum,
                 const std::vector<std::string>& choices) {
  ValueForm form{.name = name, .choices = choices};
  if (scale == ORV_QVT_SCALE_BY100) {
    form.steps_per_unit = 100;
  } else if (scale == ORV_QVT_SCALE_DB) {
    form.unit = "dB";
    // Other factors show the steps.
    for (const int steps : {10, 100, 1000})
      if (factor == static_cast<float>(steps)) form.steps_per_unit = steps;
  } else if (choices.empty()) {
    const auto ends = [&](const char* end) { return name.ends_with(end); };
    if (std::ranges::any_of(kFrequencyNames, ends)) form.unit = "Hz";
    if (maximum == 100 && ends(" Level")) form.unit = "%";
  }
  return form;
}

std::string QuantityText(std::int64_t number, const ValueForm& form) {
  std::string text = std::to_string(number);
  if (form.steps_per_unit > 1) {
    const int decimals = static_cast<int>(std::lround(std::log10(form.steps_per_unit)));
    text = fmt::format("{:.{}f}", static_cast<double>(number) / form.steps_per_unit, decimals);
  }
  return form.unit.empty() ? text : text + " " + form.unit;
}

std::int32_t ReadTypedValue(const ValueForm& form, std::string_view text) {
  text = Trimmed(text);
  if (!form.choices.empty()) return ReadChoice(form, text);
  const std::string_view sign = StepSign(text);
  const auto quantity = ParseQuantity(Trimmed(text.substr(sign.size())));
  if (!quantity) NotAValue(form, text);
  return Changed(form, sign, Steps(form, *quantity, text, sign), text);
}

std::string ValueText(std::int64_t number, const ValueForm& form) {
  const bool is_choice = number >= 0 && static_cast<std::size_t>(number) < form.choices.size();
  return is_choice ? form.choices[static_cast<std::size_t>(number)] : QuantityText(number, form);
}

std::int32_t ReadRawValue(const ValueForm& form, std::string_view text) {
  text = Trimmed(text);
  if (!form.choices.empty()) return ReadChoice(form, text);
  const std::string_view sign = StepSign(text);
  if (const auto number = ParseNumber(Trimmed(text.substr(sign.size()))))
    return Changed(form, sign, *number, text);
  UsageFailure("\"{}\" is not a value for \"{}\": expected a whole number.", text, form.name);
}

}  // namespace orv::cli
