// Lists every endpoint with its operating modes and, of each mode, the first control: the name to
// show and the range.
#include <cstdio>

#include "create_system.h"

namespace {

void PrintAndFree(const char* format, BSTR text) {
  std::printf(format, text);
  SysFreeString(text);
}

void PrintFirstControl(IORVOperatingMode* mode) {
  IORVAPOControlEnumerator* controls = nullptr;
  if (mode->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, &controls) != S_OK) return;
  IORVAPOControl* control = nullptr;
  if (controls->Next(&control) == S_OK) {
    BSTR name = nullptr;
    LONG minimum = 0;
    LONG maximum = 0;
    if (control->get_DisplayValue(&name) == S_OK) PrintAndFree("    %ls", name);
    if (control->get_MinValue(&minimum) == S_OK && control->get_MaxValue(&maximum) == S_OK)
      std::printf(", %d to %d\n", static_cast<int>(minimum), static_cast<int>(maximum));
    control->Release();
  }
  controls->Release();
}

void PrintModes(IORVEndpointInfo* endpoint) {
  IORVAPOOpModeEnumerator* modes = nullptr;
  if (endpoint->GetOpModeEnumerator(&modes) != S_OK) return;
  BSTR name = nullptr;
  for (IORVOperatingMode* mode = nullptr; modes->Next(&mode) == S_OK; mode->Release()) {
    if (mode->get_Name(&name) == S_OK) PrintAndFree("  %ls\n", name);
    PrintFirstControl(mode);
  }
  modes->Release();
}

}  // namespace

int main(int argc, char** argv) {
  IORVAPOSystem* system = nullptr;
  HRESULT status = CreateSystem(argc > 1 ? argv[1] : "", &system);
  // The technology library lies beside the component, as installed.
  if (SUCCEEDED(status)) status = system->InitializeSystem(nullptr);
  IORVEndpointEnumerator* endpoints = nullptr;
  if (SUCCEEDED(status)) status = system->EnumerateORVEndpoints(&endpoints);
  if (FAILED(status)) {
    std::printf("0x%08X\n", static_cast<unsigned>(status));
    return 1;
  }
  BSTR name = nullptr;
  for (IORVEndpointInfo* endpoint = nullptr; endpoints->Next(&endpoint) == S_OK;
       endpoint->Release()) {
    if (endpoint->get_FriendlyName(&name) == S_OK) PrintAndFree("%ls\n", name);
    PrintModes(endpoint);
  }
  endpoints->Release();
  system->Release();
  return 0;
}
