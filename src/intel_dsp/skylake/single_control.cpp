// One control by name: the block that holds it is read, changed and sent back.
#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "intel_dsp/skylake/blocks.h"
#include "intel_dsp/skylake/writers.h"
#include "platform/com_memory.h"
#include "platform/diagnostics.h"
#include "platform/text.h"

namespace orv::skylake {
namespace {

constexpr const char* kFunction = "KELAPOIntelDSP_SKL::SetControl";

// Controls without a field of their own: other names of a field, and inputs of derived fields.
struct FurtherControl {
  const char* control;
  std::uint32_t parameter;
  std::size_t offset;
  Conversion conversion;
};
constexpr FurtherControl kFurtherControls[] = {
    {"VQ3D-DPHD Max Level", kCommon, 4, Conversion::BassLevel},
    {"VQ3D-DPHD Boost Enable", kCommon, 4, Conversion::BassLevel},
    {"VQ3D-DPHD Boost Split", kCommon, 4, Conversion::BassLevel},
    {"VQ3D-DPHD Speaker Audio Custom Size", kCommon, 8, Conversion::SpeakerSize},
    {"VQ3D-DPHD Speaker Analysis Custom Size", kCommon, 12, Conversion::SpeakerSize},
    {"VQ3D-Definition Max Level", kCommon, 36, Conversion::DefinitionLevel},
    {"VQ3D-DialogClarity Enable", kPX3D, 0, Conversion::Bool},
    {"VQ3D-DialogClarity Level", kPX3D, 4, Conversion::Percent},
    {"VQ3D-DC Max Level", kPX3D, 4, Conversion::ClarityLevel},
    {"VQ3D-WIDHD Focus Level", kPX3D, 12, Conversion::Percent},
    {"VQ3D-Space HPF Custom Freq", kPX3D, 20, Conversion::SpaceCutoff},
    {"VQ3D-MXHP DialogClarity Enable", kMXHP, 8, Conversion::Bool},
    {"VQ3D-MXHP DialogClarity Level", kMXHP, 12, Conversion::Percent},
};
// A simple conversion is any field's; every other one is the field's own.
constexpr bool FurtherControlsFitTheirFields() {
  for (const FurtherControl& further : kFurtherControls) {
    bool fits = false;
    for (const Field& field : BlockOf(further.parameter).fields)
      fits |= field.offset == further.offset &&
              (records::IsSimple(further.conversion) || field.conversion == further.conversion);
    if (!fits) return false;
  }
  return true;
}
static_assert(FurtherControlsFitTheirFields());

struct Target {
  const Block* block;
  Field field;
  bool own;  // the field's own control, not a further one
};

std::optional<Target> FindTarget(const std::string& control) {
  for (const FurtherControl& further : kFurtherControls) {
    if (control != further.control) continue;
    const Block& block = BlockOf(further.parameter);
    const auto found = std::ranges::find(block.fields, further.offset, &Field::offset);
    Target target{&block, *found, false};
    if (records::IsSimple(further.conversion)) {
      target.field.control = further.control;
      target.field.conversion = further.conversion;
    }
    return target;
  }
  for (const Block& block : kBlocks)
    for (const Field& field : block.fields)
      if (field.conversion != Conversion::Reserved && field.alone && control == field.control)
        return Target{&block, field, true};
  return std::nullopt;
}

std::optional<ORVQVTValue> ReadVariant(const std::string& control, const VARIANT& value,
                                       bool text_allowed) {
  if (value.vt == VT_I4) return ORVQVTValue(control, std::int32_t{value.lVal});
  if (value.vt == VT_I8)  // its low half
    return ORVQVTValue(control, static_cast<std::int32_t>(value.llVal));
  if (value.vt != VT_BSTR || !text_allowed) return std::nullopt;
  return ORVQVTValue(control, Narrow(ViewOf(value.bstrVal)));
}

ControlValueMap MapOfSimple(const Field& field, std::int32_t number) {
  if (field.conversion == Conversion::Bool) number = number != 0 ? 1 : 0;
  return {{field.control, ORVQVTValue(field.control, number)}};
}

// Everything in the list that fields of this block are made of.
ControlValueMap MapOfList(const Block& block, const ORVQVTValueList& list) {
  ControlValueMap map;
  const auto take = [&](const std::string& name) {
    if (const ORVQVTValue* held = list.Find(name)) map.emplace(name, *held);
  };
  for (const Field& field : block.fields) {
    if (records::IsSimple(field.conversion)) continue;
    take(field.control);
    take(std::string(field.control) + " Float");
  }
  for (const FurtherControl& further : kFurtherControls)
    if (further.parameter == block.parameter) take(further.control);
  return map;
}

// Runs `write` with the new value of a control in the list of the last written ones. The value
// stays there even if another control is missing, so that several may be set one after the other;
// if it is itself wrong, the list is as before.
template <class Write>
HRESULT WithListedValue(ORVQVTValueList& list, const std::string& control, ORVQVTValue value,
                        Write write) {
  std::optional<ORVQVTValue> before;
  if (const ORVQVTValue* held = std::as_const(list).Find(control)) before = *held;
  const auto take_back = [&]() noexcept {
    if (before)
      *list.Find(control) = std::move(*before);
    else
      list.Remove(control);
  };
  list.GetOrAdd(control) = std::move(value);
  try {
    return write();
  } catch (const IntelException& error) {
    if (error.control() == control) take_back();
    throw;
  } catch (...) {
    take_back();
    throw;
  }
}

// The band of a field, from 0.
int BandIndex(const Field& field) {
  const Field& first = kBandFields.front();
  return static_cast<int>((field.offset - first.offset) / FieldWidth(first.type));
}

void FillTarget(const Target& target, const ControlValueMap& map, BlockBytes& bytes) {
  FillField(target.field, map, bytes);
  if (target.field.conversion != Conversion::ClarityLevel) return;
  for (const Field& field : target.block->fields)
    if (field.conversion == Conversion::FocusLevel) FillField(field, map, bytes);
}

HRESULT ChangeBlock(SkylakeDriver& driver, const Target& target, const std::string& control,
                    const ORVQVTValue& value, ORVQVTValueList& list, std::uint8_t apply) {
  const Block& block = *target.block;
  BlockBytes bytes{};
  const HRESULT read_status = ReadBlock(driver, block, bytes, apply);
  if (FAILED(read_status)) {
    Diagnose(ORV_HERE(kFunction), block.read_failure, control);
    return read_status;
  }
  if (records::IsSimple(target.field.conversion)) {
    FillTarget(target, MapOfSimple(target.field, value.ToLong()), bytes);
    return WriteBlock(driver, block, bytes, std::nullopt, apply, control.c_str());
  }
  return WithListedValue(list, control, value, [&] {
    const ControlValueMap map = MapOfList(block, list);
    FillTarget(target, map, bytes);
    const bool selects_coefficients = target.field.conversion == Conversion::SpeakerSize ||
                                      target.field.conversion == Conversion::SpaceCutoff;
    const auto coefficients = selects_coefficients ? block.coefficients(bytes, map) : std::nullopt;
    return WriteBlock(driver, block, bytes, coefficients, apply, control.c_str());
  });
}

}  // namespace

std::optional<SkylakeControlPlace> FindControl(const std::string& control) {
  const std::optional<Target> target = FindTarget(control);
  if (!target) return std::nullopt;
  return SkylakeControlPlace{target->block->parameter, target->field.offset};
}

HRESULT KELAPOIntelDSP_SKL::SetControl(const std::wstring& name, const VARIANT& value,
                                       ORVQVTValueList& list, std::uint8_t apply) {
  const DiagnosticSite site = ORV_HERE(kFunction);
  Diagnose(site, L"[%S]\n", name);
  return Guarded(kFunction, [&] {
    const std::string control = Narrow(name);
    const std::optional<Target> target = FindTarget(control);
    if (!target) return E_INVALIDARG;
    const bool text_allowed = target->own && records::IsChoice(target->field.conversion);
    const auto given = ReadVariant(control, value, text_allowed);
    if (!given) return E_INVALIDARG;
    if (value.vt == VT_BSTR) {
      Diagnose(site, L"%S : %S\n", control, given->ToString());
      return ChangeBlock(driver_, *target, control, *given, list, apply);
    }
    const std::int32_t number = given->ToLong();
    if (control == kProcessEnable.control) {
      const std::uint8_t enable = number != 0 ? 1 : 0;
      Diagnose(site, L"VQ3D-Process Enable : %s\n", enable != 0 ? L"Enable" : L"Disable");
      const HRESULT status = SetProcessEnable(enable, apply);
      SetPPModuleStatus(enable, apply);
      return status;
    }
    Diagnose(site, L"%S : %d\n", control, number);
    if (target->field.conversion != Conversion::BandGain)
      return ChangeBlock(driver_, *target, control, *given, list, apply);
    using Gain = std::numeric_limits<std::int16_t>;
    const std::int32_t gain = std::clamp<std::int32_t>(number, Gain::min(), Gain::max());
    return SetGEQBandGain(BandIndex(target->field), static_cast<std::int16_t>(gain), 0);
  });
}

}  // namespace orv::skylake
