// A machine that lives in a folder (or in memory): registry.reg, machine.json and drive_c/.
//
// registry.reg is a registry export (UTF-8, or UTF-16 with byte-order mark) and keeps what is
// written. Several machines, in one process or in several, may use one folder at the same time:
// no write is lost, and each machine and its watches see the changes of the others.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "platform/file_error.h"
#include "platform/machine.h"
#include "simulated/description/fault_plan.h"
#include "simulated/description/machine_description.h"
#include "simulated/drivers/driver_memory.h"
#include "simulated/sound/simulated_sound.h"

namespace orv {

class SimulatedMachine : public Machine {
 public:
  // Returns null, with the reason in `error`, if a file of the folder is missing or refused.
  static std::unique_ptr<SimulatedMachine> Open(const std::filesystem::path& folder,
                                                FileError& error);
  // A machine without a folder: nothing is written to disk. Its registry starts with an export
  // (invalid or empty text: nothing in it). `drive_c`
  // may name a host folder as drive C: (empty: none).
  static std::unique_ptr<SimulatedMachine> InMemory(MachineDescription description = {},
                                                    std::filesystem::path drive_c = {},
                                                    const std::string& registry = {});
  ~SimulatedMachine() override;

  FaultPlan& faults();
  // Endpoints may be changed between calls; later enumerations see the change.
  MachineDescription& description();
  SimulatedSound& sound();
  // The endpoints play what a "playback" section describes from now on. A refusal changes nothing.
  bool SetPlayback(std::string_view section, FileError& error);
  // What the drivers hold, received and refused; kept in the machine's folder.
  DriverMemory Drivers();
  std::vector<DriverRecord> ReceivedRecords() { return Drivers().received; }
  std::vector<DriverRefusal> RefusedRequests() { return Drivers().refused; }
  // The number of the latest record or refusal, whether it is still kept or not; 0 before the
  // first.
  std::uint64_t LatestRequestNumber() { return Drivers().requests; }
  // What a driver holds of a parameter; nullopt if it never received one.
  std::optional<std::vector<std::byte>> HeldParameter(const std::string& driver,
                                                      std::uint32_t parameter);
  // The apply flag of the latest request of a kind on this machine object, such as "skylake set
  // status" or "broadwell get parameter 21"; nullopt before the first one.
  std::optional<std::uint32_t> ApplyFlag(const std::string& request);
  std::vector<DriverFinding> DriverFindings();
  // How often an event has been signalled, by all users of this machine.
  std::uint64_t EventSignals(const std::wstring& name);
  // Events that clients of this process have registered with drivers and not unregistered.
  std::size_t RegisteredEvents();
  const std::filesystem::path& folder() const;  // empty in memory

  Registry& registry() override;
  HRESULT CreateDeviceEnumerator(IMMDeviceEnumerator** enumerator) override;
  std::vector<std::wstring> DeviceInterfaces(REFGUID interface_class) override;
  std::unique_ptr<DeviceFile> OpenDevice(const std::wstring& path, std::uint32_t& error) override;
  std::unique_ptr<NamedEvent> OpenNamedEvent(const std::wstring& name,
                                             std::uint32_t& error) override;
  std::optional<std::wstring> KnownFolder(REFGUID folder) override;
  std::optional<std::wstring> SystemDirectory() override;
  bool IsPlatformVersion(std::uint32_t major, std::uint32_t minor) override;
  bool Is32BitProcess() override;
  bool FileExists(const std::wstring& path) override;
  std::optional<std::filesystem::path> HostFile(const std::wstring& path) override;
  std::optional<std::string> HostPath(const std::wstring& path) override;

 private:
  struct State;
  SimulatedMachine(MachineDescription description, std::filesystem::path drive_c, std::uint64_t id);
  // The same for each opening of a folder, under any path, while the process lives.
  static std::uint64_t IdOfFolder(const std::filesystem::path& folder);
  std::unique_ptr<State> state_;
};

}  // namespace orv
