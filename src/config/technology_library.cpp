#include "config/technology_library.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <utility>

#include "platform/text.h"

namespace orv {
namespace {

// Positions in a process object's table of functions.
constexpr std::size_t kRecordsWithFactor = 6;
constexpr std::size_t kRecordsWithoutFactor = 7;

struct TechnologyDirectory {
  std::mutex reading;  // held while a library's descriptions are read: one directory at a time
  std::mutex lock;
  std::wstring path;
};

TechnologyDirectory& Directory() {
  static TechnologyDirectory directory;
  return directory;
}

// An exception must not pass through the library's frames: it waits until the enumeration is over.
struct NameCollection {
  std::vector<std::string> names;
  std::exception_ptr failure;
};

void CollectName(const char* process_name, void* context) {
  auto& collection = *static_cast<NameCollection*>(context);
  if (process_name == nullptr || collection.failure) return;
  try {
    collection.names.emplace_back(process_name);
  } catch (...) {
    collection.failure = std::current_exception();
  }
}

using Assignment = void (ORVQVTControlInfo::*)(const TechnologyControlRecord&);

// Number of records the function reported.
std::int32_t AppendRecords(TechnologyProcess& process, std::size_t position, Assignment assign,
                           std::vector<ORVQVTControlInfo>& infos) {
  const TechnologyControlRecord* records = nullptr;
  const std::int32_t count = process.functions[position](&process, &records);
  if (records == nullptr) return count;
  for (std::int32_t i = 0; i < count; ++i) {
    ORVQVTControlInfo info;
    (info.*assign)(records[i]);
    infos.push_back(std::move(info));
  }
  return count;
}

bool NameIsBefore(const ORVQVTControlInfo& info, const std::string& name) {
  return CompareIgnoringCase(std::string_view(info.name()), std::string_view(name)) < 0;
}

}  // namespace

const wchar_t* TechnologyLibraryName(Machine& machine) {
  return machine.Is32BitProcess() ? L"kxtech32.dll" : L"kxtech64.dll";
}

ORVAPOProcessLibrary::~ORVAPOProcessLibrary() { ORVAPOProcessLibrary::ReleaseProcess(); }

void ORVAPOProcessLibrary::SetDirectory(const std::wstring& directory) {
  const std::scoped_lock lock(Directory().lock);
  Directory().path = directory;
}

std::wstring ORVAPOProcessLibrary::LibraryPath(Machine& machine) {
  std::wstring path;
  {
    const std::scoped_lock lock(Directory().lock);
    path = Directory().path;
  }
  if (path.empty()) path = HostProgramPath();
  path = RemoveLastPathElement(path);
  if (path.empty() || path.back() != L'\\') path += L'\\';
  return path + TechnologyLibraryName(machine);
}

void ORVAPOProcessLibrary::SetName(const char* name) { name_ = name != nullptr ? name : ""; }

bool ORVAPOProcessLibrary::EnsureLoaded() {
  if (module_.loaded()) return true;
  const std::wstring path = LibraryPath(machine_);
  if (!machine_.FileExists(path)) return false;
  const auto file = machine_.HostFile(path);
  return file && module_.Load(*file);
}

bool ORVAPOProcessLibrary::CreateProcess(const char* name) {
  if (name == nullptr || !EnsureLoaded()) return false;
  ReleaseProcess();
  create_ = reinterpret_cast<ORVTechCreateProcess>(module_.Find("ORVTechCreateProcess"));
  destroy_ = reinterpret_cast<ORVTechDestroyProcess>(module_.Find("ORVTechDestroyProcess"));
  if (create_ == nullptr || destroy_ == nullptr) return false;
  if (create_(name, &process_)) return true;
  process_ = nullptr;  // whatever a refusal left there is nothing to destroy
  return false;
}

void ORVAPOProcessLibrary::ReleaseProcess() {
  if (TechnologyProcess* process = std::exchange(process_, nullptr)) destroy_(process);
}

std::vector<std::string> ORVAPOProcessLibrary::EnumerateProcessNames() {
  NameCollection collection;
  if (!EnsureLoaded()) return {};
  const auto enumerate =
      reinterpret_cast<ORVTechEnumProcesses>(module_.Find("ORVTechEnumProcesses"));
  if (enumerate == nullptr) return {};
  enumerate(&CollectName, &collection);
  if (collection.failure) std::rethrow_exception(collection.failure);
  return std::move(collection.names);
}

void ORVAPOProcessLibrary::AppendControlInfos(std::vector<ORVQVTControlInfo>& infos) const {
  if (process_ == nullptr) return;
  if (AppendRecords(*process_, kRecordsWithoutFactor,
                    &ORVQVTControlInfo::AssignDescriptorDeriveFactor, infos) == 0)
    AppendRecords(*process_, kRecordsWithFactor, &ORVQVTControlInfo::AssignDescriptor, infos);
}

ORVAPOProcessInfo::ORVAPOProcessInfo(Machine& machine, const wchar_t* technology_directory) {
  const std::scoped_lock reading(Directory().reading);
  if (technology_directory != nullptr && *technology_directory != L'\0')
    ORVAPOProcessLibrary::SetDirectory(technology_directory);
  ORVAPOProcessLibrary library(machine);
  process_names_ = library.EnumerateProcessNames();
  for (const std::string& name : process_names_)
    if (library.CreateProcess(name.c_str())) library.AppendControlInfos(control_infos_);
  std::stable_sort(control_infos_.begin(), control_infos_.end(),
                   [](const ORVQVTControlInfo& a, const ORVQVTControlInfo& b) {
                     return NameIsBefore(a, b.name());
                   });
}

bool ORVAPOProcessInfo::FindControlInfo(const ORVQVTValue& value, ORVQVTControlInfo& info) const {
  const std::string name = value.GetBaseName();
  const auto found =
      std::lower_bound(control_infos_.begin(), control_infos_.end(), name, NameIsBefore);
  if (found == control_infos_.end() ||
      !EqualsIgnoringCase(std::string_view(found->name()), std::string_view(name)))
    return false;
  info = *found;
  return true;
}

}  // namespace orv
