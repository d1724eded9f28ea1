#include "frame/module.h"

#include <utility>

#include "frame/component_factory.h"

namespace orv {

CORV_APO2011_ControllerModule::CORV_APO2011_ControllerModule(std::span<const ClassRow> classes,
                                                             MachineOpener open_machine)
    : classes_(classes), open_machine_(open_machine), factories_(classes.size()) {}

CORV_APO2011_ControllerModule::~CORV_APO2011_ControllerModule() = default;

std::shared_ptr<Machine> CORV_APO2011_ControllerModule::machine() {
  const std::lock_guard lock(critical_section_);
  if (machine_ == nullptr) {
    machine_ = open_machine_();
    machine_is_ours_ = true;
  }
  return machine_;
}

void CORV_APO2011_ControllerModule::SetMachine(std::shared_ptr<Machine> machine) {
  const std::lock_guard lock(critical_section_);
  std::swap(machine_, machine);
  machine_is_ours_ = false;
}

bool CORV_APO2011_ControllerModule::ReadyToUnload(const std::function<void()>& release) {
  const std::lock_guard lock(critical_section_);
  if (locks_ != 0) return false;
  if (release) release();
  if (machine_is_ours_) machine_.reset();
  return true;
}

HRESULT CORV_APO2011_ControllerModule::GetClassObject(REFCLSID class_id, REFIID iid,
                                                      void** object) {
  *object = nullptr;
  if (machine() == nullptr) return E_UNEXPECTED;
  for (std::size_t row = 0; row < classes_.size(); ++row) {
    if (classes_[row].create == nullptr || *classes_[row].class_id != class_id) continue;
    return FactoryOf(row).QueryInterface(iid, object);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

ComponentFactory& CORV_APO2011_ControllerModule::FactoryOf(std::size_t row) {
  const std::lock_guard lock(critical_section_);
  if (factories_[row] == nullptr)
    factories_[row] = std::make_unique<ComponentFactory>(*this, classes_[row].create);
  return *factories_[row];
}

}  // namespace orv
