// What a client needs to present one control, as the technology library describes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "orv_apo/orv_apo.h"
#include "values/name_list.h"
#include "values/overridable.h"

namespace orv {

// The technology library's record of one control; records follow one another every 48 bytes.
struct TechnologyControlRecord {
  const char* name;
  std::int32_t minimum;
  std::int32_t maximum;
  std::uint64_t reserved;
  std::int32_t name_count;
  std::uint32_t padding;
  const char* const* names;
  std::uint32_t scale;
  float factor;
};
static_assert(sizeof(void*) != 8 || sizeof(TechnologyControlRecord) == 48);
static_assert(sizeof(void*) != 8 || (offsetof(TechnologyControlRecord, minimum) == 8 &&
                                     offsetof(TechnologyControlRecord, maximum) == 12 &&
                                     offsetof(TechnologyControlRecord, name_count) == 24 &&
                                     offsetof(TechnologyControlRecord, names) == 32 &&
                                     offsetof(TechnologyControlRecord, scale) == 40 &&
                                     offsetof(TechnologyControlRecord, factor) == 44));

class ORVQVTControlInfo : public Overridable {
 public:
  virtual void AssignDescriptor(const TechnologyControlRecord& record);  // factor from the record
  // Factor 100.0 for the scale ORV_QVT_SCALE_BY100 and 1.0 for every other.
  virtual void AssignDescriptorDeriveFactor(const TechnologyControlRecord& record);
  virtual void SetName(std::string name);

  const std::string& name() const noexcept { return name_; }
  std::int32_t minimum() const noexcept { return minimum_; }
  std::int32_t maximum() const noexcept { return maximum_; }
  std::uint32_t scale() const noexcept { return scale_; }
  float factor() const noexcept { return factor_; }
  const ORVQVTNameList& names() const noexcept { return names_; }

 private:
  void AssignAllButFactor(const TechnologyControlRecord& record);

  std::string name_;
  std::int32_t minimum_ = 0;
  std::int32_t maximum_ = 0;
  std::uint32_t scale_ = ORV_QVT_SCALE_COUNT;
  float factor_ = 1.0F;
  ORVQVTNameList names_;
};

// Choices: a number in range names its text (compared as unsigned, so a negative one never does); a
// text has the position of the last name that equals it.
std::optional<std::string> ChoiceText(const ORVQVTNameList& names, std::int32_t number);
std::optional<std::int32_t> ChoiceNumber(const ORVQVTNameList& names, const std::string& text);

}  // namespace orv
