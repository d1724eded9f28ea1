// A whole mode into the Skylake module: what it costs outside the driver calls, and what of that is
// conversion, design of filters and verification. The mode is that of the laptop sample.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "config/configuration_file.h"
#include "intel_dsp/skylake/driver_client.h"
#include "intel_dsp/skylake/writers.h"
#include "platform/diagnostics.h"
#include "simulated/description/machine_file.h"
#include "simulated/simulated_machine.h"

namespace orv {
namespace {

using Clock = std::chrono::steady_clock;
constexpr double kRequestCost = 100;     // microseconds that a driver is taken to need for each
constexpr double kLargestShare = 0.2;    // of a write, outside the driver calls
constexpr double kSingleControl = 20;    // microseconds outside the driver calls
constexpr std::size_t kSingleCalls = 2;  // read and write of the block

// Keeps what it is sent, at no cost worth the name.
class InstantDriver final : public SkylakeDriver {
 public:
  std::size_t requests = 0;

  bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size,
                    std::uint8_t) override {
    const std::vector<std::byte>& held = blocks_[parameter & 0x1F];
    std::memcpy(buffer, held.data(), std::min<std::size_t>(size, held.size()));
    return Count(status);
  }
  bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                    std::uint32_t size, std::uint8_t) override {
    const auto* const begin = static_cast<const std::byte*>(buffer);
    blocks_[parameter & 0x1F].assign(begin, begin + size);
    return Count(status);
  }
  bool GetStatus(HRESULT& status, std::uint8_t&, std::uint8_t) override { return Count(status); }
  bool SetStatus(HRESULT& status, std::uint8_t, std::uint8_t) override { return Count(status); }

 private:
  bool Count(HRESULT& status) {
    ++requests;
    status = S_OK;
    return true;
  }
  std::vector<std::byte> blocks_[32];
};

struct Laptop {
  std::shared_ptr<SimulatedMachine> machine;
  ORVQVTValueList mode;

  Laptop() {
    const std::filesystem::path folder = ORV_LAPTOP;
    FileError error;
    auto description = ReadMachineFile(folder / "machine.json", error);
    machine =
        SimulatedMachine::InMemory(description.value_or(MachineDescription()), folder / "drive_c");
    ORVAPOConfigurationFile configuration(*machine);
    ORVAPOOperatingMode chosen;
    configuration.Load(L"C:\\Program Files\\ORV Labs\\APO\\orv_apo_config.xml", 1, 3);
    if (configuration.FindMode(configuration.GetDefaultModeKey(), chosen))
      mode = chosen.GetDefaultControls();
  }
  ControlValueMap Controls() const { return {mode.begin(), mode.end()}; }
};

