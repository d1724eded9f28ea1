#include "cli/client/technology.h"

#include "cli/client/host.h"
#include "cli/show/failure.h"
#include "endpoints/endpoint_registry.h"
#include "endpoints/processing_key.h"
#include "platform/text.h"

namespace orv::cli {

std::wstring AsFolder(std::wstring path) {
  if (!path.empty() && path.back() != L'\\') path += L'\\';
  return path;
}

std::wstring FindTechnologyFolder(Machine& machine, const std::vector<std::string>& endpoints) {
  Registry& registry = machine.registry();
  for (const std::string& endpoint : endpoints) {
    const std::wstring id = WideFromUtf8(endpoint);
    const std::wstring guid = ToUpperAscii(id.substr(id.rfind(L'.') + 1));
    const std::wstring file =
        ReadKeyText(registry, ProcessingKeyPath(registry, guid), kTechnologyPathValue);
    if (!file.empty()) return AsFolder(RemoveLastPathElement(file));
  }
  return AsFolder(machine.SystemDirectory().value_or(std::wstring()));
}

std::unique_ptr<ORVAPOProcessInfo> OpenTechnology(const SessionOptions& options) {
  const std::string& named = options.technology;
  try {
    std::filesystem::path folder = options.machine;
    const std::unique_ptr<Machine> machine = OpenMachine(folder);
    const std::wstring directory = AsFolder(
        named.empty() ? machine->SystemDirectory().value_or(std::wstring()) : WideFromUtf8(named));
    if (directory.empty()) return nullptr;
    auto technology = std::make_unique<ORVAPOProcessInfo>(*machine, directory.c_str());
    if (!technology->control_infos().empty()) return technology;
  } catch (const Failure&) {
    // A machine that was asked for has to be there.
    if (!options.machine.empty()) throw;
  }
  if (!named.empty()) {
    throw Failure(kRefused, "no technology library in " + named +
                                " describes a control.\nName the folder as the machine knows it, "
                                "such as C:\\Windows\\System32.");
  }
  return nullptr;
}

}  // namespace orv::cli
