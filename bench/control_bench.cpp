// What clients wait for: enumerating endpoints, reading and writing a control. The whole way
// through the public interfaces, on a simulated machine in memory.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "api/component.h"
#include "endpoints/endpoint_registry.h"
#include "orv_apo/orv_apo.h"
#include "platform/com_ptr.h"
#include "platform/diagnostics.h"
#include "properties/property_image.h"
#include "simulated/simulated_machine.h"

namespace orv {
namespace {

using Clock = std::chrono::steady_clock;

constexpr wchar_t kModeValue[] = L"ApoOpMode:Movie/Internal";

std::wstring EndpointGuid(int number) {
  std::wstring digits = std::to_wstring(100000000000 + number);
  return L"{5D6F1B2A-93C4-4E1D-8A7B-" + digits + L"}";
}

std::wstring ControlName(int number) { return L"Suite-Public Control " + std::to_wstring(number); }

// A machine with a number of endpoints, all with one configuration file of so many public controls.
class Bench {
 public:
  Bench(int endpoints, int controls)
      : drive_c_(std::filesystem::temp_directory_path() / "orv-control-bench") {
    std::filesystem::create_directories(drive_c_);
    WriteConfiguration(controls);
    machine_ = SimulatedMachine::InMemory({}, drive_c_);
    for (int i = 0; i < endpoints; ++i) AddEndpoint(EndpointGuid(i));
    ComponentModule().SetMachine(machine_);
    ComPtr<IClassFactory> factory;
    DllGetClassObject(CLSID_ORVAPOSystem, IID_IClassFactory, factory.PutVoid());
    factory->CreateInstance(nullptr, IID_IORVAPOSystem, system_.PutVoid());
    system_->InitializeSystem(nullptr);
  }
  ~Bench() {
    system_.Reset();
    ComponentModule().SetMachine(nullptr);
    std::error_code ignored;
    std::filesystem::remove_all(drive_c_, ignored);
  }

  // Makes every endpoint's object; how many there were.
  int EnumerateAll() {
    int count = 0;
    ComPtr<IORVEndpointEnumerator> endpoints;
    system_->EnumerateORVEndpoints(endpoints.Put());
    ComPtr<IORVEndpointInfo> endpoint;
    while (endpoints->Next(endpoint.Put()) == S_OK) ++count;
    return count;
  }
  ComPtr<IORVAPOControl> Control(int number) {
    ComPtr<IORVEndpointEnumerator> endpoints;
    ComPtr<IORVEndpointInfo> endpoint;
    ComPtr<IORVAPOOpModeEnumerator> modes;
    ComPtr<IORVOperatingMode> mode;
    ComPtr<IORVAPOControlEnumerator> controls;
    ComPtr<IORVAPOControl> control;
    system_->EnumerateORVEndpoints(endpoints.Put());
    endpoints->Next(endpoint.Put());
    endpoint->GetOpModeEnumerator(modes.Put());
    modes->Next(mode.Put());
    mode->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, controls.Put());
    const BSTR name = SysAllocString(ControlName(number).c_str());
    controls.As<IORVAPOControlEnumerator2>()->GetControlFromName(name, control.Put());
    SysFreeString(name);
    return control;
  }

  std::unique_ptr<RegistryKey> ApoKey() {
    std::unique_ptr<RegistryKey> key;
    machine_->registry().OpenKey(RegRoot::LocalMachine,
                                 std::wstring(kDefaultApoKey) + L"\\" + EndpointGuid(0),
                                 kSettingsAccess, key);
    return key;
  }

 private:
  void WriteConfiguration(int controls) const {
    std::ofstream file(drive_c_ / "config.xml");
    file << "<orv_configuration><properties><control name='Product Name'>Bench</control>"
            "</properties><operating_mode>"
            "<control name='ZAPO3-Operating Mode'>Movie</control>"
            "<control name='ZAPO3-Speaker Type'>Internal</control>";
    for (int i = 0; i < controls; ++i) {
      const std::wstring name = ControlName(i);
      file << "<control name='" << std::string(name.begin(), name.end()) << "' public='true'>" << i
           << "</control>";
    }
    file << "</operating_mode></orv_configuration>";
  }
  void AddEndpoint(const std::wstring& guid) {
    SimulatedEndpoint endpoint;
    endpoint.id = L"{0.0.0.00000000}." + guid;
    machine_->description().endpoints.push_back(endpoint);
    std::unique_ptr<RegistryKey> key;
    machine_->registry().CreateKey(RegRoot::LocalMachine,
                                   EndpointKeyPath(true, guid, kPropertiesSubkey), kKeyWrite, key,
                                   nullptr);
    const auto path = RegistryTextBytes(L"C:\\config.xml");
    key->SetValue(kConfigFileValue, kRegSz, path.data(), static_cast<std::uint32_t>(path.size()));
  }

