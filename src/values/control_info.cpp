#include "values/control_info.h"

#include <utility>

namespace orv {
namespace {

std::string TextOrEmpty(const char* text) { return text == nullptr ? std::string() : text; }

}  // namespace

void ORVQVTControlInfo::AssignAllButFactor(const TechnologyControlRecord& record) {
  name_ = TextOrEmpty(record.name);
  minimum_ = record.minimum;
  maximum_ = record.maximum;
  scale_ = record.scale;
  names_.Clear();
  if (record.names == nullptr) return;
  for (std::int32_t i = 0; i < record.name_count; ++i) names_.Add(TextOrEmpty(record.names[i]));
}

void ORVQVTControlInfo::AssignDescriptor(const TechnologyControlRecord& record) {
  AssignAllButFactor(record);
  factor_ = record.factor;
}

void ORVQVTControlInfo::AssignDescriptorDeriveFactor(const TechnologyControlRecord& record) {
  AssignAllButFactor(record);
  factor_ = record.scale == ORV_QVT_SCALE_BY100 ? 100.0F : 1.0F;
}

void ORVQVTControlInfo::SetName(std::string name) { name_ = std::move(name); }

std::optional<std::string> ChoiceText(const ORVQVTNameList& names, std::int32_t number) {
  const auto position = static_cast<std::uint32_t>(number);
  if (position >= names.Count()) return std::nullopt;
  return names[position];
}

std::optional<std::int32_t> ChoiceNumber(const ORVQVTNameList& names, const std::string& text) {
  for (std::size_t position = names.Count(); position-- > 0;)
    if (names[position] == text) return static_cast<std::int32_t>(position);
  return std::nullopt;
}

}  // namespace orv
