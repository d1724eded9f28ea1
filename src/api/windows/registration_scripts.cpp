// The scripts are resources of the module, under their own numbers.
#include "api/registration_scripts.h"

#include "api/windows/own_module.h"

namespace orv {

std::optional<std::string_view> RegistrationScript(unsigned number) {
  const HMODULE module = OwnModule();
  const HRSRC place = FindResourceW(module, MAKEINTRESOURCEW(number), L"REGISTRY");
  if (place == nullptr) return std::nullopt;
  // Mapped with the module; there is nothing to give back.
  const HGLOBAL loaded = LoadResource(module, place);
  const void* text = loaded != nullptr ? LockResource(loaded) : nullptr;
  if (text == nullptr) return std::nullopt;
  return std::string_view(static_cast<const char*>(text), SizeofResource(module, place));
}

}  // namespace orv
