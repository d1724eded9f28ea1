#include "cli/offline/equaliser_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "platform/text.h"

namespace orv::cli {
namespace {

// The first row of a type has the name that is written.
struct TypeRow {
  std::string_view name;
  ListFilterType type;
  bool has_gain;
};
constexpr TypeRow kTypes[] = {
    {"None", ListFilterType::None, false},    {"PK", ListFilterType::Peaking, true},
    {"PEQ", ListFilterType::Peaking, true},   {"LSC", ListFilterType::LowShelf, true},
    {"LS", ListFilterType::LowShelf, true},   {"LSQ", ListFilterType::LowShelf, true},
    {"HSC", ListFilterType::HighShelf, true}, {"HS", ListFilterType::HighShelf, true},
    {"HSQ", ListFilterType::HighShelf, true}, {"HPQ", ListFilterType::HighPass, false},
    {"HP", ListFilterType::HighPass, false},  {"LPQ", ListFilterType::LowPass, false},
    {"LP", ListFilterType::LowPass, false},   {"NO", ListFilterType::Notch, false},
    {"AP", ListFilterType::AllPass, false},
};

struct ChannelRow {
  std::string_view name;
  ListChannel channel;
};
constexpr ChannelRow kListChannels[] = {
    {"both", ListChannel::Both}, {"left", ListChannel::Left}, {"right", ListChannel::Right},
    {"all", ListChannel::Both},  {"l", ListChannel::Left},    {"r", ListChannel::Right},
};

// What a number means; the bounds keep every result finite.
struct ListQuantity {
  std::string_view key;
  double lowest;
  double highest;
  bool is_frequency;
};
constexpr ListQuantity kFrequencyKey{"Fc", 0.01, 1e6, true};
constexpr ListQuantity kGainKey{"Gain", -300, 300, false};
constexpr ListQuantity kQualityKey{"Q", 1e-4, 1e4, false};
constexpr ListQuantity kWidthKey{"BW", 1e-3, 10, false};
constexpr ListQuantity kSlopeKey{"slope", 1e-4, 1e4, false};
constexpr ListQuantity kPreampKey{"Preamp", -300, 300, false};

constexpr const TypeRow& RowOf(ListFilterType type) {
  return *std::ranges::find(kTypes, type, &TypeRow::type);
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsSeparator(char c) { return c == '.' || c == ',' || c == '\''; }

// Blanks, quotes and signs that programs write in forms outside ASCII, as their plain forms.
std::string Plain(std::string_view text) {
  static constexpr std::pair<std::string_view, std::string_view> kForms[] = {
      {"\u00a0", " "}, {"\u2007", " "}, {"\u2009", " "},      {"\u202f", " "}, {"\u2212", "-"},
      {"\u2013", "-"}, {"\u2019", "'"}, {"\xef\xbb\xbf", ""}, {"\t", " "}};
  std::string plain;
  for (std::size_t i = 0; i < text.size();) {
    const auto form = std::ranges::find_if(
        kForms, [&](const auto& one) { return text.substr(i).starts_with(one.first); });
    if (form == std::end(kForms)) {
      plain += text[i++];
    } else {
      plain += form->second;
      i += form->first.size();
    }
  }
  return plain;
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines(1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    if (text[i] == '\n' || text[i] == '\r') {
      lines.emplace_back();
    } else {
      lines.back() += text[i];
    }
  }
  return lines;
}

bool IsThousandsGroup(std::string_view word) {
  const auto digits = std::ranges::find_if_not(word, IsDigit) - word.begin();
  return digits == 3 && (word.size() == 3 || !IsDigit(word[3]));
}

// The words of a line. A blank within a number ("1 250 Hz") does not separate.
std::vector<std::string> SplitWords(const std::string& line) {
  std::vector<std::string> words(1);
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] != ' ') {
      words.back() += line[i];
      continue;
    }
    const std::string& word = words.back();
    const bool ends_in_digits =
        !word.empty() && word.size() <= 7 && IsDigit(word.back()) &&
        std::ranges::all_of(word, [](char c) { return IsDigit(c) || c == '-' || c == '+'; });
    if (ends_in_digits && IsThousandsGroup(std::string_view(line).substr(i + 1))) continue;
    if (!word.empty()) words.emplace_back();
  }
  if (words.back().empty()) words.pop_back();
  return words;
}

