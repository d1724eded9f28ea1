#include "cli/program_host.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "cli/client/component.h"
#include "cli/orvctl_program.h"
#include "cli/windows/process.h"
#include "platform/windows/system_calls.h"
#include "platform/windows/under_wine.h"

namespace orv::cli {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kComponentKey[] = L"Software\\ORV Labs";

Handle OpenStream(const fs::path& file, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  return Handle(CreateFileW(file.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                            disposition, 0, nullptr));
}

// Where the component looks when the registry names nothing.
fs::path ConfigurationFolder() { return L"C:\\Program Files\\ORV Labs"; }

fs::path TechnologyLibrary() {
  wchar_t folder[MAX_PATH];
  GetSystemDirectoryW(folder, MAX_PATH);
  return fs::path(folder) / "kxtech64.dll";
}

void Clear() {
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kComponentKey);
  std::error_code ignored;
  fs::remove_all(ConfigurationFolder(), ignored);
  fs::remove(TechnologyLibrary(), ignored);
}

}  // namespace

int RunOrvctl(const Arguments& arguments, const StreamFiles& streams) {
  const Handle input = OpenStream(streams.input.empty() ? fs::path("NUL") : streams.input,
                                  GENERIC_READ, OPEN_EXISTING);
  const Handle output = OpenStream(streams.output, GENERIC_WRITE, CREATE_ALWAYS);
  const Handle errors = OpenStream(streams.errors, GENERIC_WRITE, CREATE_ALWAYS);
  const ProcessEnd end =
      RunProcess(fs::absolute(ORV_ORVCTL), arguments, {input.get(), output.get(), errors.get()});
  if (!end.failure.empty()) ADD_FAILURE() << "orvctl: " << end.failure;
  // A crash or the system has ended the program.
  if (end.failure.empty() && end.status > 3)
    ADD_FAILURE() << "orvctl ended with status 0x" << std::hex << end.status;
  return static_cast<int>(end.status);
}

// The component works on this system, so that the machine is the Wine prefix.
ComponentMachine::ComponentMachine(const fs::path&) {
  if (!IsUnderWine())
    throw std::runtime_error("this test replaces what is installed; it runs under Wine only");
  Clear();
  const fs::path sample = fs::path(ORV_SAMPLE_MACHINES) / "skylake-laptop" / "drive_c";
  fs::create_directories(ConfigurationFolder() / "APO");
  const fs::path configuration = fs::path("ORV Labs") / "APO" / "orv_apo_config.xml";
  fs::copy_file(sample / "Program Files" / configuration,
                ConfigurationFolder().parent_path() / configuration);
  fs::copy_file(ORV_TECHNOLOGY_LIBRARY, TechnologyLibrary());
  if (FAILED(Component({}).SetRegistered(true, false)))
    throw std::runtime_error("the component cannot be registered");
}

ComponentMachine::~ComponentMachine() {
  Component({}).SetRegistered(false, false);
  Clear();
}

}  // namespace orv::cli
