// The writers of the Skylake post-processing module: control blocks, coefficients and single
// controls are filled from controls, checked, sent and read back.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "intel_dsp/drivers.h"
#include "intel_dsp/skylake/block_tables.h"
#include "intel_dsp/skylake/filter_blocks.h"

namespace orv::skylake {

// All fields of the control blocks, in the order in which a write is verified.
inline constexpr std::size_t kSkylakeImageSize = 220;
using SkylakeImage = std::array<std::byte, kSkylakeImageSize>;

// Where the control that SetControl changes has its field; nullopt for any other name.
struct SkylakeControlPlace {
  std::uint32_t parameter = 0;
  std::size_t offset = 0;
};
std::optional<SkylakeControlPlace> FindControl(const std::string& control);

// The writers return 0 or a positive status for success, a negative one for failure. What a writer
// sent, or would have sent, stays in a cache of the process.
class KELAPOIntelDSP_SKL {
 public:
  explicit KELAPOIntelDSP_SKL(SkylakeDriver& driver) : driver_(driver) {}

  // Sends a control block, and the coefficients that it selects before it; the sample rate after
  // the first one. Does not send a block whose coefficients cannot be designed or are refused: it
  // would select coefficients that the module does not have. If controls of the tone or the master
  // volume are missing, the DSP keeps its block.
  HRESULT WriteControls(const Block& block, const ControlValueMap& map, std::uint8_t apply);
  // A high-pass that is switched off is not in the block: its header has order 0, and no words
  // follow. A band whose frequency or quality factor is not above zero becomes a unity section;
  // neither block is sent if a band or a high-pass is at or above half the sample rate.
  HRESULT SetVQ3DHPFAEQControls(const ControlValueMap& map, std::uint8_t apply);
  HRESULT SetPPModuleStatus(std::uint8_t enable, std::uint8_t apply);
  // Reads the block of the process enable and writes it back with `value`, without a range check of
  // its other fields. Returns the status of the read. Does not change the module's own status.
  HRESULT SetProcessEnable(std::uint32_t value, std::uint8_t apply);
  // Gain in tenths of dB; bands 0 to 4.
  HRESULT SetGEQBandGain(int band, std::int16_t gain, std::uint8_t apply);

  // One control by name. `list` holds what was written last. A control that depends on others takes
  // its place there as soon as its block has been read, and its field is computed from the list;
  // E_FAIL if another control is missing, and the list keeps the new value. It does not keep a
  // value that is outside its own range. E_INVALIDARG for other kinds of variants and for names
  // that are not controls of a block.
  HRESULT SetControl(const std::wstring& name, const VARIANT& value, ORVQVTValueList& list,
                     std::uint8_t apply);

  // Reads the twelve control blocks; one that cannot be read is zero. Returns the status of the
  // last read.
  HRESULT GetVQ3DParameters(SkylakeImage& image);
  // Reads the switch that SetProcessEnable writes; leaves `enabled` alone if the read fails.
  HRESULT ReadProcessEnable(bool& enabled, std::uint8_t apply);

  // Both channels are checked before the first is sent; throws IntelException if an order is out
  // of range or words are missing. The status is the first failure.
  HRESULT SetVQ3DFilterCoeff(const FilterCoefficients& left, const FilterCoefficients& right,
                             std::uint8_t apply);
  // Sends a coefficient block and reads it back; E_FAIL if the DSP holds something else.
  HRESULT WriteCoeffToDsp(std::uint32_t parameter, std::span<const std::byte> bytes,
                          std::uint8_t apply);

  static void ClearCache();
  static SkylakeImage CachedImage();
  static bool CachedProcessEnable();

 private:
  SkylakeDriver& driver_;
};

// A block's name and its fields as text. Empty for an unknown parameter; no fields if the size is
// not the block's.
std::string BlockName(std::uint32_t parameter);
std::vector<DecodedField> DecodeBlock(std::uint32_t parameter, std::span<const std::byte> block);

}  // namespace orv::skylake

namespace orv {

using skylake::KELAPOIntelDSP_SKL;
using skylake::SkylakeImage;

}  // namespace orv
