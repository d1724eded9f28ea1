// registry_writer FOLDER NAME COUNT: writes values NAME0, NAME1, ... into the key "Software\Shared"
// of a machine's folder, each holding its own number.

#include <cstdlib>
#include <iostream>
#include <string>

#include "platform/simulated/simulated_machine.h"
#include "platform/text.h"

namespace {

int Fail(const std::string& reason) {
  std::cerr << "registry_writer: " << reason << '\n';
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return Fail("expected FOLDER NAME COUNT");
  orv::FileError error;
  const auto machine = orv::SimulatedMachine::Open(argv[1], error);
  if (machine == nullptr) return Fail(error.Text());
  std::unique_ptr<orv::RegistryKey> key;
  orv::RegStatus status =
      machine->registry().CreateKey(orv::RegRoot::LocalMachine, L"Software\\Shared",
                                    orv::kKeyRead | orv::kKeyWrite, key, nullptr);
  const std::uint32_t count = static_cast<std::uint32_t>(std::atoi(argv[3]));
  for (std::uint32_t i = 0; i < count && status == orv::kRegOk; ++i) {
    const std::wstring name = orv::WideFromUtf8(argv[2]) + std::to_wstring(i);
    status = key->SetValue(name, orv::kRegDword, &i, sizeof i);
  }
  return status == orv::kRegOk ? 0 : Fail("the registry answers " + std::to_string(status));
}
