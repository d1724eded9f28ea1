// Decodes blocks of any bytes, and Qualcomm records of any controls. Fields are inside their block
// and in order; a record is always defined and decodes.
#include <string>
#include <vector>

#include "fuzzer.h"
#include "intel_dsp/broadwell/parameter_blocks.h"
#include "intel_dsp/skylake/writers.h"
#include "platform/diagnostics.h"
#include "qc_dsp/qualcomm_records.h"

namespace orv::fuzz {
namespace {

void RequireInside(const std::vector<DecodedField>& fields, std::size_t size) {
  std::size_t last = 0;
  for (const DecodedField& field : fields) {
    Require(field.offset < size && field.offset >= last && !field.text.empty());
    last = field.offset;
  }
}

void CheckQualcomm(Input& input) {
  // The names are those of the decoder's fields.
  static const std::vector<std::wstring> names = [] {
    std::vector<std::wstring> found;
    for (const QualcommParameter parameter : kQualcommSendingOrder) {
      const QualcommRecord record(parameter, {});
      for (const DecodedField& field : DecodeQualcommRecord(parameter, record.payload()))
        found.emplace_back(field.control.begin(), field.control.end());
    }
    for (const wchar_t* name : {L"Order", L"Frequency"})
      found.push_back(std::wstring(L"QUMEDIA-HPF ") + name);
    for (const wchar_t* band : {L"Audio", L"Analysis"})
      found.push_back(std::wstring(L"QUMEDIA-DPHD Speaker ") + band + L" Custom Size");
    for (const wchar_t* quantity : {L"Frequency", L"Q Factor", L"Gain"})
      found.push_back(std::wstring(L"QUMEDIA-PEQ Right Band 2 ") + quantity);
    return found;
  }();
  QualcommControls controls;
  while (!input.empty()) {
    const std::wstring& name = names[input.Byte() % names.size()];
    const std::size_t size = 1 + input.Byte() % 4;
    const std::uint32_t sign = input.Byte() % 2 == 0 ? 0 : 0xFFFFFFFF;
    controls[name] = static_cast<std::int32_t>(input.Number(size) ^ sign);
  }
  for (const QualcommParameter parameter : kQualcommSendingOrder) {
    const QualcommRecord record(parameter, controls);
    const auto fields = DecodeQualcommRecord(parameter, record.payload());
    Require(!fields.empty());
    RequireInside(fields, record.payload().size());
  }
}

}  // namespace

void Run(std::span<const std::uint8_t> bytes) {
  const DiagnosticCapture silence([](std::wstring_view) {});
  Input input(bytes);
  const std::uint8_t kind = input.Byte();
  const std::uint8_t parameter = input.Byte();
  if (kind % 4 == 3) return CheckQualcomm(input);
  const auto block = std::as_bytes(input.Take(bytes.size()));
  const auto fields = kind % 4 == 0 ? broadwell::DecodeBlock(parameter, block)
                      : kind % 4 == 1
                          ? skylake::DecodeBlock(0x10014400 + parameter % 32, block)
                          : DecodeQualcommRecord(kQualcommSendingOrder[parameter % 6], block);
  RequireInside(fields, block.size());
}

}  // namespace orv::fuzz