template <class Work>
double Microseconds(Work&& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double Median(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// The first rounds, which find out how many there are to be, run with cold caches.
bool Judged(const benchmark::State& state) { return state.iterations() >= 100; }

// Argument: whether somebody reads the diagnostic lines, so that they have to be written.
class Listener {
 public:
  explicit Listener(const benchmark::State& state) {
    if (state.range(0) != 0) capture_.emplace([](std::wstring_view) {});
  }

 private:
  std::optional<DiagnosticCapture> capture_;
};

void ListenedOrNot(benchmark::internal::Benchmark* bench) {
  bench->ArgName("listened")->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

void BM_SkylakeWholeMode(benchmark::State& state) {
  const Laptop laptop;
  const Listener listener(state);
  const ControlValueMap controls = laptop.Controls();
  InstantDriver driver;
  KELAPOIntelDSP_SKL module(driver);
  std::vector<double> conversion;
  std::vector<double> filters;
  std::vector<double> verification;
  std::vector<double> whole;
  bool good = !controls.empty();
  for (auto _ : state) {
    driver.requests = 0;
    HRESULT status = S_OK;
    KELAPOIntelDSP_SKL::ClearCache();
    conversion.push_back(Microseconds([&] {
      for (const skylake::Block& block : skylake::kBlocks)
        status |= module.WriteControls(block, controls, 1);
      status |= module.SetPPModuleStatus(1, 1);
    }));
    filters.push_back(Microseconds([&] { status |= module.SetVQ3DHPFAEQControls(controls, 1); }));
    verification.push_back(Microseconds([&] {
      SkylakeImage held;
      status |= module.GetVQ3DParameters(held);
      good = good && KELAPOIntelDSP_SKL::CachedImage() == held;
    }));
    good = good && status == S_OK;
    whole.push_back(conversion.back() + filters.back() + verification.back());
    state.SetIterationTime(whole.back() * 1e-6);
  }
  if (!good) return state.SkipWithError("the mode cannot be written");
  const double outside = Median(whole);
  const double share = outside / (outside + kRequestCost * static_cast<double>(driver.requests));
  state.counters["controls"] = static_cast<double>(controls.size());
  state.counters["requests"] = static_cast<double>(driver.requests);
  state.counters["outside_us"] = outside;
  state.counters["conversion_us"] = Median(conversion);
  state.counters["filters_us"] = Median(filters);
  state.counters["verification_us"] = Median(verification);
  state.counters["share"] = share;
  if (Judged(state) && share > kLargestShare)
    state.SkipWithError("more than a fifth of a write outside the driver");
}
// Two equalisers of twelve bands each: the sample tunes its channels differently.
BENCHMARK(BM_SkylakeWholeMode)->Apply(ListenedOrNot);

// A control that is its field alone, one computed from four controls, a band and a size.
void BM_SkylakeSingleControl(benchmark::State& state, const wchar_t* name, int number) {
  Laptop laptop;
  const Listener listener(state);
  InstantDriver driver;
  KELAPOIntelDSP_SKL module(driver);
  const ControlValueMap controls = laptop.Controls();
  for (const skylake::Block& block : skylake::kBlocks) module.WriteControls(block, controls, 1);
  VARIANT value{};
  value.vt = VT_I4;
  value.lVal = number;
  std::vector<double> times;
  HRESULT status = S_OK;
  for (auto _ : state) {
    driver.requests = 0;
    times.push_back(
        Microseconds([&] { status |= module.SetControl(name, value, laptop.mode, 0); }));
    state.SetIterationTime(times.back() * 1e-6);
  }
  if (status != S_OK) return state.SkipWithError("the control cannot be written");
  state.counters["requests"] = static_cast<double>(driver.requests);
  if (driver.requests > kSingleCalls) return state.SkipWithError("more than two requests");
  if (Judged(state) && Median(times) > kSingleControl)
    state.SkipWithError("more than 20 microseconds");
}
BENCHMARK_CAPTURE(BM_SkylakeSingleControl, gain, L"VQ3D-Headroom Gain", -60)->Apply(ListenedOrNot);
BENCHMARK_CAPTURE(BM_SkylakeSingleControl, level, L"VQ3D-DPHD Level", 70)->Apply(ListenedOrNot);
BENCHMARK_CAPTURE(BM_SkylakeSingleControl, band, L"VQ3D-GEQ 1kHz Gain", 30)->Apply(ListenedOrNot);
BENCHMARK_CAPTURE(BM_SkylakeSingleControl, size, L"VQ3D-DPHD Speaker Audio Size", 150)
    ->Apply(ListenedOrNot);

// One request through the client of the simulated driver, which checks every byte of it.
void BM_SkylakeRequest(benchmark::State& state) {
  const Laptop laptop;
  KELAPOIntelDriverInterface_SKL client(laptop.machine, nullptr);
  if (FAILED(client.ActivateIKsControls(L"")))
    return state.SkipWithError("there is no Skylake module");
  constexpr std::uint32_t kVQ3D = 0x10014401;
  std::byte block[16];
  HRESULT status = S_OK;
  bool good = client.GetParameter(status, kVQ3D, block, sizeof block, 0);
  const bool writes = state.range(0) != 0;
  for (auto _ : state) {
    if (writes)
      good &= client.SetParameter(status, kVQ3D, block, sizeof block, 0);
    else
      good &= client.GetParameter(status, kVQ3D, block, sizeof block, 0);
  }
  if (!good) state.SkipWithError("a request failed");
}
BENCHMARK(BM_SkylakeRequest)->ArgName("writes")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orv
