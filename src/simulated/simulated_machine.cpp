#include "simulated/simulated_machine.h"

#include <map>
#include <mutex>
#include <system_error>

#include "platform/files.h"
#include "platform/text.h"
#include "simulated/devices/simulated_devices.h"
#include "simulated/drive_paths.h"
#include "simulated/drivers/device_files.h"
#include "simulated/registry/registry_hive.h"

namespace orv {

struct SimulatedMachine::State {
  State() : hive(std::make_shared<RegistryHive>(faults)), registry(hive) {
    devices->faults = faults;
    devices->drivers = std::make_shared<DriverStore>(faults);
  }

  std::filesystem::path drive_c;
  std::shared_ptr<FaultPlan> faults = std::make_shared<FaultPlan>();
  std::shared_ptr<SimulatedDevices> devices = std::make_shared<SimulatedDevices>();
  std::shared_ptr<RegistryHive> hive;
  SimulatedRegistry registry;
};

SimulatedMachine::SimulatedMachine(MachineDescription description, std::filesystem::path drive_c,
                                   std::uint64_t id)
    : Machine(id), state_(std::make_unique<State>()) {
  state_->drive_c = std::move(drive_c);
  for (const PlannedFault& fault : description.faults)
    faults().Fail(fault.operation, fault.nth, fault.status);
  state_->devices->description = std::move(description);
}

SimulatedMachine::~SimulatedMachine() = default;

std::unique_ptr<SimulatedMachine> SimulatedMachine::Open(const std::filesystem::path& folder,
                                                         FileError& error) {
  auto description = ReadMachineFile(folder / "machine.json", error);
  if (!description) return nullptr;
  std::unique_ptr<SimulatedMachine> machine(
      new SimulatedMachine(std::move(*description), folder / "drive_c", IdOfFolder(folder)));
  machine->state_->devices->folder = folder;
  const bool whole = machine->SetPlayback(machine->description().playback_json, error) &&
                     machine->state_->hive->Attach(folder, error) &&
                     machine->state_->devices->drivers->Attach(folder, error);
  return whole ? std::move(machine) : nullptr;
}

std::unique_ptr<SimulatedMachine> SimulatedMachine::InMemory(MachineDescription description,
                                                             std::filesystem::path drive_c,
                                                             const std::string& registry) {
  std::unique_ptr<SimulatedMachine> machine(
      new SimulatedMachine(std::move(description), std::move(drive_c), NewId()));
  FileError ignored;
  if (!registry.empty()) machine->state_->hive->Load(registry, ignored);
  return machine;
}

std::uint64_t SimulatedMachine::IdOfFolder(const std::filesystem::path& folder) {
  static std::mutex lock;
  static std::map<std::filesystem::path, std::uint64_t> ids;
  std::error_code error;
  std::filesystem::path real = std::filesystem::canonical(folder, error);
  const std::scoped_lock guard(lock);
  return ids.try_emplace(error ? folder : std::move(real), NewId()).first->second;
}

bool SimulatedMachine::SetPlayback(std::string_view section, FileError& error) {
  auto playback = ParsePlayback(section, description().endpoints, state_->drive_c, error);
  if (playback) sound().Play(std::move(*playback));
  return playback.has_value();
}

FaultPlan& SimulatedMachine::faults() { return *state_->faults; }
MachineDescription& SimulatedMachine::description() { return state_->devices->description; }
SimulatedSound& SimulatedMachine::sound() { return *state_->devices->sound; }
const std::filesystem::path& SimulatedMachine::folder() const { return state_->devices->folder; }
Registry& SimulatedMachine::registry() { return state_->registry; }

DriverMemory SimulatedMachine::Drivers() {
  DriverMemory memory;
  state_->devices->drivers->Read([&](const DriverMemory& now) { memory = now; });
  return memory;
}

std::optional<std::vector<std::byte>> SimulatedMachine::HeldParameter(const std::string& driver,
                                                                      std::uint32_t parameter) {
  const DriverMemory memory = Drivers();
  const HeldBlock* held = memory.Held(driver, parameter);
  return held == nullptr ? std::nullopt : std::optional(held->now);
}

std::optional<std::uint32_t> SimulatedMachine::ApplyFlag(const std::string& request) {
  return state_->devices->drivers->ApplyFlag(request);
}

std::vector<DriverFinding> SimulatedMachine::DriverFindings() {
  return FindingsOn(Drivers(), description().drivers);
}

std::uint64_t SimulatedMachine::EventSignals(const std::wstring& name) {
  return Drivers().signals[Utf8FromWide(name)];
}

std::size_t SimulatedMachine::RegisteredEvents() {
  return state_->devices->drivers->UseEvents(
      [](const auto& events) { return events.registered.size(); });
}

HRESULT SimulatedMachine::CreateDeviceEnumerator(IMMDeviceEnumerator** enumerator) {
  return CreateSimulatedEnumerator(state_->devices, enumerator);
}

std::vector<std::wstring> SimulatedMachine::DeviceInterfaces(REFGUID interface_class) {
  return SimulatedInterfaces(*state_->devices, interface_class);
}

std::unique_ptr<DeviceFile> SimulatedMachine::OpenDevice(const std::wstring& path,
                                                         std::uint32_t& error) {
  return OpenSimulatedDevice(state_->devices, path, error);
}

std::unique_ptr<NamedEvent> SimulatedMachine::OpenNamedEvent(const std::wstring& name,
                                                             std::uint32_t& error) {
  return OpenSimulatedEvent(state_->devices, name, error);
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
  const auto file = orv::HostFile(state_->drive_c, path);
  std::error_code ignored;
  return file && std::filesystem::exists(*file, ignored);
}

std::optional<std::filesystem::path> SimulatedMachine::HostFile(const std::wstring& path) {
  if (state_->faults->Check("machine.host_path")) return std::nullopt;
  return orv::HostFile(state_->drive_c, path);
}

std::optional<std::string> SimulatedMachine::HostPath(const std::wstring& path) {
  const auto file = HostFile(path);
  if (!file || Narrow(path).empty()) return std::nullopt;
  // A pipe would keep the C runtime waiting for its other end.
  std::error_code ignored;
  const auto type = std::filesystem::status(*file, ignored).type();
  if (type != std::filesystem::file_type::not_found && type != std::filesystem::file_type::regular)
    return std::nullopt;
  return CRuntimePath(*file);
}

}  // namespace orv
