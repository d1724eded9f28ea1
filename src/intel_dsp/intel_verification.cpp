#include "intel_dsp/intel_verification.h"

#include <optional>
#include <utility>

#include "intel_dsp/skylake/driver_client.h"
#include "platform/diagnostics.h"

namespace orv {
namespace {

struct Images {
  SkylakeImage sent;
  SkylakeImage read;
};
std::optional<Images> last_images;

}  // namespace

IntelVerification LastIntelVerification() {
  if (!last_images) return {};
  return {true, CompareSkylakeImages(last_images->sent, last_images->read)};
}

HRESULT VerifySkylakeImages(const SkylakeImage& sent, const SkylakeImage& read) {
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::SetControlParams");
  last_images = Images{sent, read};
  DumpBuffer(sent);
  DumpBuffer(read);
  if (CompareSkylakeImages(sent, read).empty()) {
    Diagnose(here, L"OK: VQ3D parameters in DSP values matched inputs\n");
    return S_OK;
  }
  Diagnose(here, L"Error: VQ3D parameters to/from DSP does NOT match\n");
  for (std::size_t i = 0; i < sent.size(); ++i) {
    if (sent[i] == read[i]) continue;
    Diagnose(here, L"i=%d, 0x0%x, 0x0%x\n", i, std::to_integer<int>(sent[i]),
             std::to_integer<int>(read[i]));
  }
  return E_FAIL;
}

HRESULT ReadSkylakeImage(const std::shared_ptr<Machine>& machine, const std::wstring& device_id,
                         SkylakeImage& image) {
  KELAPOIntelDriverInterface_SKL client(machine, nullptr);
  const HRESULT status = client.ActivateIKsControls(device_id);
  return FAILED(status) ? status : KELAPOIntelDSP_SKL(client).GetVQ3DParameters(image);
}

}  // namespace orv
