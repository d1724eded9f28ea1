// A small technology library. WITHOUT_DESTRUCTION leaves out one export.
#include <cstdlib>
#include <string_view>

#include "config/technology_library.h"

namespace {

using orv::TechnologyControlRecord;
using orv::TechnologyProcess;

const char* const kSwitchNames[] = {"Disabled", "Enabled"};

const TechnologyControlRecord kSurroundRecords[] = {
    {"VQ3D-Surround Level", -5, 500, 0, 0, 0, nullptr, ORV_QVT_SCALE_BY100, 7.0F},
    {"VQ3D-Process Enable", 0, 1, 0, 2, 0, kSwitchNames, ORV_QVT_SCALE_ENUM, 7.0F}};
const TechnologyControlRecord kDefinitionRecords[] = {
    {"ZENSND-Definition Level", 0, 100, 0, 0, 0, nullptr, ORV_QVT_SCALE_DB, 2.5F},
    {"vq3d-process enable", 0, 1, 0, 2, 0, kSwitchNames, ORV_QVT_SCALE_ENUM, 1.0F}};

template <std::size_t Count>
std::int32_t Give(const TechnologyControlRecord (&all)[Count],
                  const TechnologyControlRecord** records) {
  *records = all;
  return Count;
}

std::int32_t NoRecords(TechnologyProcess*, const TechnologyControlRecord**) { return 0; }
std::int32_t FewerThanNone(TechnologyProcess*, const TechnologyControlRecord**) { return -1; }
std::int32_t Surround(TechnologyProcess*, const TechnologyControlRecord** records) {
  return Give(kSurroundRecords, records);
}
std::int32_t Definition(TechnologyProcess*, const TechnologyControlRecord** records) {
  return Give(kDefinitionRecords, records);
}

using Table = orv::TechnologyRecordsFunction[8];
const Table kSurroundTable = {nullptr, nullptr, nullptr,    nullptr,
                              nullptr, nullptr, Definition, Surround};
const Table kDefinitionTable = {nullptr, nullptr, nullptr,    nullptr,
                                nullptr, nullptr, Definition, NoRecords};
const Table kConfusedTable = {nullptr, nullptr, nullptr,    nullptr,
                              nullptr, nullptr, Definition, FewerThanNone};
// A process that outlives the library ends the test program.
struct LiveProcesses {
  ~LiveProcesses() {
    if (count != 0) std::abort();
  }
  int count = 0;
} live;

}  // namespace

extern "C" {

void ORVTechEnumProcesses(orv::ORVTechEnumCallback callback, void* context) {
  for (const char* name : {"Surround", "Refused", "Definition", "Confused"})
    callback(name, context);
}

bool ORVTechCreateProcess(const char* process_name, TechnologyProcess** process) {
  const std::string_view name = process_name;
  *process = nullptr;
  if (name == "Refused") *process = reinterpret_cast<TechnologyProcess*>(&live);
  if (name == "Surround") *process = new TechnologyProcess{kSurroundTable};
  if (name == "Definition") *process = new TechnologyProcess{kDefinitionTable};
  if (name == "Confused") *process = new TechnologyProcess{kConfusedTable};
  if (name == "Refused" || *process == nullptr) return false;
  ++live.count;
  return true;
}

#ifndef WITHOUT_DESTRUCTION
void ORVTechDestroyProcess(TechnologyProcess* process) {
  --live.count;
  delete process;
}
#endif
}
