// The platform keeps a type library below TypeLib in the classes root: identifier, version,
// language and word size. The same keys are written here.
#include "api/process_services.h"
#include "frame/registrar.h"
#include "orv_apo/orv_apo.h"
#include "platform/guid_text.h"
#include "platform/text.h"

namespace orv {
namespace {

constexpr wchar_t kVersion[] = L"1.4";
constexpr wchar_t kLibraryName[] = L"ORV_APO2011_ControllerLib";
constexpr std::uint32_t kAccess = kKeyRead | kKeyWrite | kKeyWow64_64;

ClassesPlace LibraryPlace(bool per_user) {
  ClassesPlace place = PlaceOfClasses(per_user);
  place.path = JoinKeyPath(place.path, L"TypeLib\\" + GuidText(LIBID_ORV_APO2011_ControllerLib));
  return place;
}

RegStatus SetDefaultText(Registry& registry, RegRoot root, const std::wstring& path,
                         std::wstring_view text) {
  std::unique_ptr<RegistryKey> key;
  const RegStatus status = registry.CreateKey(root, path, kAccess, key, nullptr);
  if (status != kRegOk) return status;
  const auto bytes = RegistryTextBytes(text);
  return key->SetValue({}, kRegSz, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

HRESULT StatusOf(RegStatus status) {
  return orv_apo::StatusOfSystemError(static_cast<DWORD>(status));
}

}  // namespace

HRESULT RegisterTypeLibrary(Machine& machine, const std::wstring& module_path, bool per_user) {
  const ClassesPlace place = LibraryPlace(per_user);
  const std::wstring version = JoinKeyPath(place.path, kVersion);
  const struct {
    const wchar_t* subkey;
    std::wstring text;
  } entries[] = {
      {L"", kLibraryName},
      {L"\\0\\win64", module_path},
      {L"\\FLAGS", L"0"},
      {L"\\HELPDIR", RemoveLastPathElement(module_path)},
  };
  for (const auto& entry : entries) {
    const RegStatus status =
        SetDefaultText(machine.registry(), place.root, version + entry.subkey, entry.text);
    if (status != kRegOk) return StatusOf(status);
  }
  return S_OK;
}

HRESULT UnregisterTypeLibrary(Machine& machine, bool per_user) {
  const ClassesPlace place = LibraryPlace(per_user);
  Registry& registry = machine.registry();
  RegStatus status = registry.DeleteTree(place.root, JoinKeyPath(place.path, kVersion));
  if (status != kRegOk && status != kRegNotFound) return StatusOf(status);

  std::unique_ptr<RegistryKey> library;
  std::wstring other_version;
  status = registry.OpenKey(place.root, place.path, kKeyRead | kKeyWow64_64, library);
  if (status != kRegOk || library->EnumSubKey(0, other_version) == kRegOk) return S_OK;
  library.reset();
  return StatusOf(registry.DeleteTree(place.root, place.path));
}

}  // namespace orv
