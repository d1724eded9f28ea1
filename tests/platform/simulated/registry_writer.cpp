// registry_writer FOLDER NAME COUNT: writes values NAME0, NAME1, ... into the key "Software\Shared"
// of a machine's folder, each holding its own number in one byte.

#include <cstdlib>
#include <string>

#include "platform/simulated/simulated_machine.h"
#include "platform/text.h"

int main(int argc, char** argv) {
  orv::FileError error;
  const auto machine = argc == 4 ? orv::SimulatedMachine::Open(argv[1], error) : nullptr;
  if (machine == nullptr) return 1;
  std::unique_ptr<orv::RegistryKey> key;
  orv::RegStatus status =
      machine->registry().CreateKey(orv::RegRoot::LocalMachine, L"Software\\Shared",
                                    orv::kKeyRead | orv::kKeyWrite, key, nullptr);
  for (int i = 0; i < std::atoi(argv[3]) && status == orv::kRegOk; ++i) {
    const std::wstring name = orv::WideFromUtf8(argv[2]) + std::to_wstring(i);
    const auto number = static_cast<unsigned char>(i);
    status = key->SetValue(name, orv::kRegBinary, &number, 1);
  }
  return status == orv::kRegOk ? 0 : 1;
}
