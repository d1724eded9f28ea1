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

// Releases the driver clients, which outlive the objects that made them. This calls the drivers:
// use it before the library is unloaded, not while it is.
void ReleaseIntelDriverClients();

}  // namespace orv
