// The processing technology library: a separate module that describes every control. It is loaded
// only to learn those descriptions; no audio runs through it.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/dynamic_library.h"
#include "platform/machine.h"
#include "values/control_info.h"
#include "values/value.h"

namespace orv {

struct TechnologyProcess;

using ORVTechEnumCallback = void (*)(const char* process_name, void* context);
using ORVTechEnumProcesses = void (*)(ORVTechEnumCallback callback, void* context);
using ORVTechCreateProcess = bool (*)(const char* process_name, TechnologyProcess** process);
using ORVTechDestroyProcess = void (*)(TechnologyProcess* process);
// Table entries 7 and 6 (counted from 0): the control records and their number.
using TechnologyRecordsFunction = std::int32_t (*)(TechnologyProcess* process,
                                                   const TechnologyControlRecord** records);

// A process object of the library: its first field points to a table of functions.
struct TechnologyProcess {
  const TechnologyRecordsFunction* functions;
};

// File name of the library: "kxtech64.dll", or "kxtech32.dll" in a 32-bit process.
const wchar_t* TechnologyLibraryName(Machine& machine);

class ORVAPOProcessLibrary : boost::noncopyable {
 public:
  explicit ORVAPOProcessLibrary(Machine& machine) : machine_(machine) {}
  virtual ~ORVAPOProcessLibrary();

  virtual void SetName(const char* name);
  // Loads the library when needed, releases the held process and creates the named one; false when
  // any of it fails.
  virtual bool CreateProcess(const char* name);
  virtual void ReleaseProcess();

  bool EnsureLoaded();
  // Calls ORVTechEnumProcesses; no names when the library lacks it.
  std::vector<std::string> EnumerateProcessNames();
  // Appends the descriptions of the held process's controls.
  void AppendControlInfos(std::vector<ORVQVTControlInfo>& infos) const;

  // Folder in which the library is looked for (process-wide, the last one given wins); empty means
  // the folder of the host program.
  static void SetDirectory(const std::wstring& directory);
  static std::wstring LibraryPath(Machine& machine);

 private:
  Machine& machine_;
  DynamicLibrary module_;
  TechnologyProcess* process_ = nullptr;
  std::string name_;
  ORVTechCreateProcess create_ = nullptr;
  ORVTechDestroyProcess destroy_ = nullptr;
};

// Every control of every process, read once in the constructor (which never fails: without a
// library the tables are empty).
class ORVAPOProcessInfo {
 public:
  ORVAPOProcessInfo(Machine& machine, const wchar_t* technology_directory);
  virtual ~ORVAPOProcessInfo() = default;

  // Description of the control that the value's base name names, letter case ignored. False, `info`
  // as it was, when there is none.
  bool FindControlInfo(const ORVQVTValue& value, ORVQVTControlInfo& info) const;

  const std::vector<std::string>& process_names() const noexcept { return process_names_; }
  const std::vector<ORVQVTControlInfo>& control_infos() const noexcept { return control_infos_; }

 private:
  std::vector<std::string> process_names_;
  std::vector<ORVQVTControlInfo> control_infos_;  // sorted by name, letter case ignored
};

}  // namespace orv
