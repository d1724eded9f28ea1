// The driver clients of this process: one of a kind, shared by all Intel DSP objects.
#pragma once

#include <memory>
#include <string>

#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/skylake/driver_client.h"

namespace orv {

// Not synchronised: callers use one object at a time. Clients are null until an object needed them
// and after Release.
class IntelDriverClients {
 public:
  static IntelDriverClients& OfProcess();

  ORVAPOIntelDriverInterface_BRW* broadwell() const noexcept { return broadwell_.get(); }
  KELAPOIntelDriverInterface_SKL* skylake() const noexcept { return skylake_.get(); }

  // Put a new client in the place of the present one, whose driver is let go; the status is how
  // opening the driver went. The present one stays when memory runs out.
  HRESULT ReplaceBroadwell(Machine& machine);
  HRESULT ReplaceSkylake(const std::shared_ptr<Machine>& machine,
                         const std::shared_ptr<NamedEvent>& event, const std::wstring& device_id);
  void Release() noexcept;

 private:
  std::unique_ptr<ORVAPOIntelDriverInterface_BRW> broadwell_;
  std::unique_ptr<KELAPOIntelDriverInterface_SKL> skylake_;
};

}  // namespace orv
