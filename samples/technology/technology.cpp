// The processing technology library: named processes, each describing the controls it implements.
// Clients find the three exports by name and the records through a process object's function table.

#include <cstring>
#include <span>
#include <type_traits>

#include "config/technology_library.h"
#include "control_table.h"

namespace orv {
namespace {

// The processes keep no state, so each exists once, for as long as the module is loaded.
struct Process : TechnologyProcess {
  constexpr Process(const TechnologyRecordsFunction* table, const char* process_name,
                    std::span<const TechnologyControlRecord> process_controls)
      : TechnologyProcess{table}, name(process_name), controls(process_controls) {}

  const char* name;
  std::span<const TechnologyControlRecord> controls;
};

// Entries 0 to 5 carry audio, which this library does not do.
std::int32_t NotOffered(TechnologyProcess*, const TechnologyControlRecord**) { return -1; }

std::int32_t AllRecords(TechnologyProcess* process, const TechnologyControlRecord** records) {
  const auto& controls = static_cast<const Process*>(process)->controls;
  *records = controls.data();
  return static_cast<std::int32_t>(controls.size());
}

std::int32_t NoRecords(TechnologyProcess*, const TechnologyControlRecord** records) {
  *records = nullptr;
  return 0;
}

// Scales that give the factor away: entry 7 serves, entry 6 agrees.
constexpr TechnologyRecordsFunction kPlain[] = {NotOffered, NotOffered, NotOffered, NotOffered,
                                                NotOffered, NotOffered, AllRecords, AllRecords};
// Tenths of a decibel need the record's own factor, which only readers of entry 6 look at.
constexpr TechnologyRecordsFunction kFactored[] = {NotOffered, NotOffered, NotOffered, NotOffered,
                                                   NotOffered, NotOffered, AllRecords, NoRecords};

constinit Process processes[] = {
    {kPlain, "ZAPO3-Switches", technology::kApoControls},
    {kFactored, "VQ3D-Core", technology::vq3d::kCore},
    {kFactored, "VQ3D-EVolHD", technology::vq3d::kVolumeLeveller},
    {kFactored, "VQ3D-Vocalift", technology::vq3d::kVocalift},
    {kFactored, "VQ3D-DPHD", technology::vq3d::kBass},
    {kFactored, "VQ3D-WIDHD", technology::vq3d::kSpace},
    {kFactored, "VQ3D-MXHP", technology::vq3d::kHeadphone},
    {kFactored, "VQ3D-GEQ", technology::vq3d::kGraphicEqualiser},
    {kFactored, "VQ3D-Tone", technology::vq3d::kTone},
    {kFactored, "VQ3D-AEQ", technology::vq3d::kEqualiser},
    {kPlain, "VQ3D-Master Volume", technology::vq3d::kMasterVolume},
    {kFactored, "VQ3D-Hard Limiter", technology::vq3d::kHardLimiter},
    {kFactored, "ZENSND-Core", technology::zensnd::kCore},
    {kFactored, "ZENSND-EVolHD", technology::zensnd::kVolumeLeveller},
    {kFactored, "ZENSND-AMHD", technology::zensnd::kSurround},
    {kPlain, "ZENSND-WIDHDX", technology::zensnd::kWidening},
    {kPlain, "ZENSND-DPHD", technology::zensnd::kBass},
    {kFactored, "ZENSND-Hard Limiter", technology::zensnd::kHardLimiter},
    {kFactored, "ZENSND-AEQ", technology::zensnd::kEqualiser},
    {kPlain, "QUMEDIA-Core", technology::qumedia::kCore},
    {kPlain, "QUMEDIA-WIDHDX", technology::qumedia::kWidening},
    {kPlain, "QUMEDIA-MXHP", technology::qumedia::kHeadphone},
    {kPlain, "QUMEDIA-DPHD", technology::qumedia::kBass},
    {kPlain, "QUMEDIA-HPF", technology::qumedia::kHighPass},
    {kPlain, "QUMEDIA-Hard Limiter", technology::qumedia::kHardLimiter},
    {kPlain, "QUMEDIA-PEQ", technology::qumedia::kEqualiser},
};

}  // namespace
}  // namespace orv

extern "C" {

void ORVTechEnumProcesses(orv::ORVTechEnumCallback callback, void* context) {
  for (const orv::Process& process : orv::processes) callback(process.name, context);
}

bool ORVTechCreateProcess(const char* process_name, orv::TechnologyProcess** process) {
  if (process == nullptr) return false;
  *process = nullptr;
  if (process_name == nullptr) return false;
  for (orv::Process& candidate : orv::processes) {
    if (std::strcmp(candidate.name, process_name) == 0) *process = &candidate;
  }
  return *process != nullptr;
}

void ORVTechDestroyProcess(orv::TechnologyProcess*) {}

}  // extern "C"

static_assert(std::is_same_v<decltype(&ORVTechEnumProcesses), orv::ORVTechEnumProcesses>);
static_assert(std::is_same_v<decltype(&ORVTechCreateProcess), orv::ORVTechCreateProcess>);
static_assert(std::is_same_v<decltype(&ORVTechDestroyProcess), orv::ORVTechDestroyProcess>);
