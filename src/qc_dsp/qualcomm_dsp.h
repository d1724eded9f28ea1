// The object through which clients write an operating mode into a Qualcomm audio driver.
#pragma once

#include "frame/module.h"
#include "orv_apo/orv_apo.h"
#include "platform/multimedia.h"

namespace orv {

// A new object for an endpoint: `endpoint` is kept alive by it, `device` (may be null) tells the
// form factor. One reference for the caller; E_NOTIMPL without a driver, and `dsp` then is null.
HRESULT CreateQualcommDspForEndpoint(Module& module, IUnknown* endpoint, IMMDevice* device,
                                     IORVAPOQCDSP** dsp);
// For class factories: an object without an endpoint and without a driver. It keeps a form factor;
// its WriteControls answers E_NOTIMPL.
HRESULT CreateQualcommDspForClient(Module& module, IUnknown* outer, REFIID iid, void** object);

}  // namespace orv