// A word that begins with a number, and what follows it ("1,250Hz").
struct NumberWord {
  std::string_view number;
  std::string_view unit;

  explicit NumberWord(std::string_view word) {
    std::size_t end = !word.empty() && (word[0] == '-' || word[0] == '+') ? 1 : 0;
    while (end < word.size() && (IsDigit(word[end]) || IsSeparator(word[end]))) ++end;
    number = word.substr(0, end);
    unit = word.substr(end);
  }
};

// Whether a word can only be a number with a decimal comma: digits other than three behind its only
// comma, or a comma behind a point.
bool ShowsDecimalComma(std::string_view word) {
  const std::string_view number = NumberWord(word).number;
  const std::size_t comma = number.rfind(',');
  if (comma == std::string_view::npos || number.find(',') != comma) return false;
  const std::string_view fraction = number.substr(comma + 1);
  if (fraction.find('.') != std::string_view::npos || fraction.empty()) return false;
  return fraction.size() != 3 || number.find('.') < comma;
}

class ListReader {
 public:
  explicit ListReader(std::string_view text) {
    for (const std::string& line : SplitLines(Plain(text))) lines_.push_back(SplitWords(line));
    for (const auto& words : lines_)
      decimal_comma_ = decimal_comma_ || std::ranges::any_of(words, ShowsDecimalComma);
  }

  EqualiserList Read() {
    for (const std::vector<std::string>& words : lines_) {
      ++line_;
      words_ = words;
      next_ = 0;
      reason_.clear();
      ReadLine();
      if (!reason_.empty()) list_.problems.push_back({line_, reason_});
    }
    return std::move(list_);
  }

 private:
  bool Ends() const { return next_ == words_.size(); }
  bool Take(std::string_view word) {
    if (Ends() || !EqualsIgnoringCase(std::string_view(words_[next_]), word)) return false;
    ++next_;
    return true;
  }
  // Keeps the first reason of a line.
  bool Fail(const std::string& reason) {
    if (reason_.empty()) reason_ = reason;
    return false;
  }
  bool FailAtWord(const std::string& expected) {
    constexpr std::size_t kQuoted = 40;
    return Fail(Ends() ? "ends where " + expected + " is expected"
                       : "\"" + words_[next_].substr(0, kQuoted) + "\" is not " + expected);
  }

  static bool IsComment(std::string_view word) {
    return word.find_first_of("#*;") == 0 || word.starts_with("//");
  }

  // "Filter 1:", "Filter 1 :", "Filter:".
  bool TakeFilterHead() {
    if (!Take("Filter")) return Take("Filter:");
    const auto is_number = [](std::string_view word) {
      return !word.empty() && std::ranges::all_of(word, IsDigit);
    };
    std::string_view word = Ends() ? std::string_view() : std::string_view(words_[next_]);
    if (is_number(word)) {
      ++next_;
      return Take(":");
    }
    if (!word.ends_with(':') || (word.size() > 1 && !is_number(word.substr(0, word.size() - 1))))
      return false;
    ++next_;
    return true;
  }

  void ReadLine() {
    if (Ends() || IsComment(words_[0])) return;
    if (TakeFilterHead()) {
      begun_ = true;
      ReadFilter();
      return;
    }
    next_ = 0;
    if (Take("Preamp:") || (Take("Preamp") && Take(":"))) {
      begun_ = true;
      ListPreamp preamp{line_, channel_, 0};
      if (TakeNumber(kPreampKey, preamp.gain_db) && TakeEnd()) list_.preamps.push_back(preamp);
      return;
    }
    if (Take("Channel:")) {
      begun_ = true;
      ReadChannels();
      return;
    }
    if (begun_) FailAtWord("a filter, a preamplification or a channel");
  }

