#include "api/component.h"
#include "api/config_enumerator.h"
#include "api/control.h"
#include "api/process_services.h"
#include "api/system.h"
#include "dsp_math/transform.h"
#include "frame/object_creation.h"
#include "intel_dsp/intel_dsp.h"
#include "orv_apo/orv_apo.h"
#include "qc_dsp/qualcomm_dsp.h"

namespace orv {
namespace {

template <class Object>
HRESULT Create(Module& module, IUnknown* outer, REFIID iid, void** object) {
  return CreateForClient<Object>(outer, iid, object, module);
}

constexpr ClassRow kClasses[] = {
    {&CLSID_ORVCOMEndpointInfo, 110, nullptr},
    {&CLSID_AnalysisData, 118, nullptr},
    {&CLSID_KELAPOIntelDSP, 119, CreateIntelDspForClient},
    {&CLSID_ORVAPOCOMControl, 113, Create<CORVAPOCOMControl>},
    {&CLSID_ORVOperatingMode, 111, nullptr},
    {&CLSID_ORVAPOSystem, 106, Create<CORVAPOSystem>},
    {&CLSID_ORVAPOConfigProperty, 117, Create<CORVAPOConfigProperty>},
    {&CLSID_ORVAPOConfigEnumerator, 116, Create<CORVAPOConfigEnumerator>},
    {&CLSID_ORVAPOControlEnumerator, 112, nullptr},
    {&CLSID_ORVAPOOpModeEnumerator, 114, nullptr},
    {&CLSID_ORVAPOQCDSP, 115, CreateQualcommDspForClient},
};

}  // namespace

std::span<const ClassRow> ClassTable() { return kClasses; }

// Objects that live from load to unload. The plan is released last: analysis objects have instances
// of it.
struct Component {
  RegisteredTransform analysis_transform{kAnalysisTransform};
  Module module{ClassTable(), OpenDefaultMachine};
};

Module& ComponentModule() {
  static Component component;
  return component.module;
}

}  // namespace orv
