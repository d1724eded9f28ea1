// A control panel on the console, for the current mode of the first endpoint:
//
//   client [sta]            lists its controls with values, defaults and ranges
//   client set ROW VALUE    changes the control in that row of the list
//   client reset            restores the defaults of the mode
//   client follow TIMES     lists the controls again, so many times, when anything has changed
//   client levels           spectrum and peaks of what the endpoint plays
#include <charconv>
#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "orv_apo/com_ptr.h"
#include "system.h"

using orv_apo::ComPtr;

void Check(HRESULT status) {
  if (FAILED(status)) throw status;
}

LONG Number(std::string_view text) {
  LONG number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, fault] = std::from_chars(text.data(), end, number);
  Check(fault == std::errc() && rest == end ? S_OK : E_INVALIDARG);
  return number;
}

struct Row {
  ComPtr<IORVAPOControl> control;
  LONG value, standard, minimum, maximum;
};

std::vector<Row> ReadRows(IORVEndpointInfo& endpoint) {
  ComPtr<IORVOperatingMode> mode, defaults;
  ComPtr<IORVAPOControlEnumerator> controls, same, all;
  Check(endpoint.get_OpMode(mode.Put()));
  Check(mode->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, controls.Put()));
  // A second mode object for the defaults: after its default list was asked for, all its controls
  // answer defaults. Both public lists are in the same order.
  Check(endpoint.get_OpMode(defaults.Put()));
  Check(defaults->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, same.Put()));
  Check(defaults->get_ORVAPOControlEnumerator(kORVAPO_Cont_Default, all.Put()));
  std::vector<Row> rows;
  ComPtr<IORVAPOControl> standard;
  for (Row row; controls->Next(row.control.Put()) == S_OK && same->Next(standard.Put()) == S_OK;) {
    Check(row.control->get_Value(&row.value));
    Check(standard->get_Value(&row.standard));
    Check(row.control->get_MinValue(&row.minimum));
    Check(row.control->get_MaxValue(&row.maximum));
    rows.push_back(row);
  }
  return rows;
}

void List(IORVEndpointInfo& endpoint) {
  const std::vector<Row> rows = ReadRows(endpoint);
  for (const Row& row : rows) {
    BSTR name = nullptr;
    Check(row.control->get_DisplayValue(&name));
    // In the default locale, which this program keeps, each unit of a name is one byte of it.
    std::printf("%d: %s %d, default %d, %d to %d\n", int(&row - rows.data()),
                std::string(name, name + SysStringLen(name)).c_str(), int(row.value),
                int(row.standard), int(row.minimum), int(row.maximum));
    SysFreeString(name);
  }
  std::fflush(stdout);
}

void Set(IORVEndpointInfo& endpoint, std::size_t number, LONG value) {
  // Read just now: a put stores the other values of the mode as its mode object has read them.
  const std::vector<Row> rows = ReadRows(endpoint);
  Check(number < rows.size() ? S_OK : E_INVALIDARG);
  const Row& row = rows[number];  // put does not check the range
  Check(value < row.minimum || value > row.maximum ? E_INVALIDARG : row.control->put_Value(value));
}

void Reset(IORVEndpointInfo& endpoint) {
  ComPtr<IORVOperatingMode> mode;
  Check(endpoint.get_OpMode(mode.Put()));
  Check(mode->RestoreDefaults());  // S_OK also if they could not be stored: read them again
  for (const Row& row : ReadRows(endpoint)) Check(row.value == row.standard ? S_OK : E_FAIL);
}

void Follow(IORVEndpointInfo& endpoint, int times) {
  BSTR key = nullptr;
  Check(endpoint.get_RegistryPath(&key));
  const std::unique_ptr<KeyWatch> watch = WatchKey(key);
  SysFreeString(key);
  Check(watch == nullptr ? E_ACCESSDENIED : S_OK);
  for (;; --times) {
    watch->Arm();  // before the values are read, so that no change is missed
    List(endpoint);
    if (times == 0) return;
    watch->Wait();
  }
}

void ShowLevels(IORVEndpointInfo& endpoint) {
  ComPtr<IAnalysisData> analysis;
  Check(ComPtr(&endpoint).As<IORVEndpointInfo2>()->get_AnalysisData(analysis.Put()));
  ULONG frequencies[] = {100, 1000, 10000};  // Hz
  FLOAT left[3], peaks[8];                   // dB
  for (int i = 0; i < 10; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    Check(analysis->GetSpectralData(0, 3, frequencies, left));  // reads what was played since
    Check(analysis->GetPeaks(peaks));                           // then: the peaks of that
    std::printf("left %.1f %.1f %.1f, peaks %.1f %.1f\n", left[0], left[1], left[2], peaks[0],
                peaks[1]);
  }
}

int main(int argc, char** argv) try {
  const std::string_view command = argc > 1 ? argv[1] : "";
  ComPtr<IORVAPOSystem> system;
  ComPtr<IORVEndpointEnumerator> endpoints;
  ComPtr<IORVEndpointInfo> endpoint;
  Check(CreateSystem(command == "sta", system.Put()));
  Check(system->InitializeSystem(nullptr));  // the technology library is beside the component
  Check(system->EnumerateORVEndpoints(endpoints.Put()));
  Check(endpoints->Next(endpoint.Put()) == S_OK ? S_OK : E_FAIL);
  if (command == "set" && argc == 4)
    Set(*endpoint, static_cast<std::size_t>(Number(argv[2])), Number(argv[3]));
  else if (command == "reset")
    Reset(*endpoint);
  else if (command == "follow" && argc == 3)
    Follow(*endpoint, Number(argv[2]));
  else if (command == "levels")
    ShowLevels(*endpoint);
  else
    List(*endpoint);
  return 0;
} catch (HRESULT status) {
  std::printf("0x%08X\n", static_cast<unsigned>(status));
  return 1;
}