  DiagnosticCapture quiet_{[](std::wstring_view) {}};
  std::filesystem::path drive_c_;
  std::shared_ptr<SimulatedMachine> machine_;
  ComPtr<IORVAPOSystem> system_;
};

// Collects single durations, in microseconds.
class Durations {
 public:
  template <class Work>
  void Measure(Work&& work) {
    const auto start = Clock::now();
    work();
    microseconds_.push_back(
        std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
  double Last() const { return microseconds_.back(); }
  double Quantile(double share) {
    const auto position =
        microseconds_.begin() +
        static_cast<std::ptrdiff_t>(share * static_cast<double>(microseconds_.size() - 1));
    std::nth_element(microseconds_.begin(), position, microseconds_.end());
    return *position;
  }
  void Report(benchmark::State& state) {
    state.counters["median_us"] = Quantile(0.5);
    state.counters["p99_us"] = Quantile(0.99);
  }

 private:
  std::vector<double> microseconds_;
};

void BM_EnumerateEndpoints(benchmark::State& state) {
  const auto endpoints = static_cast<int>(state.range(0));
  Bench bench(endpoints, 20);
  Durations durations;
  for (auto _ : state) {
    durations.Measure([&] {
      if (bench.EnumerateAll() != endpoints) state.SkipWithError("endpoints are missing");
    });
  }
  durations.Report(state);
  state.counters["per_endpoint_us"] = durations.Quantile(0.5) / endpoints;
}
BENCHMARK(BM_EnumerateEndpoints)->Arg(4)->Arg(16)->Arg(64)->Unit(benchmark::kMicrosecond);

void BM_GetControlValue(benchmark::State& state) {
  Bench bench(1, static_cast<int>(state.range(0)));
  const auto control = bench.Control(static_cast<int>(state.range(0)) / 2);
  Durations durations;
  LONG value = 0;
  for (auto _ : state) {
    durations.Measure([&] {
      if (control->get_Value(&value) != S_OK) state.SkipWithError("the value cannot be read");
    });
    benchmark::DoNotOptimize(value);
  }
  durations.Report(state);
}
BENCHMARK(BM_GetControlValue)->Arg(20)->Arg(200)->Unit(benchmark::kMicrosecond);

// Next to each write, in the same run: the mode's image encoded anew and stored, as a client would
// that keeps the properties. "ratio" is how many times that a write costs, by medians.
void BM_PutControlValue(benchmark::State& state) {
  Bench bench(1, static_cast<int>(state.range(0)));
  const auto control = bench.Control(static_cast<int>(state.range(0)) / 2);
  if (control->put_Value(1) != S_OK) return state.SkipWithError("the value cannot be written");
  const auto key = bench.ApoKey();
  std::uint32_t type = kRegNone;
  ImageBytes stored;
  ORVPropertyList properties;
  if (ReadValue(*key, kModeValue, type, stored) != kRegOk ||
      !DecodeImage(stored, ImageReading::Replace, properties).complete)
    return state.SkipWithError("the image cannot be read");

  Durations written;
  Durations bare;
  LONG value = 0;
  for (auto _ : state) {
    ++value;
    written.Measure([&] {
      if (control->put_Value(value) != S_OK) state.SkipWithError("the value cannot be written");
    });
    bare.Measure([&] {
      ImageBytes image;
      properties[0].value = std::to_string(value);
      EncodeImage(properties, image);
      key->SetValue(kModeValue, kRegBinary, image.data(), static_cast<std::uint32_t>(image.size()));
    });
    state.SetIterationTime(written.Last() * 1e-6);
  }
  written.Report(state);
  state.counters["bare_median_us"] = bare.Quantile(0.5);
  state.counters["ratio"] = written.Quantile(0.5) / bare.Quantile(0.5);
}
BENCHMARK(BM_PutControlValue)
    ->Arg(20)
    ->Arg(200)
    ->UseManualTime()
    ->MinTime(0.2)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orv
