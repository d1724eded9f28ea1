// Value lists and mode keys as tests write and compare them.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "config/operating_mode.h"

namespace orv {

using ControlTexts = std::vector<std::pair<std::string, std::string>>;

inline ORVQVTValueList ListOf(const ControlTexts& texts) {
  ORVQVTValueList list;
  for (const auto& [name, text] : texts) list.GetOrAdd(name) = ORVQVTValue(name, boost::any(text));
  return list;
}

inline ControlTexts Texts(const ORVQVTValueList& list) {
  ControlTexts texts;
  for (const auto& [name, value] : list) texts.emplace_back(name, value.ToString());
  return texts;
}

inline ORVAPOModeKey Key(const std::string& mode, const std::string& speaker) {
  ORVAPOModeKey key;
  key.ReadFrom(ListOf({{kOperatingModeControl, mode}, {kSpeakerTypeControl, speaker}}));
  return key;
}

}  // namespace orv
