// Through the COM runtime: the component is the one that is registered. Only registration itself
// loads the library, the one beside this program.
#include "cli/client/component.h"

#include "cli/client/host.h"
#include "cli/client/windows/console.h"
#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

// Debug output is raised as an exception, first wide and, if that is not handled, narrow: size with
// the terminator, then the text.
constexpr DWORD kNarrowDebugOutput = 0x40010006;
constexpr DWORD kWideDebugOutput = 0x4001000A;

std::wstring FromSystemCodePage(const char* text, int size) {
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, 0, text, size, wide.data(), static_cast<int>(wide.size()))));
  return wide;
}

LONG CALLBACK ShowDebugOutput(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
  const bool is_wide = record.ExceptionCode == kWideDebugOutput;
  if (!is_wide && record.ExceptionCode != kNarrowDebugOutput) return EXCEPTION_CONTINUE_SEARCH;
  const std::size_t size = record.ExceptionInformation[0];
  const ULONG_PTR text = record.ExceptionInformation[1];
  if (size <= 1) return EXCEPTION_CONTINUE_EXECUTION;
  try {
    const std::wstring line =
        is_wide
            ? std::wstring(reinterpret_cast<const wchar_t*>(text), size - 1)
            : FromSystemCodePage(reinterpret_cast<const char*>(text), static_cast<int>(size - 1));
    if (IsDiagnosticLine(line)) TakeDiagnosticLine(Utf8FromWide(line));
  } catch (...) {
    return EXCEPTION_CONTINUE_EXECUTION;  // without memory the line is lost
  }
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

Component::Component(const std::filesystem::path& machine, Diagnostics diagnostics) {
  if (!machine.empty()) {
    throw Failure(
        kUsage,
        "the component works on the machine it is registered on, not on a simulated one.\n"
        "Leave out --machine.");
  }
  if (diagnostics == Diagnostics::None) return;
  ShowDiagnostics(diagnostics);
  AddVectoredExceptionHandler(TRUE, &ShowDebugOutput);
}

// The runtime unloads it.
Component::~Component() { ShowKeptDiagnostics(); }

DynamicLibrary& Component::Library() const {
  const std::filesystem::path file = ProgramFolder() / "orv_apo_controller.dll";
  if (!library_.loaded() && !library_.Load(file)) {
    throw Failure(kRefused, "the component cannot be loaded; looked for it at\n  {}",
                  PathText(file));
  }
  return library_;
}

HRESULT Component::CreateSystem(IORVAPOSystem** system) const {
  const HRESULT status =
      CoCreateInstance(CLSID_ORVAPOSystem, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(system));
  if (status == REGDB_E_CLASSNOTREG) {
    throw Failure(kRefused,
                  "the component is not registered on this machine.\nRegister it with \"orvctl "
                  "register\", as an administrator.");
  }
  return status;
}

}  // namespace orv::cli
