// Drivers of an Intel DSP with any answer: wrong counts and statuses, module lists and blocks of
// any content. Every operation of the object ends with a status and within its buffers.

#include "../tests/intel_dsp/fake_mode.h"
#include "intel_dsp/broadwell/parameter_blocks.h"
#include "intel_dsp/intel_dsp.h"
#include "intel_dsp/skylake/writers.h"
#include "platform/com_memory.h"
#include "platform/diagnostics.h"
#include "scripted_machine.h"

namespace orv::fuzz {
namespace {

constexpr wchar_t kSpeakers[] = L"{0.0.0.00000000}.{SPEAKERS}";

std::shared_ptr<Machine> MakeMachine(Input& input, bool broadwell) {
  MachineDescription description;
  SimulatedEndpoint endpoint;
  endpoint.id = kSpeakers;
  endpoint.is_default = true;
  description.endpoints.push_back(endpoint);
  if (broadwell) {
    description.drivers.broadwell.emplace();
  } else {
    description.drivers.skylake.emplace().endpoints.push_back({kSpeakers});
  }
  return std::make_shared<ScriptedMachine>(SimulatedMachine::InMemory(description), input);
}

// All controls of the driver's blocks, with a value of each sign.
std::vector<ListedControl> ModeOf(bool broadwell, std::uint8_t value) {
  std::vector<ListedControl> controls;
  if (broadwell) {
    for (const broadwell::Block& block : broadwell::kBlocks)
      for (const broadwell::Field& field : block.fields) controls.emplace_back(field.control, 1);
  } else {
    for (std::uint32_t parameter = 0x10014401; parameter <= 0x1001440C; ++parameter)
      for (std::size_t size = 0; size <= 64; size += 2)
        for (const DecodedField& field :
             skylake::DecodeBlock(parameter, std::vector<std::byte>(size)))
          controls.emplace_back(field.control, 1);
  }
  for (std::size_t i = 0; i < controls.size(); i += 3) controls[i].second = value % 2;
  for (const char* stem : {"ZENSND-HPF ", "VQ3D-HPF "}) {
    controls.emplace_back(std::string(stem) + "Order", 1 + value % 9);
    controls.emplace_back(std::string(stem) + "Frequency", 100);
  }
  return controls;
}

void Use(IKELAPOIntelDSP4& dsp, Input& input, bool broadwell) {
  BYTE version = 0;
  BYTE features = 0;
  dsp.GetAPIVersion(&version, &features);
  UniqueBstr name;
  UniqueBstr text;
  const HRESULT status = dsp.GetModuleInfo(OutPtr(name), OutPtr(text));
  Require(SUCCEEDED(status) == (name != nullptr));
  dsp.put_APOEnable(1, 0);
  const std::vector<ListedControl> controls = ModeOf(broadwell, input.Byte());
  dsp.WriteControls(FakeMode::Make(controls).get(), nullptr, 1);
  for (int round = 0; round < 4 && !input.empty(); ++round) {
    const ListedControl& control = controls[input.Byte() % controls.size()];
    const UniqueBstr control_name(SysAllocString(Widen(control.first).c_str()));
    VARIANT value{};
    value.vt = VT_I4;
    value.lVal = static_cast<LONG>(input.Number(4));
    dsp.put_Property(control_name.get(), 0, value);
    const HRESULT read = dsp.get_Property(control_name.get(), 0, &value);
    Require(FAILED(read) || value.vt == VT_I4);
  }
}

}  // namespace

void Run(std::span<const std::uint8_t> bytes) {
  const DiagnosticCapture silence([](std::wstring_view) {});
  Input input(bytes);
  const bool broadwell = input.Byte() % 2 != 0;
  Module module({}, [] { return std::shared_ptr<Machine>(); });
  module.SetMachine(MakeMachine(input, broadwell));
  ComPtr<IKELAPOIntelDSP> dsp;
  const HRESULT status = CreateIntelDriverClient(module, nullptr, kSpeakers, dsp.Put());
  Require(SUCCEEDED(status) == static_cast<bool>(dsp));
  if (dsp) Use(*dsp.As<IKELAPOIntelDSP4>(), input, broadwell);
  dsp.Reset();
  ReleaseIntelDriverClients();
  Require(module.lock_count() == 0);
}

}  // namespace orv::fuzz
