// The component as its clients use it, on a simulated machine.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <memory>
#include <utility>

#include "api/component.h"
#include "bench/machines.h"
#include "orv_apo/orv_apo.h"
#include "platform/com_memory.h"
#include "platform/com_ptr.h"

namespace orv {

class BenchComponent : boost::noncopyable {
 public:
  // Without `technology` the technology library is sought where it is installed.
  explicit BenchComponent(std::shared_ptr<SimulatedMachine> machine, BSTR technology = nullptr) {
    ComponentModule().SetMachine(std::move(machine));
    ComPtr<IClassFactory> factory;
    DllGetClassObject(CLSID_ORVAPOSystem, IID_IClassFactory, factory.PutVoid());
    factory->CreateInstance(nullptr, IID_IORVAPOSystem, system_.PutVoid());
    system_->InitializeSystem(technology);
  }
  ~BenchComponent() {
    system_.Reset();
    ComponentModule().SetMachine(nullptr);
  }

  ComPtr<IORVEndpointEnumerator> Endpoints() {
    ComPtr<IORVEndpointEnumerator> endpoints;
    system_->EnumerateORVEndpoints(endpoints.Put());
    return endpoints;
  }
  ComPtr<IORVEndpointInfo> FirstEndpoint() {
    ComPtr<IORVEndpointInfo> endpoint;
    Endpoints()->Next(endpoint.Put());
    return endpoint;
  }

 private:
  NoDiagnostics silence_;
  ComPtr<IORVAPOSystem> system_;
};

}  // namespace orv
