// The object through which clients push operating modes into an Intel audio DSP.
#pragma once

#include <string>

#include "frame/module.h"
#include "orv_apo/orv_apo.h"

namespace orv {

// A new object for an endpoint: `endpoint` is kept alive by it, `device_id` is the endpoint's
// device identifier. One reference for the caller; a failure status leaves `dsp` null.
HRESULT CreateIntelDriverClient(Module& module, IUnknown* endpoint, const std::wstring& device_id,
                                IKELAPOIntelDSP** dsp);
// For class factories: an object without an endpoint, aggregated into `outer` unless that is null.
HRESULT CreateIntelDspForClient(Module& module, IUnknown* outer, REFIID iid, void** object);

// The driver clients are one of a kind in the process and outlive the objects that made them. Lets
// them go, which talks to the drivers: for the moment before the library is unloaded, not for
// unloading itself.
void ReleaseIntelDriverClients();

}  // namespace orv
