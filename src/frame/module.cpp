#include "frame/module.h"

#include <utility>

#include "frame/component_factory.h"

namespace orv {

CORV_APO2011_ControllerModule::CORV_APO2011_ControllerModule(std::span<const ClassRow> classes,
                                                             MachineOpener open_machine)
    : classes_(classes),
      open_machine_(open_machine),
      factories_(std::make_unique<std::atomic<ComponentFactory*>[]>(classes.size())) {}

CORV_APO2011_ControllerModule::~CORV_APO2011_ControllerModule() {
  for (std::size_t row = 0; row < classes_.size(); ++row)
    ComPtr<ComponentFactory>::Adopt(factories_[row].load());
}

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

bool CORV_APO2011_ControllerModule::ReadyToUnload(const std::function<void()>& let_go) {
  const std::lock_guard lock(critical_section_);
  if (locks_ != 0) return false;
  if (let_go) let_go();
  if (machine_is_ours_) machine_.reset();
  return true;
}

HRESULT CORV_APO2011_ControllerModule::GetClassObject(REFCLSID class_id, REFIID iid,
                                                      void** object) {
  *object = nullptr;
  if (machine() == nullptr) return E_UNEXPECTED;
  for (std::size_t row = 0; row < classes_.size(); ++row) {
    if (classes_[row].create == nullptr || *classes_[row].class_id != class_id) continue;
    ComponentFactory* factory = nullptr;
    const HRESULT status = FactoryOf(row, &factory);
    if (FAILED(status)) return status;
    return factory->QueryInterface(iid, object);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT CORV_APO2011_ControllerModule::FactoryOf(std::size_t row, ComponentFactory** factory) {
  *factory = factories_[row];
  if (*factory != nullptr) return S_OK;
  const std::lock_guard lock(critical_section_);
  *factory = factories_[row];
  if (*factory != nullptr) return S_OK;
  ComPtr<ComponentFactory> made;
  const HRESULT status = CreateObject(made, *this, classes_[row].create);
  if (FAILED(status)) return status;
  *factory = made.Detach();
  factories_[row] = *factory;
  return S_OK;
}

}  // namespace orv
