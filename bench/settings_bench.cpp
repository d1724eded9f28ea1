// What one change of a control costs in the settings alone: look-up, image, registry write.
#include <benchmark/benchmark.h>

#include "endpoints/settings.h"
#include "platform/diagnostics.h"
#include "simulated/simulated_machine.h"

namespace orv {
namespace {

std::string ControlName(int index) { return "VQ3D-Control number " + std::to_string(index); }

ORVAPOOperatingMode ModeWith(int controls) {
  ORVAPOOperatingMode mode;
  for (int i = 0; i < controls; ++i)
    mode.own_content().public_controls.GetOrAdd(ControlName(i)) = ORVQVTValue(ControlName(i), i);
  for (const char* name : {kOperatingModeControl, kSpeakerTypeControl})
    mode.own_content().private_controls.GetOrAdd(name) =
        ORVQVTValue(name, boost::any(std::string("Test")));
  mode.CompleteRead();
  return mode;
}

// Argument: public controls of the mode. The last one is changed, the furthest to look up.
void BM_WriteControl(benchmark::State& state) {
  const DiagnosticCapture silence([](std::wstring_view) {});
  const auto machine = SimulatedMachine::InMemory();
  SimulatedEndpoint& speakers = machine->description().endpoints.emplace_back();
  speakers.id = L"{0.0.0.00000000}.{5D6F1B2A-93C4-4E1D-8A7B-0C1D2E3F4A5B}";
  ComPtr<IMMDeviceEnumerator> enumerator;
  ComPtr<IMMDevice> device;
  machine->CreateDeviceEnumerator(enumerator.Put());
  enumerator->GetDevice(speakers.id.c_str(), device.Put());
  ORVAPOEndpointInfo endpoint(*machine);
  endpoint.Attach(device.get(), true);
  ORVAPOPublicSettings settings(*machine);
  const int controls = static_cast<int>(state.range(0));
  if (!settings.Init(endpoint, ModeWith(controls))) state.SkipWithError("no key");
  std::int32_t text = 0;
  for (auto _ : state)
    if (!settings.WriteControl(ORVQVTValue(ControlName(controls - 1), ++text % 100)))
      state.SkipWithError("not written");
}
BENCHMARK(BM_WriteControl)->Arg(20)->Arg(200)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orv
