#include "endpoints/endpoint_info.h"

#include "endpoints/endpoint_loader.h"

namespace orv {

void ORVAPOEndpointInfo::Reset() { *this = ORVAPOEndpointInfo(*machine_); }

bool ORVAPOEndpointInfo::Attach(IMMDevice* device, bool is_render) {
  ComPtr<IMMDevice> taken(device);  // it may be the one that Reset releases
  Reset();
  device_ = std::move(taken);
  is_render_ = is_render;
  return Load();
}

bool ORVAPOEndpointInfo::Load() { return EndpointLoader(*this).Run(); }

}  // namespace orv
