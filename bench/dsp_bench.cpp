// A whole mode into the driver of a DSP: the cost outside the driver calls, and how much of it is
// conversion, design of filters and verification. Skylake: the blocks of the laptop sample into a
// driver that answers at once. Qualcomm: the tablet sample through the public interfaces.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench/component.h"
#include "bench/measure.h"
#include "config/configuration_file.h"
#include "frame/public_controls.h"
#include "intel_dsp/skylake/driver_client.h"
#include "intel_dsp/skylake/writers.h"
#include "platform/host_path.h"
#include "qc_dsp/driver_interface.h"
#include "qc_dsp/qualcomm_records.h"

namespace orv {
namespace {

constexpr double kRequestCost = 100;     // assumed microseconds of a driver for each request
constexpr double kLargestShare = 0.2;    // of a write, outside the driver calls
constexpr double kSingleControl = 20;    // microseconds outside the driver calls
constexpr std::size_t kSingleCalls = 2;  // read and write of the block
constexpr double kQualcommLimit = 300;   // microseconds of a mode outside the driver calls

// Keeps the blocks it receives, at hardly any cost.
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

// The laptop's default mode and the Skylake module. Argument: whether the diagnostic lines have a
// reader, so that they have to be written.
struct Laptop {
  explicit Laptop(const benchmark::State& state) {
    ORVAPOConfigurationFile configuration(*machine);
    ORVAPOOperatingMode chosen;
    configuration.Load(L"C:\\Program Files\\ORV Labs\\APO\\orv_apo_config.xml", 1, 3);
    if (configuration.FindMode(configuration.GetDefaultModeKey(), chosen))
      mode = chosen.GetDefaultControls();
    controls = {mode.begin(), mode.end()};
    if (state.range(0) != 0) reader.emplace();
  }

