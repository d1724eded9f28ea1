// What a client on Windows waits for, on this machine's own default device: storing a control's
// value beside a bare registry write of the same bytes, and class creation up to the first
// endpoint. Started with the component's path and a configuration file; both are put in place and
// taken back.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "orv_apo/orv_apo.h"
#include "platform/com_ptr.h"

namespace orv {
namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::vector<double>;

constexpr int kWrites = 5000;
constexpr int kCreations = 500;

template <class Work>
double Timed(const Work& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

void Print(const char* what, Microseconds& times) {
  std::sort(times.begin(), times.end());
  std::printf("%-34s median %9.2f us   99th percentile %9.2f us\n", what, times[times.size() / 2],
              times[times.size() * 99 / 100]);
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

std::wstring Take(BSTR text) {
  const std::wstring result(text, SysStringLen(text));
  SysFreeString(text);
  return result;
}

// The stored image of a mode, and the registry's own way to write it.
class StoredImage {
 public:
  StoredImage(const std::wstring& path, std::wstring name) : name_(std::move(name)) {
    Check(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0,
                        KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_WOW64_64KEY, &key_) == ERROR_SUCCESS,
          "opening the endpoint's key");
  }
  ~StoredImage() { RegCloseKey(key_); }
  StoredImage(const StoredImage&) = delete;
  StoredImage& operator=(const StoredImage&) = delete;

  std::vector<BYTE> Read() const {
    std::vector<BYTE> bytes(1 << 16);
    DWORD size = static_cast<DWORD>(bytes.size());
    Check(RegQueryValueExW(key_, name_.c_str(), nullptr, nullptr, bytes.data(), &size) ==
              ERROR_SUCCESS,
          "reading the image");
    bytes.resize(size);
    return bytes;
  }
  void Write(const std::vector<BYTE>& bytes) const {
    RegSetValueExW(key_, name_.c_str(), 0, REG_BINARY, bytes.data(),
                   static_cast<DWORD>(bytes.size()));
  }

 private:
  std::wstring name_;
  HKEY key_ = nullptr;
};

void CompareWrites() {
  const auto endpoint = FirstEndpoint();
  ComPtr<IORVOperatingMode> mode;
  ComPtr<IORVAPOControlEnumerator> controls;
  ComPtr<IORVAPOControl> control;
  Check(endpoint->get_OpMode(mode.Put()) == S_OK &&
            mode->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, controls.Put()) == S_OK &&
            controls->Next(control.Put()) == S_OK,
        "finding a control");
  BSTR path = nullptr;
  BSTR name = nullptr;
  Check(endpoint->get_RegistryPath(&path) == S_OK && mode->get_Name(&name) == S_OK, "names");
  const StoredImage image(Take(path), Take(name));
  // Two values in turn, so that every write changes something.
  std::vector<BYTE> images[2];
  for (const LONG value : {0, 1}) {
    Check(control->put_Value(value) == S_OK, "storing a value");
    images[value] = image.Read();
  }
  std::printf("image of %zu bytes, %d writes of each kind in turn\n", images[0].size(), kWrites);
  Microseconds through;
  Microseconds bare;
  for (int i = 0; i < kWrites; ++i) {
    through.push_back(Timed([&] { control->put_Value(i % 2); }));
    bare.push_back(Timed([&] { image.Write(images[(i + 1) % 2]); }));
  }
  Print("control's Value put", through);
  Print("bare RegSetValueExW", bare);
  std::printf("%-34s %.2f\n", "ratio of the medians",
              through[through.size() / 2] / bare[bare.size() / 2]);
}

void MeasureCreation() {
  Microseconds times;
  for (int i = 0; i < kCreations; ++i)
    times.push_back(Timed([] { Check(static_cast<bool>(FirstEndpoint()), "endpoint"); }));
  Print("class creation to first endpoint", times);
}

}  // namespace
}  // namespace orv

int wmain(int argc, wchar_t** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "windows_component_bench COMPONENT.dll CONFIGURATION.xml\n");
    return 2;
  }
  namespace fs = std::filesystem;
  const fs::path folder = L"C:\\Program Files\\ORV Labs\\APO";
  fs::create_directories(folder);
  fs::copy_file(argv[2], folder / L"orv_apo_config.xml", fs::copy_options::overwrite_existing);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  const HMODULE component = LoadLibraryW(argv[1]);
  const auto call = [component](const char* name) {
    return reinterpret_cast<ORVDllRegisterServer>(
        reinterpret_cast<void*>(GetProcAddress(component, name)));
  };
  orv::Check(component != nullptr && SUCCEEDED(call("DllRegisterServer")()), "registration");
  orv::CompareWrites();
  orv::MeasureCreation();
  call("DllUnregisterServer")();
  CoUninitialize();
  return 0;
}
