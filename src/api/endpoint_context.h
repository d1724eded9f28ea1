// What the objects below an endpoint use of it.
#pragma once

#include "config/technology_library.h"
#include "endpoints/endpoint_info.h"
#include "orv_apo/orv_apo.h"

namespace orv {

class EndpointContext {
 public:
  virtual const ORVAPOEndpointInfo& record() const noexcept = 0;
  // Descriptions of every control, for the endpoint's whole life.
  virtual const ORVAPOProcessInfo& technology() const noexcept = 0;
  // The endpoint object; a reference to it keeps all of this alive.
  virtual IORVEndpointInfo5* unknown() noexcept = 0;

 protected:
  ~EndpointContext() = default;
};

}  // namespace orv
