// The system object: the root of every client's work.
#pragma once

#include <memory>
#include <string>

#include "config/technology_library.h"
#include "frame/ref_counted.h"
#include "orv_apo/orv_apo.h"

namespace orv {

class CORVEndpointEnumerator;

class CORVAPOSystem final : public RefCounted<Chain<IORVAPOSystem>> {
 public:
  explicit CORVAPOSystem(Module& module);

  HRESULT STDMETHODCALLTYPE EnumerateORVEndpoints(IORVEndpointEnumerator** ep_enum) override;
  HRESULT STDMETHODCALLTYPE InitializeSystem(BSTR apo_path) override;

  const std::shared_ptr<Machine>& machine() const noexcept { return machine_; }
  // Not before the system is initialised.
  const ORVAPOProcessInfo& process_info() const noexcept { return *process_info_; }

  // Returns E_UNEXPECTED without a machine to work on.
  HRESULT FinalConstruct() { return machine_ != nullptr ? S_OK : E_UNEXPECTED; }

 private:
  std::shared_ptr<Machine> machine_;
  std::unique_ptr<ORVAPOProcessInfo> process_info_;
  std::wstring apo_path_;  // empty: not initialised; else it ends in a backslash
};

}  // namespace orv
