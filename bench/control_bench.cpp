// Operations that clients wait for: enumerating endpoints, reading and writing a control. Through
// the public interfaces, on a simulated machine in memory; and a write in the settings alone.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/component.h"
#include "bench/measure.h"
#include "config/configuration_file.h"
#include "endpoints/endpoint_registry.h"
#include "endpoints/settings.h"
#include "platform/text.h"
#include "properties/property_image.h"

namespace orv {
namespace {

constexpr wchar_t kModeValue[] = L"ApoOpMode:Mode0/Internal";

std::wstring EndpointGuid(int number) {
  return L"{5D6F1B2A-93C4-4E1D-8A7B-" + std::to_wstring(100000000000 + number) + L"}";
}

// A machine with a number of endpoints, all with one configuration file of so many public controls.
class Bench {
 public:
  Bench(int endpoints, int controls) : folder_(1, controls, 0) {
    for (int i = 0; i < endpoints; ++i) AddEndpoint(EndpointGuid(i));
  }

  // Creates every endpoint's object and returns their number.
  int EnumerateAll() {
    int count = 0;
    const auto endpoints = component_.Endpoints();
    ComPtr<IORVEndpointInfo> endpoint;
    while (endpoints->Next(endpoint.Put()) == S_OK) ++count;
    return count;
  }
  ComPtr<IORVAPOControl> Control(int number) {
    ComPtr<IORVAPOOpModeEnumerator> modes;
    ComPtr<IORVOperatingMode> mode;
    ComPtr<IORVAPOControlEnumerator> controls;
    ComPtr<IORVAPOControl> control;
    component_.FirstEndpoint()->GetOpModeEnumerator(modes.Put());
    modes->Next(mode.Put());
    mode->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, controls.Put());
    const UniqueBstr name(SysAllocString(WideFromUtf8(ControlName(number)).c_str()));
    controls.As<IORVAPOControlEnumerator2>()->GetControlFromName(name.get(), control.Put());
    return control;
  }
  std::unique_ptr<RegistryKey> ApoKey() {
    std::unique_ptr<RegistryKey> key;
    machine_->registry().OpenKey(RegRoot::LocalMachine,
                                 std::wstring(kDefaultApoKey) + L"\\" + EndpointGuid(0),
                                 kSettingsAccess, key);
    return key;
  }
  SimulatedMachine& machine() { return *machine_; }

 private:
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

  ConfigurationFolder folder_;
  std::shared_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory({}, folder_.path());
  BenchComponent component_{machine_};
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
  state.counters["per_endpoint_us"] = durations.Median() / endpoints;
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

// Beside each write, in the same run: the mode's image encoded anew and stored, as by a client that
// keeps the properties. "ratio" is the ratio of the medians.
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
    state.SetIterationTime(written.last() * 1e-6);
  }
  written.Report(state);
  state.counters["bare_median_us"] = bare.Median();
  state.counters["ratio"] = written.Median() / bare.Median();
}
BENCHMARK(BM_PutControlValue)
    ->Arg(20)
    ->Arg(200)
    ->UseManualTime()
    ->MinTime(0.2)
    ->Unit(benchmark::kMicrosecond);

// The settings alone: look-up, image, registry write. The last control is the furthest to look up.
void BM_WriteControlInSettings(benchmark::State& state) {
  const int controls = static_cast<int>(state.range(0));
  Bench bench(1, controls);
  ComPtr<IMMDeviceEnumerator> enumerator;
  ComPtr<IMMDevice> device;
  bench.machine().CreateDeviceEnumerator(enumerator.Put());
  enumerator->GetDevice(bench.machine().description().endpoints[0].id.c_str(), device.Put());
  ORVAPOEndpointInfo endpoint(bench.machine());
  endpoint.Attach(device.get(), true);
  ORVAPOConfigurationFile file(bench.machine());
  file.Load(L"C:\\config.xml", 0, 0);
  ORVAPOPublicSettings settings(bench.machine());
  if (!settings.Init(endpoint, *file.GetModes()[0])) state.SkipWithError("no key");
  std::int32_t value = 0;
  for (auto _ : state)
    if (!settings.WriteControl(ORVQVTValue(ControlName(controls - 1), ++value % 100)))
      state.SkipWithError("not written");
}
BENCHMARK(BM_WriteControlInSettings)->Arg(20)->Arg(200)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orv
