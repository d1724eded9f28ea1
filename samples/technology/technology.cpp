// The processing technology library: named processes, each describing the controls it implements.
// Clients find the three exports by name and the records through a process object's function table.

#include <algorithm>
#include <cstring>
#include <span>
#include <type_traits>
#include <vector>

#include "config/technology_library.h"
#include "control_table.h"

namespace orv {
namespace {

using technology::Record;

struct Process : TechnologyProcess {
  const char* name;
  std::span<const Record> controls;
};

// Entries 0 to 5 carry audio, which this library does not do.
std::int32_t NotOffered(TechnologyProcess*, const Record**) { return -1; }

std::int32_t AllRecords(TechnologyProcess* process, const Record** records) {
  const auto& controls = static_cast<const Process*>(process)->controls;
  *records = controls.data();
  return static_cast<std::int32_t>(controls.size());
}

std::int32_t NoRecords(TechnologyProcess*, const Record** records) {
  *records = nullptr;
  return 0;
}

// Scales that imply the factor: entry 7 serves, entry 6 agrees.
constexpr TechnologyRecordsFunction kPlain[] = {NotOffered, NotOffered, NotOffered, NotOffered,
                                                NotOffered, NotOffered, AllRecords, AllRecords};
// Tenths of a decibel need the record's own factor, which only readers of entry 6 use.
constexpr TechnologyRecordsFunction kFactored[] = {NotOffered, NotOffered, NotOffered, NotOffered,
                                                   NotOffered, NotOffered, AllRecords, NoRecords};

// The processes keep no state, so each exists once, while the module is loaded.
std::vector<Process>& Processes() {
  static std::vector<Process> processes = [] {
    std::vector<Process> made;
    const auto begins_process = [](const Record& row) { return row.scale == ORV_QVT_SCALE_COUNT; };
    for (const Record* row = std::begin(technology::kTable); row != std::end(technology::kTable);) {
      const char* name = row->name;
      const Record* controls = row + 1;
      row = std::find_if(controls, std::end(technology::kTable), begins_process);
      const bool factored = std::ranges::find(controls, row, 10.0F, &Record::factor) != row;
      made.push_back({{factored ? kFactored : kPlain}, name, {controls, row}});
    }
    return made;
  }();
  return processes;
}

}  // namespace
}  // namespace orv

extern "C" {

void ORVTechEnumProcesses(orv::ORVTechEnumCallback callback, void* context) {
  for (const orv::Process& process : orv::Processes()) callback(process.name, context);
}

bool ORVTechCreateProcess(const char* process_name, orv::TechnologyProcess** process) {
  if (process == nullptr) return false;
  *process = nullptr;
  if (process_name == nullptr) return false;
  for (orv::Process& candidate : orv::Processes()) {
    if (std::strcmp(candidate.name, process_name) == 0) *process = &candidate;
  }
  return *process != nullptr;
}

void ORVTechDestroyProcess(orv::TechnologyProcess*) {}

}  // extern "C"

static_assert(std::is_same_v<decltype(&ORVTechEnumProcesses), orv::ORVTechEnumProcesses>);
static_assert(std::is_same_v<decltype(&ORVTechCreateProcess), orv::ORVTechCreateProcess>);
static_assert(std::is_same_v<decltype(&ORVTechDestroyProcess), orv::ORVTechDestroyProcess>);
