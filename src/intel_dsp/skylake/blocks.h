// Control blocks: filled from controls, checked, exchanged with the driver and cached.
#pragma once

#include <exception>
#include <functional>

#include "intel_dsp/drivers.h"
#include "intel_dsp/skylake/block_tables.h"
#include "platform/diagnostics.h"

namespace orv::skylake {

// Fills one field; throws IntelException, the field untouched, if its controls do not allow it.
void FillField(const Field& field, const ControlValueMap& map, BlockBytes& bytes);

// Fills a field that could not be converted; false rethrows the exception.
using FieldRescue =
    std::function<bool(const Field& field, const IntelException& error, BlockBytes& bytes)>;
// Fills the fields in their order. If it throws, `bytes` holds what was filled until then.
void FillBlock(const Block& block, const ControlValueMap& map, BlockBytes& bytes,
               const FieldRescue& rescue = {});

class BlockOutOfRange : public std::exception {
 public:
  const char* what() const noexcept override { return "HR error: 0x80004005"; }
};

// S_OK or a positive status if the driver call succeeded, else a failure.
HRESULT ReadParameter(SkylakeDriver& driver, std::uint32_t parameter, std::span<std::byte> bytes,
                      std::uint8_t apply);
HRESULT SendParameter(SkylakeDriver& driver, std::uint32_t parameter,
                      std::span<const std::byte> bytes, std::uint8_t apply);

// Leaves `bytes` alone if the read fails.
HRESULT ReadBlock(SkylakeDriver& driver, const Block& block, BlockBytes& bytes, std::uint8_t apply);
// Sends a block as it is and reports the result.
HRESULT SendBlock(SkylakeDriver& driver, const Block& block, const BlockBytes& bytes,
                  std::uint8_t apply, const char* operation);
// Remembers the block and sends it after `coefficients`; does not send it if those are refused.
// Throws BlockOutOfRange, before anything is sent, if a field is outside its range.
HRESULT WriteBlock(SkylakeDriver& driver, const Block& block, const BlockBytes& bytes,
                   const std::optional<CoefficientWrite>& coefficients, std::uint8_t apply,
                   const char* operation);

void RememberBlock(const Block& block, const BlockBytes& bytes) noexcept;
void ReportOperation(bool success, const char* block, const char* operation);

// Reports any exception of `write` and returns E_FAIL for it.
template <class Write>
HRESULT Guarded(const char* function, Write write) {
  try {
    return write();
  } catch (const std::exception& error) {
    Diagnose(ORV_HERE(function), L"Error: %S\n", error.what());
    return E_FAIL;
  }
}

}  // namespace orv::skylake
