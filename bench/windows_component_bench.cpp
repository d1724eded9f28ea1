// The times that a client on Windows waits, on this machine's own default device: class creation up
// to the first endpoint, its operating mode, and storing a control's value beside a bare registry
// write of the same bytes. Installs the component and a configuration file: the one of the command
// line, or one of so many modes, of which the last is chosen. Unregisters the component at the end.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/configuration_folder.h"
#include "bench/measure.h"
#include "orv_apo/orv_apo.h"
#include "platform/com_memory.h"
#include "platform/com_ptr.h"
#include "platform/com_runtime.h"
#include "platform/windows/windows_machine.h"

namespace orv {
namespace {

constexpr int kWrites = 5000;
constexpr int kCreations = 500;
constexpr int kControls = 20;  // of each mode of a file that is made here

void Print(const char* what, Durations& times) {
  std::printf("%-34s median %9.2f us   99th percentile %9.2f us\n", what, times.Median(),
              times.Quantile(0.99));
}

void Check(bool done, const char* what) {
  if (done) return;
  std::fprintf(stderr, "%s failed\n", what);
  std::exit(1);
}

ComPtr<IORVEndpointInfo> FirstEndpoint() {
  ComPtr<IORVAPOSystem> system;
  ComPtr<IORVEndpointEnumerator> endpoints;
  ComPtr<IORVEndpointInfo> endpoint;
  Check(SUCCEEDED(CoCreateInstance(CLSID_ORVAPOSystem, nullptr, CLSCTX_INPROC_SERVER,
                                   IID_IORVAPOSystem, system.PutVoid())) &&
            SUCCEEDED(system->InitializeSystem(nullptr)) &&
            SUCCEEDED(system->EnumerateORVEndpoints(endpoints.Put())) &&
            endpoints->Next(endpoint.Put()) == S_OK,
        "class creation to first endpoint");
  return endpoint;
}

void CompareWrites() {
  const auto endpoint = FirstEndpoint();
  ComPtr<IORVOperatingMode> mode;
  ComPtr<IORVAPOControlEnumerator> controls;
  ComPtr<IORVAPOControl> control;
  Check(endpoint->get_OpMode(mode.Put()) == S_OK &&
            mode->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, controls.Put()) == S_OK &&
            controls->Next(control.Put()) == S_OK,
        "finding a control");
  UniqueBstr path;
  UniqueBstr mode_name;
  Check(
      endpoint->get_RegistryPath(OutPtr(path)) == S_OK && mode->get_Name(OutPtr(mode_name)) == S_OK,
      "names");
  WindowsMachine machine;
  const std::wstring name(ViewOf(mode_name.get()));
  std::unique_ptr<RegistryKey> key;
  Check(machine.registry().OpenKey(RegRoot::LocalMachine, path.get(), kKeyRead | kKeyWrite, key) ==
            kRegOk,
        "opening the endpoint's key");
  // Two values in turn, so that every write changes the image.
  std::vector<std::uint8_t> images[2];
  for (const LONG value : {0, 1}) {
    std::uint32_t type = kRegNone;
    Check(control->put_Value(value) == S_OK, "storing a value");
    Check(ReadValue(*key, name, type, images[value]) == kRegOk, "reading the image");
  }
  std::printf("image of %zu bytes, %d writes of each kind in turn\n", images[0].size(), kWrites);
  Durations through;
  Durations bare;
  for (int i = 0; i < kWrites; ++i) {
    through.Measure([&] { control->put_Value(i % 2); });
    const auto& image = images[(i + 1) % 2];
    bare.Measure([&] {
      key->SetValue(name, kRegBinary, image.data(), static_cast<std::uint32_t>(image.size()));
    });
  }
  Print("control's Value put", through);
  Print("bare registry write", bare);
  std::printf("%-34s %.2f\n", "ratio of the medians", through.Median() / bare.Median());
}

// With the last mode chosen, which a search from the beginning finds last.
void MeasureOperatingMode() {
  const auto endpoint = FirstEndpoint();
  ComPtr<IORVAPOOpModeEnumerator> modes;
  ComPtr<IORVOperatingMode> mode;
  Check(endpoint->GetOpModeEnumerator(modes.Put()) == S_OK, "enumerating modes");
  int count = 0;
  for (; modes->Next(mode.Put()) == S_OK; ++count)
    Check(endpoint->put_OpMode(mode.get()) == S_OK, "choosing a mode");
  Durations times;
  for (int i = 0; i < kWrites; ++i)
    times.Measure([&] { Check(endpoint->get_OpMode(mode.Put()) == S_OK, "get_OpMode"); });
  std::printf("%d modes\n", count);
  Print("get_OpMode, last mode", times);
  Check(endpoint->SetDefault() == S_OK, "choosing the default mode");
}

void MeasureCreation() {
  Durations times;
  for (int i = 0; i < kCreations; ++i)
    times.Measure([] { Check(static_cast<bool>(FirstEndpoint()), "endpoint"); });
  Print("class creation to first endpoint", times);
}

}  // namespace
}  // namespace orv

int wmain(int argc, wchar_t** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "windows_component_bench COMPONENT.dll CONFIGURATION.xml|MODES\n");
    return 2;
  }
  namespace fs = std::filesystem;
  const fs::path file = L"C:\\Program Files\\ORV Labs\\APO\\orv_apo_config.xml";
  fs::create_directories(file.parent_path());
  fs::remove(file);
  const int modes = _wtoi(argv[2]);  // 0 for the name of a file
  const orv::ConfigurationFolder made(modes, orv::kControls, 0);
  fs::copy_file(modes != 0 ? fs::path(made.file()) : fs::path(argv[2]), file);
  const orv::ComRuntime runtime;
  const HMODULE component = LoadLibraryW(argv[1]);
  const auto call = [component](const char* name) {
    return reinterpret_cast<ORVDllRegisterServer>(
        reinterpret_cast<void*>(GetProcAddress(component, name)));
  };
  orv::Check(component != nullptr && SUCCEEDED(call("DllRegisterServer")()), "registration");
  orv::MeasureCreation();
  orv::MeasureOperatingMode();
  orv::CompareWrites();
  call("DllUnregisterServer")();
  return 0;
}
