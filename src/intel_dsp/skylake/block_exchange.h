// Blocks between the writers, the driver and the cache of what was written last.
#pragma once

#include <exception>

#include "intel_dsp/skylake/block_tables.h"
#include "intel_dsp/skylake/parameter_blocks.h"
#include "platform/diagnostics.h"

namespace orv {

class BlockOutOfRange : public std::exception {
 public:
  const char* what() const noexcept override { return "HR error: 0x80004005"; }
};

// S_OK or a positive status when the driver call succeeded, else a failure.
HRESULT ReadParameter(SkylakeDriver& driver, std::uint32_t parameter, std::span<std::byte> bytes,
                      std::uint8_t apply);
HRESULT SendParameter(SkylakeDriver& driver, std::uint32_t parameter,
                      std::span<const std::byte> bytes, std::uint8_t apply);

// `bytes` stay as they are when the read fails.
HRESULT ReadBlock(SkylakeDriver& driver, const SkylakeBlock& block, BlockBytes& bytes,
                  std::uint8_t apply);
// Remembers the block and sends it, `coefficients` before it; a refusal of these keeps the block
// back. Throws BlockOutOfRange, nothing sent, when a field is outside its range.
HRESULT WriteBlock(SkylakeDriver& driver, const SkylakeBlock& block, const BlockBytes& bytes,
                   const std::optional<CoefficientWrite>& coefficients, std::uint8_t apply,
                   const char* operation);

void RememberBlock(const SkylakeBlock& block, const BlockBytes& bytes) noexcept;

constexpr const char* MethodName(const char* qualified) {
  const char* name = qualified;
  for (; *qualified != 0; ++qualified)
    if (*qualified == ':') name = qualified + 1;
  return name;
}

// Ends in E_FAIL, reported, whatever `write` throws.
template <class Write>
HRESULT Guarded(const char* function, Write write) {
  try {
    return write();
  } catch (const std::exception& error) {
    Diagnose(ORV_HERE(function), L"Error: %S\n", error.what());
    return E_FAIL;
  }
}

}  // namespace orv
