#include "platform/simulated/simulated_machine.h"

#include "platform/simulated/drive_paths.h"
#include "platform/simulated/machine_file.h"
#include "platform/simulated/registry_hive.h"
#include "platform/simulated/simulated_devices.h"
#include "platform/simulated/simulated_registry.h"
#include "platform/text.h"

namespace orv {

struct SimulatedMachine::State {
  State() : hive(std::make_shared<RegistryHive>(faults)), registry(hive) {
    devices->faults = faults;
  }

  std::filesystem::path drive_c;
  std::shared_ptr<FaultPlan> faults = std::make_shared<FaultPlan>();
  std::shared_ptr<SimulatedDevices> devices = std::make_shared<SimulatedDevices>();
  std::shared_ptr<RegistryHive> hive;
  SimulatedRegistry registry;
};

namespace {

void PlanFaults(const std::vector<PlannedFault>& faults, FaultPlan& plan) {
  for (const PlannedFault& fault : faults) {
    if (fault.nth)
      plan.FailNth(fault.operation, *fault.nth, fault.status);
    else
      plan.FailAlways(fault.operation, fault.status);
  }
}

}  // namespace

SimulatedMachine::SimulatedMachine(std::unique_ptr<State> state) : state_(std::move(state)) {}

SimulatedMachine::~SimulatedMachine() = default;

std::unique_ptr<SimulatedMachine> SimulatedMachine::Open(const std::filesystem::path& folder,
                                                         FileError& error) {
  auto description = ReadMachineFile(folder / "machine.json", error);
  if (!description) return nullptr;
  auto machine = InMemory(std::move(*description), folder / "drive_c");
  machine->state_->devices->folder = folder;
  if (!machine->state_->hive->Attach(folder, error)) return nullptr;
  return machine;
}

std::unique_ptr<SimulatedMachine> SimulatedMachine::InMemory(MachineDescription description,
                                                             std::filesystem::path drive_c) {
  auto state = std::make_unique<State>();
  state->drive_c = std::move(drive_c);
  PlanFaults(description.faults, *state->faults);
  state->devices->description = std::move(description);
  return std::unique_ptr<SimulatedMachine>(new SimulatedMachine(std::move(state)));
}

bool SimulatedMachine::ImportRegistry(std::string_view export_text, FileError& error) {
  const auto content = DecodeRegistryExport(export_text, error);
  return content && state_->hive->Import(*content, error);
}

FaultPlan& SimulatedMachine::faults() { return *state_->faults; }
MachineDescription& SimulatedMachine::description() { return state_->devices->description; }
const std::filesystem::path& SimulatedMachine::folder() const { return state_->devices->folder; }
std::vector<DriverRecord> SimulatedMachine::ReceivedRecords() { return {}; }
Registry& SimulatedMachine::registry() { return state_->registry; }

HRESULT SimulatedMachine::CreateDeviceEnumerator(IMMDeviceEnumerator** enumerator) {
  return CreateSimulatedEnumerator(state_->devices, enumerator);
}

std::vector<std::wstring> SimulatedMachine::DeviceInterfaces(REFGUID) { return {}; }

std::unique_ptr<DeviceFile> SimulatedMachine::OpenDevice(const std::wstring&,
                                                         std::uint32_t& error) {
  error = kDeviceFileNotFound;
  return nullptr;
}

std::unique_ptr<NamedEvent> SimulatedMachine::OpenNamedEvent(const std::wstring&,
                                                             std::uint32_t& error) {
  error = kDeviceFileNotFound;
  return nullptr;
}

std::optional<std::wstring> SimulatedMachine::KnownFolder(REFGUID folder) {
  if (state_->faults->Check("machine.known_folder")) return std::nullopt;
  if (IsEqualGUID(folder, kFolderProgramData)) return description().program_data;
  if (IsEqualGUID(folder, kFolderProgramFiles)) return description().program_files;
  return std::nullopt;
}

std::optional<std::wstring> SimulatedMachine::SystemDirectory() {
  if (state_->faults->Check("machine.system_directory")) return std::nullopt;
  return description().system_directory;
}

bool SimulatedMachine::IsPlatformVersion(std::uint32_t major, std::uint32_t minor) {
  return description().version_major == major && description().version_minor == minor;
}

bool SimulatedMachine::Is32BitProcess() { return description().is_32bit_process; }

bool SimulatedMachine::FileExists(const std::wstring& path) {
  if (state_->faults->Check("machine.file_exists")) return false;
  const auto file = HostFile(state_->drive_c, path);
  std::error_code ignored;
  return file && std::filesystem::exists(*file, ignored);
}

std::optional<std::string> SimulatedMachine::HostPath(const std::wstring& path) {
  if (state_->faults->Check("machine.host_path")) return std::nullopt;
  // The C runtime opens narrow paths only: one that the current locale cannot express leads
  // nowhere.
  if (Narrow(path).empty()) return std::nullopt;
  const auto file = HostFile(state_->drive_c, path);
  if (!file) return std::nullopt;
  return file->string();
}

}  // namespace orv
