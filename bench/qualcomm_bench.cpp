// A whole mode into the Qualcomm driver, through the public interfaces, on the tablet sample in
// memory: what it costs outside the driver calls, and how much of that the filter designs are.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "api/component.h"
#include "orv_apo/orv_apo.h"
#include "platform/com_ptr.h"
#include "platform/diagnostics.h"
#include "platform/text.h"
#include "qc_dsp/driver_interface.h"
#include "qc_dsp/qualcomm_records.h"
#include "simulated/description/machine_file.h"
#include "simulated/simulated_machine.h"

namespace orv {
namespace {

using Clock = std::chrono::steady_clock;
constexpr double kLimit = 300;  // microseconds outside driver calls

class Tablet {
 public:
  Tablet() {
    const std::filesystem::path folder = ORV_TABLET;
    FileError error;
    auto description = ReadMachineFile(folder / "machine.json", error);
    machine_ =
        SimulatedMachine::InMemory(description.value_or(MachineDescription()), folder / "drive_c");
    std::ifstream file(folder / "registry.reg", std::ios::binary);
    machine_->ImportRegistry(std::string(std::istreambuf_iterator<char>(file), {}), error);
    ComponentModule().SetMachine(machine_);
    ComPtr<IClassFactory> factory;
    ComPtr<IORVEndpointEnumerator> endpoints;
    ComPtr<IORVEndpointInfo> endpoint;
    DllGetClassObject(CLSID_ORVAPOSystem, IID_IClassFactory, factory.PutVoid());
    factory->CreateInstance(nullptr, IID_IORVAPOSystem, system_.PutVoid());
    std::wstring technology = L"Z:" + WideFromUtf8(ORV_TECHNOLOGY_FOLDER) + L"\\";
    std::replace(technology.begin(), technology.end(), L'/', L'\\');
    const BSTR text = SysAllocString(technology.c_str());
    system_->InitializeSystem(text);
    SysFreeString(text);
    system_->EnumerateORVEndpoints(endpoints.Put());
    if (endpoints->Next(endpoint.Put()) != S_OK) return;
    endpoint->get_OpMode(mode_.Put());
    endpoint->GetQCDSPInterface(dsp_.Put());
  }
  ~Tablet() {
    dsp_.Reset();
    mode_.Reset();
    system_.Reset();
    ComponentModule().SetMachine(nullptr);
  }

  bool Write() { return dsp_ && mode_ && dsp_->WriteControls(mode_.get()) == S_OK; }
  SimulatedMachine& machine() { return *machine_; }
  // The mode's controls by display name.
  QualcommControls Controls() {
    QualcommControls controls;
    ComPtr<IORVAPOControlEnumerator> enumerator;
    ComPtr<IORVAPOControl> control;
    mode_->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, enumerator.Put());
    while (enumerator->Next(control.Put()) == S_OK) {
      BSTR name = nullptr;
      LONG value = 0;
      control->get_DisplayValue(&name);
      control->get_Value(&value);
      controls[std::wstring(name, SysStringLen(name))] = value;
      SysFreeString(name);
    }
    return controls;
  }

 private:
  DiagnosticCapture quiet_{[](std::wstring_view) {}};
  std::shared_ptr<SimulatedMachine> machine_;
  ComPtr<IORVAPOSystem> system_;
  ComPtr<IORVOperatingMode> mode_;
  ComPtr<IORVAPOQCDSP> dsp_;
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

// Every round measures the write, the same messages alone and the same records alone.
void BM_QualcommWriteControls(benchmark::State& state) {
  Tablet tablet;
  if (!tablet.Write()) return state.SkipWithError("the mode cannot be written");
  const QualcommControls controls = tablet.Controls();
  HRESULT status = E_FAIL;
  ORVAPOQCDriverInterface driver(tablet.machine(), status);
  std::vector<std::pair<QualcommParameter, QualcommRecord>> records;
  for (const QualcommParameter parameter : kQualcommSendingOrder)
    records.emplace_back(parameter, QualcommRecord(parameter, controls));
  std::vector<double> whole;
  std::vector<double> driver_calls;
  std::vector<double> designs;
  for (auto _ : state) {
    whole.push_back(Microseconds([&] {
      if (!tablet.Write()) state.SkipWithError("the mode cannot be written");
    }));
    driver_calls.push_back(Microseconds([&] {
      for (const auto& [parameter, record] : records)
        driver.SendParameter(parameter, ORV_QUMEDIA_SPEAKER, record.payload());
    }));
    designs.push_back(Microseconds([&] {
      for (const QualcommParameter parameter : kQualcommSendingOrder)
        benchmark::DoNotOptimize(QualcommRecord(parameter, controls));
    }));
    state.SetIterationTime(whole.back() * 1e-6);
  }
  const double outside = Median(whole) - Median(driver_calls);
  state.counters["controls"] = static_cast<double>(controls.size());
  state.counters["driver_us"] = Median(driver_calls);
  state.counters["outside_us"] = outside;
  state.counters["designs_us"] = Median(designs);
  state.counters["designs_share"] = Median(designs) / outside;
  if (outside > kLimit) state.SkipWithError("a write costs more than 300 microseconds");
}
BENCHMARK(BM_QualcommWriteControls)->UseManualTime()->MinTime(0.5)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orv
