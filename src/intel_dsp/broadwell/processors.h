// The Broadwell module's parameters from the controls of the suite "ZENSND-".
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "intel_dsp/broadwell/coefficients.h"
#include "intel_dsp/broadwell/parameter_blocks.h"
#include "intel_dsp/conversion/converters.h"
#include "intel_dsp/drivers.h"

namespace orv::broadwell {

// Processors send the parameters of their name and throw IntelException if a control does not
// convert or the driver refuses. `apply` is passed to the driver unchanged.
class KELAPOIntelDSP_BRW {
 public:
  static constexpr std::uint32_t kLeft = 0;
  static constexpr std::uint32_t kRight = 1;
  static constexpr std::uint32_t kBothChannels = 2;

  explicit KELAPOIntelDSP_BRW(BroadwellDriver& driver) : driver_(driver) {}

  void ProcessGlobalControls(const ControlValueMap& map, std::uint8_t apply);
  void ProcessHLControls(const ControlValueMap& map, std::uint8_t apply);
  void ProcessHPFControls(const ControlValueMap& map, std::uint8_t apply);
  // Throws only if memory runs out; a diagnostic line reports what else fails. A band whose
  // frequency or quality factor is not above 0 passes its input on. A channel is not sent if a
  // frequency reaches half the sample rate or a shift of the design is outside 0 to 31.
  void ProcessPEQControls(const ControlValueMap& map, std::uint8_t apply, std::uint32_t channel);
  // The same for both channels, after a high-pass whose failure is only reported.
  void ProcessHPFAndPEQControls(const ControlValueMap& map, std::uint8_t apply);
  void ProcessAMHDControls(const ControlValueMap& map, std::uint8_t apply);
  void ProcessEvenvolumeControls(const ControlValueMap& map, std::uint8_t apply);

  // One control by name, as a 32-bit integer: E_NOTIMPL for controls that cannot be read, E_FAIL if
  // the driver refuses or its status is not 0.
  HRESULT GetProperty(const std::wstring& name, std::uint8_t apply, VARIANT& value);
  // E_INVALIDARG for variants that are not 32-bit or 64-bit integers (enable controls of the AMHD
  // block: 32-bit only). S_OK otherwise, also if the driver fails, the name is not known, the
  // control does not take the value or the block was read in part: a diagnostic line reports which.
  HRESULT SetProperty(const std::wstring& name, std::uint8_t apply, const VARIANT& value);

 private:
  // Returns whether the driver took the request and its status is 0.
  bool Send(std::uint32_t parameter, std::span<const std::byte> bytes, std::uint8_t apply,
            HRESULT& status);
  // Throws if the driver refuses, or if there is nothing to send because a design was refused.
  void SendOrThrow(std::uint32_t parameter, std::span<const std::byte> bytes, std::uint8_t apply,
                   const char* group, const char* failure);
  void SendBlock(const Block& block, const ControlValueMap& map, std::uint8_t apply,
                 const char* group, const char* failure);
  bool Receive(std::uint32_t parameter, std::span<std::byte> bytes, std::uint8_t apply);
  void ProcessChannel(const ControlValueMap& map, std::uint8_t apply, std::uint32_t channel);
  void SendBassCoefficients(const ControlValueMap& map, std::uint8_t apply);
  void SendSpaceCoefficients(const ControlValueMap& map, std::uint8_t apply);
  void SendAmhd(std::uint32_t parameter, const Bytes& bytes, std::uint8_t apply);
  bool ReceiveForChange(std::uint32_t parameter, std::span<std::byte> bytes, std::uint8_t apply);
  bool SendChange(std::uint32_t parameter, const Bytes& bytes, std::uint8_t apply);
  void ChangeField(const FieldPlace& place, std::int32_t value, std::uint8_t apply);

  BroadwellDriver& driver_;
};

}  // namespace orv::broadwell

namespace orv {

using broadwell::KELAPOIntelDSP_BRW;

}  // namespace orv
