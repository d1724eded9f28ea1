// Lists every endpoint with the names of its operating modes.
#include <cstdio>

#include "create_system.h"

namespace {

void PrintAndFree(const char* format, BSTR text) {
  std::printf(format, text);
  SysFreeString(text);
}

}  // namespace

int main(int argc, char** argv) {
  IORVAPOSystem* system = nullptr;
  HRESULT status = CreateSystem(argc > 1 ? argv[1] : "", &system);
  if (SUCCEEDED(status)) status = system->InitializeSystem(nullptr);
  IORVEndpointEnumerator* endpoints = nullptr;
  if (SUCCEEDED(status)) status = system->EnumerateORVEndpoints(&endpoints);
  if (FAILED(status)) {
    std::printf("0x%08X\n", static_cast<unsigned>(status));
    return 1;
  }
  BSTR name = nullptr;
  for (IORVEndpointInfo* endpoint = nullptr; endpoints->Next(&endpoint) == S_OK;) {
    if (endpoint->get_FriendlyName(&name) == S_OK) PrintAndFree("%ls\n", name);
    IORVAPOOpModeEnumerator* modes = nullptr;
    endpoint->GetOpModeEnumerator(&modes);
    for (IORVOperatingMode* mode = nullptr; modes->Next(&mode) == S_OK; mode->Release())
      if (mode->get_Name(&name) == S_OK) PrintAndFree("  %ls\n", name);
    modes->Release();
    endpoint->Release();
  }
  endpoints->Release();
  system->Release();
  return 0;
}
