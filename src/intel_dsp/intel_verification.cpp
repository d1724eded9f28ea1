#include "intel_dsp/intel_verification.h"

#include <optional>
#include <utility>

#include "intel_dsp/driver_clients.h"
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
  const std::scoped_lock lock(IntelDriverClients::Lock());
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

}  // namespace orv
