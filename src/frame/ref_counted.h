// What every object of the component stands on: reference counting, the map of its interfaces,
// aggregation, the module's lock. Written once.
#pragma once

#include <atomic>
#include <tuple>
#include <type_traits>

#include "frame/module.h"
#include "orv_apo/com.h"

namespace orv {

// Interfaces that extend one another, the first one first. The object derives from the last and
// answers all of them.
template <class... Extensions>
struct Chain {
  using Interface = std::tuple_element_t<sizeof...(Extensions) - 1, std::tuple<Extensions...>>;
  static_assert((std::is_base_of_v<Extensions, Interface> && ...));

  static bool Has(REFIID iid) noexcept {
    return ((iid == orv_apo::InterfaceId<Extensions>::value) || ...);
  }
};

// An object lives from one reference (its maker's) to none. Related objects hold references to one
// another and may be used by different threads at the same time, so every count is atomic. Alone it
// is its own controlling unknown; inside an outer object every interface hands its three IUnknown
// operations to the outer one, and only the inner unknown counts and answers for this object.
// IUnknown is always the inner unknown, so its address is one.
template <class... Chains>
class RefCounted : public Chains::Interface... {
 public:
  RefCounted(const RefCounted&) = delete;
  RefCounted& operator=(const RefCounted&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) final {
    return controller_->QueryInterface(iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() final { return controller_->AddRef(); }
  ULONG STDMETHODCALLTYPE Release() final { return controller_->Release(); }

  // Last step of creation, under the maker's reference; a failure destroys the object.
  HRESULT FinalConstruct() { return S_OK; }

  IUnknown* inner_unknown() noexcept { return &inner_; }
  // Right after construction only. The outer object is not counted: it owns this one.
  void AggregateInto(IUnknown* outer) noexcept {
    if (outer != nullptr) controller_ = outer;
  }

 protected:
  // `module` is locked while the object lives; null for objects that do not hold it.
  explicit RefCounted(Module* module) noexcept : inner_(*this), module_(module) {
    if (module_ != nullptr) module_->Lock();
  }
  virtual ~RefCounted() {
    if (module_ != nullptr) module_->Unlock();
  }

  Module& module() const noexcept { return *module_; }

 private:
  class InnerUnknown final : public IUnknown {
   public:
    explicit InnerUnknown(RefCounted& object) noexcept : object_(object) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
      if (object == nullptr) return E_POINTER;
      *object = iid == IID_IUnknown ? this : object_.FindInterface(iid);
      if (*object == nullptr) return E_NOINTERFACE;
      // What is handed out counts where its own AddRef counts.
      if (*object == this) {
        AddRef();
      } else {
        object_.AddRef();
      }
      return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++object_.references_; }
    ULONG STDMETHODCALLTYPE Release() override {
      const ULONG left = --object_.references_;
      if (left == 0) {
        // A reference taken and dropped while the members go must not destroy the object again.
        object_.references_ = kDestroying;
        delete &object_;
      }
      return left;
    }

   private:
    static constexpr ULONG kDestroying = 0x40000000;
    RefCounted& object_;
  };

  void* FindInterface(REFIID iid) noexcept {
    void* found = nullptr;
    ((Chains::Has(iid) && (found = static_cast<typename Chains::Interface*>(this), true)) || ...);
    return found;
  }

  InnerUnknown inner_;
  IUnknown* controller_ = &inner_;
  std::atomic<ULONG> references_{1};
  Module* module_;
};

}  // namespace orv
