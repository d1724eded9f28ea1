#include "api/component.h"
#include "api/process_services.h"
#include "frame/registrar.h"
#include "platform/dynamic_library.h"

namespace orv {
namespace {

constexpr wchar_t kApplicationId[] = L"{324D7BBA-BECA-4027-B969-AA30B271B703}";

using ScriptStep = HRESULT (Registrar::*)(std::string_view script);

HRESULT RunScript(Registrar& registrar, ScriptStep step, unsigned number) {
  const auto script = RegistrationScript(number);
  return script ? (registrar.*step)(*script) : E_UNEXPECTED;
}

HRESULT RunClassScripts(Registrar& registrar, ScriptStep step, std::span<const ClassRow> classes) {
  for (const ClassRow& row : classes) {
    const HRESULT status = RunScript(registrar, step, row.script);
    if (FAILED(status)) return status;
  }
  return S_OK;
}

Registrar MakeRegistrar(Machine& machine, const Module& module) {
  Registrar registrar(machine.registry(), module.per_user());
  registrar.AddReplacement(L"MODULE", OwnModulePath());
  registrar.AddReplacement(L"APPID", kApplicationId);
  return registrar;
}

HRESULT Register(Machine& machine, const Module& module) {
  Registrar registrar = MakeRegistrar(machine, module);
  HRESULT status = RunScript(registrar, &Registrar::Register, kModuleScript);
  if (SUCCEEDED(status))
    status = RunClassScripts(registrar, &Registrar::Register, module.classes());
  if (SUCCEEDED(status)) status = RegisterTypeLibrary(machine, OwnModulePath(), module.per_user());
  return status;
}

HRESULT Unregister(Machine& machine, const Module& module) {
  Registrar registrar = MakeRegistrar(machine, module);
  HRESULT status = RunClassScripts(registrar, &Registrar::Unregister, module.classes());
  if (SUCCEEDED(status)) status = UnregisterTypeLibrary(machine, module.per_user());
  if (SUCCEEDED(status)) status = RunScript(registrar, &Registrar::Unregister, kModuleScript);
  return status;
}

HRESULT OnMachine(Module& module, HRESULT (*step)(Machine&, const Module&)) {
  const auto machine = module.machine();
  if (machine == nullptr) return E_UNEXPECTED;
  return InSystemLocale([&] { return step(*machine, module); });
}

}  // namespace

HRESULT RegisterComponent(Module& module) { return OnMachine(module, Register); }

HRESULT UnregisterComponent(Module& module) { return OnMachine(module, Unregister); }

}  // namespace orv
