// The operating modes of an endpoint's configuration, one after another.
#pragma once

#include <cstddef>

#include "api/endpoint_context.h"
#include "api/operating_mode.h"
#include "config/configuration_file.h"

namespace orv {

// Returns the modes as they were when it was made, also after a reload of the configuration.
class CORVAPOOpModeEnumerator final : public RefCounted<Chain<IORVAPOOpModeEnumerator>> {
 public:
  CORVAPOOpModeEnumerator(Module& module, EndpointContext& endpoint, const ORVAPOModeList& modes)
      : RefCounted(&module), endpoint_(endpoint), modes_(modes) {}

  // Moves to the next mode also if it fails.
  HRESULT STDMETHODCALLTYPE Next(IORVOperatingMode** op_mode) override;

 private:
  CountedPart<EndpointContext> endpoint_;
  ORVAPOModeList modes_;
  std::size_t cursor_ = 0;
};

}  // namespace orv