  void ReadChannels() {
    bool left = false;
    bool right = false;
    do {
      const auto row = std::ranges::find_if(kListChannels,
                                            [&](const ChannelRow& one) { return Take(one.name); });
      if (row == std::end(kListChannels)) {
        FailAtWord("a channel (left, right or both)");
        return;
      }
      left = left || row->channel != ListChannel::Right;
      right = right || row->channel != ListChannel::Left;
    } while (!Ends());
    channel_ = left && right ? ListChannel::Both : left ? ListChannel::Left : ListChannel::Right;
  }

  void ReadFilter() {
    ListFilter filter;
    filter.line = line_;
    filter.channel = channel_;
    filter.on = Take("ON");
    if (!filter.on && !Take("OFF")) {
      FailAtWord("ON or OFF");
      return;
    }
    const auto row =
        std::ranges::find_if(kTypes, [&](const TypeRow& one) { return Take(one.name); });
    if (row == std::end(kTypes)) {
      FailAtWord("a filter type");
      return;
    }
    filter.type = row->type;
    filter.typed = row->name;
    if (row->type == ListFilterType::None) {
      list_.filters.push_back(filter);
      return;
    }
    if (ReadNumbers(*row, filter)) list_.filters.push_back(filter);
  }

  bool ReadNumbers(const TypeRow& row, ListFilter& filter) {
    const bool is_shelf =
        row.type == ListFilterType::LowShelf || row.type == ListFilterType::HighShelf;
    bool has_gain = false;
    if (is_shelf && !Ends() && !NumberWord(words_[next_]).number.empty() &&
        !TakeNumber(kSlopeKey, filter.slope.emplace()))
      return false;
    while (!Ends()) {
      if (Take(kFrequencyKey.key)) {
        if (!TakeNumber(kFrequencyKey, filter.frequency)) return false;
      } else if (row.has_gain && Take(kGainKey.key)) {
        if (!TakeNumber(kGainKey, filter.gain_db)) return false;
        has_gain = true;
      } else if (Take(kQualityKey.key)) {
        if (!TakeNumber(kQualityKey, filter.q.emplace())) return false;
      } else if (Take(kWidthKey.key)) {
        Take("Oct");
        double octaves = 0;
        if (!TakeNumber(kWidthKey, octaves)) return false;
        filter.q = std::pow(2, octaves / 2) / (std::pow(2, octaves) - 1);
      } else {
        return FailAtWord(row.has_gain ? "Fc, Gain, Q or BW" : "Fc, Q or BW");
      }
    }
    if (filter.frequency == 0) return Fail("has no Fc");
    if (row.has_gain && !has_gain) return Fail("has no Gain");
    if (row.type == ListFilterType::Peaking && !filter.q) return Fail("has no Q or BW");
    return true;
  }

  bool TakeEnd() { return Ends() || FailAtWord("the end of the line"); }

  // A number with its unit, in the same word or the next.
  bool TakeNumber(const ListQuantity& quantity, double& value) {
    const std::string expected = "a number for " + std::string(quantity.key);
    if (Ends()) return FailAtWord(expected);
    const NumberWord word(words_[next_]);
    const bool touches = !word.unit.empty();
    const bool has_next = !touches && next_ + 1 < words_.size();
    const std::string_view unit = has_next ? std::string_view(words_[next_ + 1]) : word.unit;
    const auto is = [&](std::string_view name) { return EqualsIgnoringCase(unit, name); };
    const bool kilo = quantity.is_frequency && (is("kHz") || is("k"));
    const bool known =
        kilo || (quantity.is_frequency ? is("Hz") : is("dB") || is("dB/oct") || is("Oct"));
    const std::optional<double> number = Value(word.number, quantity.is_frequency && !kilo);
    if (!number || (touches && !known)) return FailAtWord(expected);
    value = kilo ? *number * 1000 : *number;
    if (!(value >= quantity.lowest && value <= quantity.highest))
      return FailAtWord(
          fmt::format("within {} to {} for {}", quantity.lowest, quantity.highest, quantity.key));
    next_ += known && has_next ? 2 : 1;
    return true;
  }

