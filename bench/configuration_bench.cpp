// Loading an endpoint's configuration file of 20 modes with 200 controls each, beside the XML
// parser's bare reading of the same file. The counter "parses" is the time in units of the latter.
#include <benchmark/benchmark.h>
#include <tinyxml2.h>

#include <cstdlib>
#include <memory>

#include "bench/machines.h"
#include "bench/measure.h"
#include "config/configuration_file.h"

namespace orv {
namespace {

constexpr int kModes = 20;
constexpr int kControls = 198;

const ConfigurationFolder& Folder() {
  static const ConfigurationFolder folder(kModes, kControls / 2, kControls / 2);
  return folder;
}

void BareParse() {
  tinyxml2::XMLDocument document;
  if (document.LoadFile(Folder().file().c_str()) != tinyxml2::XML_SUCCESS) std::abort();
  benchmark::DoNotOptimize(document.RootElement());
}

// With argument 1 every control list of every mode is read as well.
void Load(const benchmark::State& state, ORVAPOConfigurationFile& file) {
  if (file.Load(L"C:\\config.xml", 0, 0) != LoadStatus::Loaded || file.GetModes().size() != kModes)
    std::abort();
  if (state.range(0) == 0) return;
  for (const auto& mode : file.GetModes())
    if (mode->GetDefaultControls().Count() != kControls) std::abort();
}

// Runs `measured` and a bare parse by turns, so that both meet the same machine.
template <class Prepare, class Measured>
void AgainstParse(benchmark::State& state, Prepare prepare, Measured measured) {
  const NoDiagnostics silence;
  Durations own;
  Durations parse;
  for (auto _ : state) {
    prepare();
    own.Measure(measured);
    parse.Measure(BareParse);
    state.SetIterationTime(own.last() * 1e-6);
  }
  state.counters["parses"] = own.Median() / parse.Median();
}

// Every machine reads its files anew, and a document stays until the process ends: few iterations.
void FirstLoad(benchmark::State& state) {
  std::unique_ptr<SimulatedMachine> machine;
  AgainstParse(
      state, [&] { machine = SimulatedMachine::InMemory({}, Folder().path()); },
      [&] {
        ORVAPOConfigurationFile file(*machine);
        Load(state, file);
      });
}

void CachedLoad(benchmark::State& state) {
  const auto machine = SimulatedMachine::InMemory({}, Folder().path());
  ORVAPOConfigurationFile file(*machine);
  Load(state, file);
  AgainstParse(
      state, [] {}, [&] { Load(state, file); });
}

void Lists(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("lists")->DenseRange(0, 1)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
BENCHMARK(FirstLoad)->Apply(Lists)->Iterations(60);
BENCHMARK(CachedLoad)->Apply(Lists)->Iterations(500);

}  // namespace
}  // namespace orv
