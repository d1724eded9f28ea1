#include "intel_dsp/driver_clients.h"

#include <utility>

namespace orv {

IntelDriverClients& IntelDriverClients::OfProcess() {
  // Never destroyed: while the library is being unloaded no driver may be talked to.
  union Undestroyed {
    Undestroyed() : clients() {}
    ~Undestroyed() {}
    IntelDriverClients clients;
  };
  static Undestroyed kept;
  return kept.clients;
}

std::recursive_mutex& IntelDriverClients::Lock() {
  static std::recursive_mutex lock;
  return lock;
}

HRESULT IntelDriverClients::ReplaceBroadwell(Machine& machine) {
  HRESULT status = E_FAIL;
  broadwell_ = std::make_unique<ORVAPOIntelDriverInterface_BRW>(machine, status,
                                                                broadwell::kPostProcessingModule);
  return status;
}

HRESULT IntelDriverClients::ReplaceSkylake(const std::shared_ptr<Machine>& machine,
                                           const std::shared_ptr<NamedEvent>& event,
                                           const std::wstring& device_id) {
  // The present client takes its event back before the new one registers what may be the same.
  skylake_ = std::make_unique<KELAPOIntelDriverInterface_SKL>(machine, event);
  return skylake_->ActivateIKsControls(device_id);
}

void IntelDriverClients::Release() noexcept {
  const std::scoped_lock lock(Lock());
  broadwell_.reset();
  skylake_.reset();
}

}  // namespace orv
