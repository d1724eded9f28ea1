// The native build works on the simulated machine whose folder ORV_MACHINE names.
#include <cstdlib>

#include "api/process_services.h"
#include "platform/diagnostics.h"
#include "platform/text.h"
#include "simulated/simulated_machine.h"

namespace orv {

std::shared_ptr<Machine> OpenDefaultMachine() {
  const char* folder = std::getenv("ORV_MACHINE");
  if (folder == nullptr || *folder == '\0') {
    Diagnose(ORV_HERE("CORV_APO2011_ControllerModule::OpenMachine"),
             L"ORV_MACHINE names no machine folder\n");
    return nullptr;
  }
  FileError error;
  std::shared_ptr<Machine> machine = SimulatedMachine::Open(folder, error);
  if (machine == nullptr) {
    Diagnose(ORV_HERE("CORV_APO2011_ControllerModule::OpenMachine"), L"%s\n",
             WideFromUtf8(error.Text()));
  }
  return machine;
}

// Registration does not depend on a thread locale in this build.
HRESULT InSystemLocale(const std::function<HRESULT()>& step) { return step(); }

}  // namespace orv
