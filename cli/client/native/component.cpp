// Without a COM runtime: the component is a shared library near this program, used through its
// exports.
#include "cli/client/component.h"

#include <cstdlib>
#include <vector>

#include "cli/client/diagnostic_lines.h"
#include "cli/client/host.h"
#include "cli/show/failure.h"

// The component's channel for diagnostic lines.
extern "C" __attribute__((visibility("default"))) void OrvDebugOutput(const char* line,
                                                                      std::size_t size) {
  orv::cli::TakeDiagnosticLine({line, size});
}

namespace orv::cli {
namespace {

std::vector<std::filesystem::path> Candidates() {
  constexpr char kLibraryName[] = "liborv_apo_controller.so";
  if (const char* named = std::getenv("ORV_COMPONENT"); named != nullptr && *named != 0)
    return {named};
  const std::filesystem::path folder = ProgramFolder();
  return {folder / kLibraryName, folder / "../lib/orv_apo" / kLibraryName};
}

}  // namespace

Component::Component(const std::filesystem::path& machine, Diagnostics diagnostics) {
  // Absolute: programs that this one starts may run in another folder.
  setenv(kMachineVariable, std::filesystem::absolute(machine).c_str(), 1);
  if (diagnostics != Diagnostics::None) {
    ShowDiagnostics(diagnostics);
    setenv("ORV_DIAGNOSTICS", "program", 1);
  }
  std::string places;
  for (const std::filesystem::path& candidate : Candidates()) {
    std::error_code ignored;
    if (std::filesystem::exists(candidate, ignored) && library_.Load(candidate.string())) return;
    places += "\n  " + candidate.lexically_normal().string();
  }
  throw Failure(kRefused,
                "the component cannot be loaded; looked for it at{}\nName its file in "
                "the environment variable ORV_COMPONENT.",
                places);
}

// The component releases what its objects left when it is asked, before it is unloaded.
Component::~Component() {
  if (const auto can_unload = Export<ORVDllCanUnloadNow>("DllCanUnloadNow")) can_unload();
  ShowKeptDiagnostics();
}

DynamicLibrary& Component::Library() const { return library_; }

HRESULT Component::CreateSystem(IORVAPOSystem** system) const {
  const auto get_class = Export<ORVDllGetClassObject>("DllGetClassObject");
  if (get_class == nullptr) return CLASS_E_CLASSNOTAVAILABLE;
  ComPtr<IClassFactory> factory;
  const HRESULT status = get_class(CLSID_ORVAPOSystem, IID_PPV_ARGS(factory.Put()));
  if (FAILED(status)) return status;
  return factory->CreateInstance(nullptr, IID_PPV_ARGS(system));
}

}  // namespace orv::cli
