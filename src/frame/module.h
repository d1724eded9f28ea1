// The component's module object: one per process, from load to unload.
#pragma once

#include <atomic>
#include <boost/core/noncopyable.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "orv_apo/com.h"
#include "platform/machine.h"

namespace orv {

class ComponentFactory;
class CORV_APO2011_ControllerModule;
using Module = CORV_APO2011_ControllerModule;

// Makes an object of one class, aggregated into `outer` if that is not null.
using CreateFunction = HRESULT (*)(Module& module, IUnknown* outer, REFIID iid, void** object);

// One registered class.
struct ClassRow {
  const CLSID* class_id;
  unsigned script;        // number of its registration script
  CreateFunction create;  // null: clients cannot create it
};

// May be used from any thread.
class CORV_APO2011_ControllerModule : boost::noncopyable {
 public:
  // Opens the machine the component works on; null, with the reason reported, if it cannot.
  using MachineOpener = std::shared_ptr<Machine> (*)();

  // The classes are in registration order and outlive the module.
  CORV_APO2011_ControllerModule(std::span<const ClassRow> classes, MachineOpener open_machine);
  ~CORV_APO2011_ControllerModule();

  std::span<const ClassRow> classes() const noexcept { return classes_; }

  // Every living object, every reference to a factory and every lock of one counts one.
  void Lock() noexcept { ++locks_; }
  void Unlock() noexcept { --locks_; }
  std::uint32_t lock_count() const noexcept { return locks_; }

  bool per_user() const noexcept { return per_user_; }
  void SetPerUser(bool per_user) noexcept { per_user_ = per_user; }

  // The machine, opened when first needed; null if it cannot be opened (the next call tries
  // again).
  std::shared_ptr<Machine> machine();
  // Puts a machine of the caller's choice in its place; null brings the opener back.
  void SetMachine(std::shared_ptr<Machine> machine);
  // True if no object of the component is in use. Then `release` is called for what the objects
  // left, and a machine that the module itself opened is released, so that none of its threads is
  // left when the library is unloaded. An object that is made meanwhile waits for that before it
  // gets the machine.
  bool ReadyToUnload(const std::function<void()>& release = {});

  // The class's factory, made at its first use and kept; `object` is not null. Throws
  // std::bad_alloc.
  HRESULT GetClassObject(REFCLSID class_id, REFIID iid, void** object);

 private:
  ComponentFactory& FactoryOf(std::size_t row);

  std::span<const ClassRow> classes_;
  MachineOpener open_machine_;
  std::atomic<std::uint32_t> locks_{0};
  std::atomic<bool> per_user_{false};
  std::mutex critical_section_;
  std::shared_ptr<Machine> machine_;
  bool machine_is_ours_ = false;
  std::vector<std::unique_ptr<ComponentFactory>> factories_;  // by row
};

}  // namespace orv
