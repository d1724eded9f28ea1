// Reference counting, the map of interfaces and aggregation, written once for every COM object.
#pragma once

#include <atomic>
#include <tuple>
#include <type_traits>

#include "orv_apo/com.h"

namespace orv {

// Interfaces that extend one another, the base first. The object derives from the last and supports
// all of them.
template <class... Extensions>
struct Chain {
  using Interface = std::tuple_element_t<sizeof...(Extensions) - 1, std::tuple<Extensions...>>;
  static_assert((std::is_base_of_v<Extensions, Interface> && ...));

  static bool Has(REFIID iid) noexcept { return ((iid == __uuidof(Extensions)) || ...); }
};

// An object starts with one reference, its creator's, and is destroyed with the last. Related
// objects hold references to one another and may be used by different threads at the same time, so
// every count is atomic. Alone it is its own controlling unknown; in an outer object every
// interface forwards its three IUnknown operations to the outer one, and only the inner unknown
// counts and queries this object. IUnknown is always the inner unknown, so that it has one address.
template <class... Chains>
class ComObject : public Chains::Interface... {
 public:
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) final {
    return controller_->QueryInterface(iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() final { return controller_->AddRef(); }
  ULONG STDMETHODCALLTYPE Release() final { return controller_->Release(); }

  // Last step of creation, under the creator's reference; a failure destroys the object.
  HRESULT FinalConstruct() { return S_OK; }

  IUnknown* inner_unknown() noexcept { return &inner_; }
  // Right after construction only. The outer object is not counted: it owns this one.
  void AggregateInto(IUnknown* outer) noexcept {
    if (outer != nullptr) controller_ = outer;
  }

 protected:
  ComObject() noexcept : inner_(*this) {}
  virtual ~ComObject() = default;

 private:
  class InnerUnknown final : public IUnknown {
   public:
    explicit InnerUnknown(ComObject& object) noexcept : object_(object) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
      if (object == nullptr) return E_POINTER;
      *object = iid == IID_IUnknown ? this : object_.FindInterface(iid);
      if (*object == nullptr) return E_NOINTERFACE;
      // The reference belongs to the object whose AddRef counts it.
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
        // A reference taken and released by a member's destructor must not destroy it again.
        object_.references_ = kDestroying;
        delete &object_;
      }
      return left;
    }

   private:
    static constexpr ULONG kDestroying = 0x40000000;
    ComObject& object_;
  };

  void* FindInterface(REFIID iid) noexcept {
    void* found = nullptr;
    ((Chains::Has(iid) && (found = static_cast<typename Chains::Interface*>(this), true)) || ...);
    return found;
  }

  InnerUnknown inner_;
  IUnknown* controller_ = &inner_;
  std::atomic<ULONG> references_{1};
};

// An object with interfaces that do not extend one another.
template <class... Interfaces>
using CountedObject = ComObject<Chain<Interfaces>...>;

}  // namespace orv