  std::shared_ptr<SimulatedMachine> machine = SampleMachine(ORV_LAPTOP);
  ORVQVTValueList mode;
  ControlValueMap controls;
  std::optional<NoDiagnostics> reader;
  InstantDriver driver;
  KELAPOIntelDSP_SKL module{driver};
};

// The first rounds, which find out the number of rounds, run with cold caches.
bool Counts(const benchmark::State& state) { return state.iterations() >= 100; }

void ReadOrNot(benchmark::internal::Benchmark* bench) {
  bench->ArgName("read")->DenseRange(0, 1)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

void BM_SkylakeWholeMode(benchmark::State& state) {
  Laptop laptop(state);
  Durations conversion;
  Durations filters;
  Durations verification;
  std::size_t requests = 0;
  bool good = !laptop.controls.empty();
  for (auto _ : state) {
    laptop.driver.requests = 0;
    HRESULT status = S_OK;
    KELAPOIntelDSP_SKL::ClearCache();
    conversion.Measure([&] {
      for (const skylake::Block& block : skylake::kBlocks)
        status |= laptop.module.WriteControls(block, laptop.controls, 1);
      status |= laptop.module.SetPPModuleStatus(1, 1);
    });
    filters.Measure([&] { status |= laptop.module.SetVQ3DHPFAEQControls(laptop.controls, 1); });
    verification.Measure([&] {
      SkylakeImage held;
      status |= laptop.module.GetVQ3DParameters(held);
      good = good && KELAPOIntelDSP_SKL::CachedImage() == held;
    });
    good = good && status == S_OK;
    requests = laptop.driver.requests;
    state.SetIterationTime((conversion.last() + filters.last() + verification.last()) * 1e-6);
  }
  if (!good) return state.SkipWithError("the mode cannot be written");
  const double outside = conversion.Median() + filters.Median() + verification.Median();
  const double share = outside / (outside + kRequestCost * static_cast<double>(requests));
  state.counters["controls"] = static_cast<double>(laptop.controls.size());
  state.counters["requests"] = static_cast<double>(requests);
  state.counters["outside_us"] = outside;
  state.counters["conversion_us"] = conversion.Median();
  state.counters["filters_us"] = filters.Median();
  state.counters["verification_us"] = verification.Median();
  state.counters["share"] = share;
  if (Counts(state) && share > kLargestShare)
    state.SkipWithError("more than a fifth of a write outside the driver");
}
// Two equalisers of twelve bands each: the sample tunes its channels differently.
BENCHMARK(BM_SkylakeWholeMode)->Apply(ReadOrNot);

void BM_SkylakeSingleControl(benchmark::State& state, const wchar_t* name, int number) {
  Laptop laptop(state);
  for (const skylake::Block& block : skylake::kBlocks)
    laptop.module.WriteControls(block, laptop.controls, 1);
  VARIANT value{};
  value.vt = VT_I4;
  value.lVal = number;
  Durations times;
  HRESULT status = S_OK;
  for (auto _ : state) {
    laptop.driver.requests = 0;
    times.Measure([&] { status |= laptop.module.SetControl(name, value, laptop.mode, 0); });
    state.SetIterationTime(times.last() * 1e-6);
  }
  if (status != S_OK) return state.SkipWithError("the control cannot be written");
  state.counters["requests"] = static_cast<double>(laptop.driver.requests);
  if (laptop.driver.requests > kSingleCalls) return state.SkipWithError("more than two requests");
  if (Counts(state) && times.Median() > kSingleControl)
    state.SkipWithError("more than 20 microseconds");
}
// A control that is its field alone, one computed from four controls, a band and a size.
BENCHMARK_CAPTURE(BM_SkylakeSingleControl, gain, L"VQ3D-Headroom Gain", -60)->Apply(ReadOrNot);
BENCHMARK_CAPTURE(BM_SkylakeSingleControl, level, L"VQ3D-DPHD Level", 70)->Apply(ReadOrNot);
BENCHMARK_CAPTURE(BM_SkylakeSingleControl, band, L"VQ3D-GEQ 1kHz Gain", 30)->Apply(ReadOrNot);
BENCHMARK_CAPTURE(BM_SkylakeSingleControl, size, L"VQ3D-DPHD Speaker Audio Size", 150)
    ->Apply(ReadOrNot);

// One request through the client of the simulated driver, which checks every byte of it.
void BM_SkylakeRequest(benchmark::State& state) {
  KELAPOIntelDriverInterface_SKL client(SampleMachine(ORV_LAPTOP), nullptr);
  if (FAILED(client.ActivateIKsControls(L"")))
    return state.SkipWithError("there is no Skylake module");
  constexpr std::uint32_t kVQ3D = 0x10014401;
  std::byte block[16];
  HRESULT status = S_OK;
  bool good = client.GetParameter(status, kVQ3D, block, sizeof block, 0);
  for (auto _ : state) {
    good &= state.range(0) != 0 ? client.SetParameter(status, kVQ3D, block, sizeof block, 0)
                                : client.GetParameter(status, kVQ3D, block, sizeof block, 0);
  }
  if (!good) state.SkipWithError("a request failed");
}
BENCHMARK(BM_SkylakeRequest)->ArgName("writes")->DenseRange(0, 1)->Unit(benchmark::kMicrosecond);

// Every round measures the write, the same messages alone and the same records alone.
void BM_QualcommWriteControls(benchmark::State& state) {
  const auto machine = SampleMachine(ORV_TABLET);
  const UniqueBstr technology(SysAllocString(DriveZPath(ORV_TECHNOLOGY_FOLDER "/").c_str()));
  BenchComponent component(machine, technology.get());
  ComPtr<IORVOperatingMode> mode;
  ComPtr<IORVAPOQCDSP> dsp;
  if (const auto endpoint = component.FirstEndpoint()) {
    endpoint->get_OpMode(mode.Put());
    endpoint->GetQCDSPInterface(dsp.Put());
  }
  const auto write = [&] {
    const bool good = dsp && mode && dsp->WriteControls(mode.get()) == S_OK;
    if (!good) state.SkipWithError("the mode cannot be written");
    return good;
  };
  if (!write()) return;
  QualcommControls controls;
  ForEachControl(*mode, kORVAPO_Cont_Public, UnreadableControl::Zero,
                 [&](std::wstring_view name, LONG value) {
                   controls[std::wstring(name)] = static_cast<std::int32_t>(value);
                 });
  HRESULT status = E_FAIL;
  ORVAPOQCDriverInterface driver(*machine, status);
  std::vector<std::pair<QualcommParameter, QualcommRecord>> records;
  for (const QualcommParameter parameter : kQualcommSendingOrder)
    records.emplace_back(parameter, QualcommRecord(parameter, controls));
  Durations whole;
  Durations driver_calls;
  Durations designs;
  for (auto _ : state) {
    whole.Measure(write);
    driver_calls.Measure([&] {
      for (const auto& [parameter, record] : records)
        driver.SendParameter(parameter, ORV_QUMEDIA_SPEAKER, record.payload());
    });
    designs.Measure([&] {
      for (const QualcommParameter parameter : kQualcommSendingOrder)
        benchmark::DoNotOptimize(QualcommRecord(parameter, controls));
    });
    state.SetIterationTime(whole.last() * 1e-6);
  }
  const double outside = whole.Median() - driver_calls.Median();
  state.counters["controls"] = static_cast<double>(controls.size());
  state.counters["driver_us"] = driver_calls.Median();
  state.counters["outside_us"] = outside;
  state.counters["designs_us"] = designs.Median();
  state.counters["designs_share"] = designs.Median() / outside;
  if (outside > kQualcommLimit) state.SkipWithError("a write costs more than 300 microseconds");
}
BENCHMARK(BM_QualcommWriteControls)->UseManualTime()->MinTime(0.5)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orv
