#include "cli/client/driver_report.h"

#include "cli/client/host.h"
#include "cli/client/user_machines.h"
#include "cli/show/failure.h"
#include "platform/text.h"
#include "simulated/simulated_machine.h"

namespace orv::cli {

DriverReport ReadDrivers(const std::filesystem::path& folder) {
  const std::unique_ptr<Machine> opened = OpenMachine(ReadableMachineFolder(folder));
  auto* machine = dynamic_cast<SimulatedMachine*>(opened.get());
  if (machine == nullptr) {
    throw Failure(
        kRefused,
        "this machine is not simulated; only the drivers of a simulated machine keep what "
        "they receive.\nGive the folder of a simulated machine with --machine.");
  }
  DriverReport report{
      machine->ReceivedRecords(), machine->RefusedRequests(), machine->DriverFindings(), {}};
  for (const std::wstring& event : machine->description().events)
    report.events.push_back({Utf8FromWide(event), machine->EventSignals(event)});
  return report;
}

}  // namespace orv::cli
