// The object through which clients write an operating mode into a Qualcomm audio driver.
#pragma once

#include "frame/module.h"
#include "orv_apo/orv_apo.h"
#include "platform/multimedia.h"

namespace orv {

// A new object for an endpoint. It keeps `endpoint` alive and reads the form factor of `device`,
// which may be null. One reference for the caller; E_NOTIMPL and a null `dsp` without a driver.
HRESULT CreateQualcommDspForEndpoint(Module& module, IUnknown* endpoint, IMMDevice* device,
                                     IORVAPOQCDSP** dsp);
// For class factories: an object without an endpoint and without a driver. It keeps a form factor;
// its WriteControls returns E_NOTIMPL.
HRESULT CreateQualcommDspForClient(Module& module, IUnknown* outer, REFIID iid, void** object);

}  // namespace orv
