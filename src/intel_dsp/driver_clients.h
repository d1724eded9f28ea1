// The driver clients of this process: one of a kind, shared by all Intel DSP objects.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/skylake/driver_client.h"
#include "platform/guard.h"

namespace orv {

// Clients are null until an object needed them and after Release. Whoever uses them, or what the
// process remembers of the blocks it sent, holds the lock of the process for the whole operation.
class IntelDriverClients {
 public:
  static IntelDriverClients& OfProcess();
  // Taken after no lock of the module: opening the machine comes before it.
  static std::recursive_mutex& Lock();

  ORVAPOIntelDriverInterface_BRW* broadwell() const noexcept { return broadwell_.get(); }
  KELAPOIntelDriverInterface_SKL* skylake() const noexcept { return skylake_.get(); }

  // Replace the present client by a new one and close the present one's driver. Return the status
  // of opening the driver. The present client stays if memory runs out.
  HRESULT ReplaceBroadwell(Machine& machine);
  HRESULT ReplaceSkylake(const std::shared_ptr<Machine>& machine,
                         const std::shared_ptr<NamedEvent>& event, const std::wstring& device_id);
  void Release() noexcept;

 private:
  std::unique_ptr<ORVAPOIntelDriverInterface_BRW> broadwell_;
  std::unique_ptr<KELAPOIntelDriverInterface_SKL> skylake_;
};

// Runs an operation of an Intel DSP object, which has the clients to itself.
template <class Body>
HRESULT WithDriverClients(Body&& body) noexcept {
  return Guard([&] {
    const std::scoped_lock lock(IntelDriverClients::Lock());
    return std::forward<Body>(body)();
  });
}

}  // namespace orv
