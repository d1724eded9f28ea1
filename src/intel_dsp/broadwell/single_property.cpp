// Single controls read from and written to the Broadwell module.
#include "intel_dsp/broadwell/processors.h"
#include "platform/diagnostics.h"
#include "platform/text.h"

namespace orv::broadwell {
namespace {

// Controls that clients may read. A level is read as the whole 32-bit word at its offset.
constexpr const char* kReadable[] = {
    "ZENSND-Process Enable",
    "ZENSND-AEQ Enable",
    "ZENSND-DPHD Enable",
    "ZENSND-DPHD Level",
    "ZENSND-DC Level",
    "ZENSND-Definition Level",
    "ZENSND-WIDHDX Focus Level",
    "ZENSND-WIDHDX ORV3D Space Level",
    "ZENSND-WIDHDX ORV3D Center Level",
};
constexpr char kFlagName[] = "ZENSND-DPHD Enable";  // read as 0 or 1, whatever the module holds

constexpr char kShortAmhdName[] = "AMHD Enable";

bool IsSingle(const FieldPlace& place) { return place.block->fields.size() == 1; }
bool IsIn(const FieldPlace& place, Parameter parameter) {
  return place.block->parameter == parameter;
}
bool Is(const FieldPlace& place, Conversion conversion) {
  return place.field->conversion == conversion;
}

// The switch of the module itself is not written by its name.
FieldPlace PlaceToWrite(const std::string& control) {
  const FieldPlace place = FindField(control == kShortAmhdName ? "ZENSND-AMHD Enable" : control);
  const bool is_module_switch = place.field != nullptr && IsIn(place, kProcessEnable);
  return is_module_switch ? FieldPlace{} : place;
}

}  // namespace

HRESULT KELAPOIntelDSP_BRW::GetProperty(const std::wstring& name, std::uint8_t apply,
                                        VARIANT& value) {
  const std::string control = Narrow(name);
  for (const char* readable : kReadable) {
    if (control != readable) continue;
    const FieldPlace place = FindField(control);
    Bytes bytes(place.block->size);
    if (!Receive(place.block->parameter, bytes, apply)) return E_FAIL;
    const std::int64_t word = ReadField(bytes, place.field->offset, FieldType::I32);
    value.vt = VT_I4;
    value.lVal = static_cast<LONG>(control == kFlagName ? std::int64_t{word != 0} : word);
    return S_OK;
  }
  return E_NOTIMPL;
}

HRESULT KELAPOIntelDSP_BRW::SetProperty(const std::wstring& name, std::uint8_t apply,
                                        const VARIANT& value) {
  const DiagnosticSite here = ORV_HERE("KELAPOIntelDSP_BRW::SetProperty");
  const FieldPlace place = PlaceToWrite(Narrow(name));
  const bool narrow_only =
      place.field != nullptr && IsIn(place, kAmhd) && Is(place, Conversion::Bool);
  if (value.vt != VT_I4 && (value.vt != VT_I8 || narrow_only)) {
    Diagnose(here, L"Variant specified unsupported type %d\n", int{value.vt});
    return E_INVALIDARG;
  }
  if (place.field == nullptr) {
    Diagnose(here, L"[%s] is not a control that can be written\n", name);
    return S_OK;
  }
  try {
    // Of a 64-bit integer, only the low half is used.
    ChangeField(place, value.vt == VT_I4 ? value.lVal : static_cast<LONG>(value.llVal), apply);
  } catch (const IntelException& error) {
    Diagnose(here, L"Error: %s\n", error.what());
  }
  return S_OK;
}

bool KELAPOIntelDSP_BRW::ReceiveForChange(std::uint32_t parameter, std::span<std::byte> bytes,
                                          std::uint8_t apply) {
  const bool received = Receive(parameter, bytes, apply);
  if (received && driver_.short_answer()) {
    Diagnose(ORV_HERE("KELAPOIntelDSP_BRW::ReceiveForChange"),
             L"Parameter %d was read in part only and is not written back\n", parameter);
    return false;
  }
  return received;
}

bool KELAPOIntelDSP_BRW::SendChange(std::uint32_t parameter, const Bytes& bytes,
                                    std::uint8_t apply) {
  HRESULT status = E_FAIL;
  if (Send(parameter, bytes, apply, status)) return true;
  Diagnose(ORV_HERE("KELAPOIntelDSP_BRW::SendChange"),
           L"Writing parameter %d failed, error %d, status 0x%x\n", parameter, driver_.last_error(),
           status);
  return false;
}

void KELAPOIntelDSP_BRW::ChangeField(const FieldPlace& place, std::int32_t value,
                                     std::uint8_t apply) {
  const DiagnosticSite here = ORV_HERE("KELAPOIntelDSP_BRW::SetProperty");
  const Field& field = *place.field;
  const bool is_level = Is(place, Conversion::Percent);
  if (is_level) Diagnose(here, L"Setting level to %d%%\n", value);
  Bytes bytes(place.block->size);
  if (!IsSingle(place) && !ReceiveForChange(place.block->parameter, bytes, apply)) return;
  if (is_level) {
    Diagnose(here, L"Read status successfully, cur value = %d.\n",
             static_cast<int>(field.Read(bytes)));
  }
  const bool is_switch = Is(place, Conversion::Bool);
  const ControlValueMap map = {
      {field.control, ORVQVTValue(field.control, is_switch ? std::int32_t{value != 0} : value)}};
  intel::FillField(field, map, bytes);
  if (Is(place, Conversion::SpaceCutoff)) {
    const Bytes coefficients = SpaceBlock(value);
    if (coefficients.empty()) throw IntelException(field.control, "frequency out of range");
    if (!SendChange(kSpaceCoefficients, coefficients, apply)) return;
  }
  if (!SendChange(place.block->parameter, bytes, apply)) return;
  if (IsIn(place, kEqualizerEnable)) Diagnose(here, L"\n InteDSP: ZENSND-AEQ Enable %d\n", value);
  if (IsIn(place, kEvenvolume))
    Diagnose(here, L"Writing Evenvolume Controls successful, %d\n", S_OK);
  if (IsIn(place, kAmhd) && is_switch) Diagnose(here, L"AMHD Enable Controls %d\n", value);
}

}  // namespace orv::broadwell
