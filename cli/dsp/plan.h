// Plans of what a push leaves in a DSP, made by the writers that the component uses.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/dsp_objects.h"
#include "cli/dsp/readback.h"
#include "intel_dsp/conversion/converters.h"

namespace orv::cli {

struct DspPlan {
  // A block that is not sent.
  struct Gap {
    DspBlock block;  // without bytes
    std::string reason;
  };

  std::string driver;
  std::vector<DspBlock> blocks;  // in sending order, with the apply flag or form factor
  std::vector<Gap> missing;      // cannot be made: a control is missing or out of range
  std::vector<Gap> kept;         // not described by the mode: the DSP keeps what it holds
  std::optional<bool> module;    // the module's status, if it is set

  bool sends_anything() const noexcept { return !blocks.empty() || module.has_value(); }
};

// `held` answers what the writers read from the DSP; may be null. `technology` is empty for a whole
// mode, else one of the names that the component takes.
DspPlan PlanMode(const std::string& driver, const ControlValueMap& controls,
                 const std::string& technology, std::uint8_t apply, DspReadback* held);
DspPlan PlanQualcommMode(const std::map<std::wstring, std::int32_t, std::less<>>& controls,
                         std::uint32_t form_factor);

// One property of an Intel DSP. `mode` holds the controls that others depend on.
struct DspProperty {
  HRESULT status = S_OK;  // that the component will return
  DspPlan plan;           // without blocks if nothing would be sent
  std::string reason;     // why nothing would be sent, if a control is the cause
};
DspProperty PlanProperty(const std::string& driver, const std::string& name, const VARIANT& value,
                         const ControlValueMap& mode, std::uint8_t apply, DspReadback* held);

// The block and the field's offset that a property changes; nullopt if it cannot be set by itself.
struct DspPlace {
  std::uint32_t parameter = 0;
  std::size_t offset = 0;
};
std::optional<DspPlace> FindProperty(const std::string& driver, const std::string& name);

// Bands sent to a Broadwell driver directly; the channels are those of KELChannel.
DspPlan PlanEqualizer(const std::vector<EqualizerBand>& bands,
                      const std::vector<KELChannel>& channels, std::uint8_t apply);

// A mode's controls as the component hands them to an Intel DSP: those with a value.
ControlValueMap IntelControls(const Mode& mode, ORVAPOControlType list);
ControlValueMap IntelControls(const DspControlMap& controls);

}  // namespace orv::cli