  // Whether the separator, the last one of a number, is in front of its fraction.
  bool IsDecimal(std::string_view number, std::size_t last, bool in_hertz) const {
    const char separator = number[last];
    if (separator == '\'') return false;
    const std::size_t first = number.find_first_of(".,'");
    if (first != last) return number.find(separator) == last;  // "1.250,5"; not "1.250.000"
    if (number.size() - last - 1 != 3 || !in_hertz) return true;
    return (separator == ',') == decimal_comma_;
  }

  std::optional<double> Value(std::string_view number, bool in_hertz) const {
    if (number.starts_with('+')) number.remove_prefix(1);
    const std::size_t last = number.find_last_of(".,'");
    const bool decimal = last != std::string_view::npos && IsDecimal(number, last, in_hertz);
    const std::string_view whole = number.substr(0, decimal ? last : number.size());
    std::string digits;
    for (std::size_t i = 0; i < whole.size(); ++i) {
      if (!IsSeparator(whole[i])) {
        digits += whole[i];
      } else if (!IsThousandsGroup(whole.substr(i + 1))) {
        return std::nullopt;
      }
    }
    if (decimal) digits += "." + std::string(number.substr(last + 1));
    double value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc() || rest != end || !std::isfinite(value)) return std::nullopt;
    return value;
  }

  std::vector<std::vector<std::string>> lines_;
  bool decimal_comma_ = false;
  EqualiserList list_;
  std::size_t line_ = 0;
  ListChannel channel_ = ListChannel::Both;
  bool begun_ = false;
  std::vector<std::string> words_;  // of the line
  std::size_t next_ = 0;
  std::string reason_;
};

std::string FilterLine(std::size_t number, const ListFilter& filter) {
  const TypeRow& row = RowOf(filter.type);
  std::string line =
      fmt::format("Filter {}: {} {}", number, filter.on ? "ON" : "OFF", ListTypeName(filter));
  if (filter.type == ListFilterType::None) return line + "\n";
  if (filter.slope) line += fmt::format(" {} dB", *filter.slope);
  line += fmt::format(" {} {} Hz", kFrequencyKey.key, filter.frequency);
  if (row.has_gain) line += fmt::format(" {} {} dB", kGainKey.key, filter.gain_db);
  if (filter.q) line += fmt::format(" {} {}", kQualityKey.key, *filter.q);
  return line + "\n";
}

}  // namespace

EqualiserList ReadEqualiserList(std::string_view text) { return ListReader(text).Read(); }

std::string WriteEqualiserList(const EqualiserList& list) {
  std::string text;
  for (const ListChannel channel : {ListChannel::Both, ListChannel::Left, ListChannel::Right}) {
    std::string section;
    for (const ListPreamp& preamp : list.preamps)
      if (preamp.channel == channel)
        section += fmt::format("{}: {} dB\n", kPreampKey.key, preamp.gain_db);
    std::size_t number = 0;
    for (const ListFilter& filter : list.filters)
      if (filter.channel == channel) section += FilterLine(++number, filter);
    if (section.empty()) continue;
    if (channel != ListChannel::Both)
      text += fmt::format("Channel: {}\n",
                          std::ranges::find(kListChannels, channel, &ChannelRow::channel)->name);
    text += section;
  }
  return text;
}

const char* ListTypeName(const ListFilter& filter) {
  return filter.typed.empty() ? RowOf(filter.type).name.data() : filter.typed.data();
}

}  // namespace orv::cli
