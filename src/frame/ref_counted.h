// The base of every object of the component.
#pragma once

#include "frame/module.h"
#include "platform/com_object.h"

namespace orv {

template <class... Chains>
class RefCounted : public ComObject<Chains...> {
 protected:
  // `module` is locked while the object lives; null for objects that do not hold it.
  explicit RefCounted(Module* module) noexcept : module_(module) {
    if (module_ != nullptr) module_->Lock();
  }
  ~RefCounted() override {
    if (module_ != nullptr) module_->Unlock();
  }

  Module& module() const noexcept { return *module_; }

 private:
  Module* module_;
};

}  // namespace orv
