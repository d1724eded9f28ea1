// Objects and their factories: identity, interface chains, aggregation, the module's lock.
#include "frame/component_factory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "frame/object_creation.h"
#include "frame/ref_counted.h"
#include "orv_apo/orv_apo.h"
#include "platform/guard.h"
#include "simulated/simulated_machine.h"

namespace orv {
namespace {

// Any two interfaces that extend one another, and one apart.
class Gadget final : public RefCounted<Chain<IORVAPOControlEnumerator, IORVAPOControlEnumerator2>,
                                       Chain<IUpdateRegistrySettings>> {
 public:
  Gadget(Module& module, HRESULT set_up) : RefCounted(&module), set_up_(set_up) {}
  HRESULT FinalConstruct() {
    // A set-up step may hand out references to the new object and get them back.
    const ComPtr<IUpdateRegistrySettings> passing(this);
    if (set_up_ == E_ABORT) throw std::bad_alloc();
    return set_up_;
  }
  HRESULT STDMETHODCALLTYPE Next(IORVAPOControl**) override { return S_FALSE; }
  HRESULT STDMETHODCALLTYPE GetControlFromName(BSTR, IORVAPOControl**) override { return S_FALSE; }
  HRESULT STDMETHODCALLTYPE Save() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Load() override { return E_NOTIMPL; }

 private:
  HRESULT set_up_;
};

template <HRESULT SetUp>
HRESULT CreateGadget(Module& module, IUnknown* outer, REFIID iid, void** object) {
  return CreateForClient<Gadget>(outer, iid, object, module, SetUp);
}

constexpr CLSID kGood = {1, 0, 0, {}};
constexpr CLSID kRefusing = {2, 0, 0, {}};
constexpr CLSID kThrowing = {3, 0, 0, {}};
constexpr CLSID kNotCreatable = {4, 0, 0, {}};
constexpr ClassRow kClasses[] = {
    {&kNotCreatable, 1, nullptr},
    {&kGood, 2, CreateGadget<S_OK>},
    {&kRefusing, 3, CreateGadget<E_ACCESSDENIED>},
    {&kThrowing, 4, CreateGadget<E_ABORT>},
};

// An outer object that counts itself and knows one interface only.
class Outer final : public IUnknown {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (iid == IID_IUnknown) {
      *object = this;
      AddRef();
      return S_OK;
    }
    return inner->QueryInterface(iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override { return --references; }

  ULONG references = 1;
  ComPtr<IUnknown> inner;
};

class ComponentFactoryTest : public ::testing::Test {
 protected:
  ComPtr<IClassFactory> Factory(const CLSID& class_id) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(module_.GetClassObject(class_id, IID_IClassFactory, factory.PutVoid()), S_OK);
    return factory;
  }
  static void* Poison() { return reinterpret_cast<void*>(0xBAD); }

  Module module_{kClasses,
                 []() -> std::shared_ptr<Machine> { return SimulatedMachine::InMemory(); }};
};

TEST_F(ComponentFactoryTest, ClassObjectIsTheSameEveryTime) {
  auto of_another_thread = std::async(std::launch::async, [this] { return Factory(kGood); });
  EXPECT_EQ(Factory(kGood).get(), Factory(kGood).get());
  EXPECT_EQ(Factory(kGood).get(), of_another_thread.get().get());
  EXPECT_NE(Factory(kGood).get(), Factory(kRefusing).get());
  EXPECT_TRUE(module_.ReadyToUnload());

  for (const auto& [class_id, iid, status] :
       {std::tuple(kNotCreatable, IID_IClassFactory, CLASS_E_CLASSNOTAVAILABLE),
        {kGood, IID_IORVAPOControl, E_NOINTERFACE}}) {
    void* object = Poison();
    EXPECT_EQ(module_.GetClassObject(class_id, iid, &object), status);
    EXPECT_EQ(object, nullptr);
  }
}

TEST_F(ComponentFactoryTest, MachineOfItsOwnIsLetGoBeforeUnloading) {
  const std::weak_ptr<Machine> opened = module_.machine();
  module_.Lock();
  EXPECT_FALSE(module_.ReadyToUnload());
  EXPECT_FALSE(opened.expired());
  module_.Unlock();
  EXPECT_TRUE(module_.ReadyToUnload());
  EXPECT_TRUE(opened.expired());
  EXPECT_NE(module_.machine(), nullptr);

  const std::shared_ptr<Machine> given = SimulatedMachine::InMemory();
  module_.SetMachine(given);
  EXPECT_TRUE(module_.ReadyToUnload());
  EXPECT_EQ(module_.machine(), given);
}

TEST_F(ComponentFactoryTest, WhatObjectsLeftBehindIsLetGoBeforeANewOneGetsTheMachine) {
  using namespace std::chrono_literals;
  module_.Lock();
  EXPECT_FALSE(module_.ReadyToUnload([] { ADD_FAILURE() << "an object is alive"; }));
  module_.Unlock();
  std::future<std::shared_ptr<Machine>> new_object;
  EXPECT_TRUE(module_.ReadyToUnload([&] {
    new_object = std::async(std::launch::async, [this] { return module_.machine(); });
    EXPECT_EQ(new_object.wait_for(50ms), std::future_status::timeout);
  }));
  EXPECT_NE(new_object.get(), nullptr);
}

TEST_F(ComponentFactoryTest, ObjectAnswersItsChainsUnderOneIdentity) {
  ComPtr<IORVAPOControlEnumerator> first;
  ASSERT_EQ(Factory(kGood)->CreateInstance(nullptr, IID_IORVAPOControlEnumerator, first.PutVoid()),
            S_OK);
  EXPECT_EQ(module_.lock_count(), 1U);
  const auto second = first.As<IORVAPOControlEnumerator2>();
  const auto apart = first.As<IUpdateRegistrySettings>();
  ASSERT_TRUE(second);
  ASSERT_TRUE(apart);
  EXPECT_EQ(apart->Save(), S_OK);
  EXPECT_EQ(first.As<IUnknown>().get(), second.As<IUnknown>().get());
  EXPECT_EQ(first.As<IUnknown>().get(), apart.As<IUnknown>().get());
  EXPECT_EQ(first.As<IUnknown>().As<IUpdateRegistrySettings>().get(), apart.get());

  void* other = Poison();
  EXPECT_EQ(first->QueryInterface(IID_IORVAPOControl, &other), E_NOINTERFACE);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(first->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(first->AddRef(), 4U);
  EXPECT_EQ(first->Release(), 3U);
}

TEST_F(ComponentFactoryTest, FailedCreationLeavesNothingBehind) {
  for (const auto& [class_id, iid, status] : {std::tuple(kRefusing, IID_IUnknown, E_ACCESSDENIED),
                                              {kThrowing, IID_IUnknown, E_OUTOFMEMORY},
                                              {kGood, IID_IORVAPOControl, E_NOINTERFACE}}) {
    void* object = Poison();
    EXPECT_EQ(Factory(class_id)->CreateInstance(nullptr, iid, &object), status);
    EXPECT_EQ(object, nullptr);
  }
  EXPECT_EQ(Factory(kGood)->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(module_.lock_count(), 0U);
}

TEST_F(ComponentFactoryTest, AggregatedObjectHandsItsUnknownToTheOuterOne) {
  Outer outer;
  void* refused = Poison();
  EXPECT_EQ(Factory(kGood)->CreateInstance(&outer, IID_IUpdateRegistrySettings, &refused),
            CLASS_E_NOAGGREGATION);
  EXPECT_EQ(refused, nullptr);

  ASSERT_EQ(Factory(kGood)->CreateInstance(&outer, IID_IUnknown, outer.inner.PutVoid()), S_OK);
  EXPECT_NE(outer.inner.get(), &outer);
  EXPECT_EQ(outer.references, 1U);
  {
    ComPtr<IUpdateRegistrySettings> settings;
    ASSERT_EQ(outer.QueryInterface(IID_IUpdateRegistrySettings, settings.PutVoid()), S_OK);
    EXPECT_EQ(outer.references, 2U);
    EXPECT_EQ(settings.As<IUnknown>().get(), &outer);
    EXPECT_TRUE(settings.As<IORVAPOControlEnumerator2>());
  }
  EXPECT_EQ(outer.references, 1U);
  EXPECT_EQ(module_.lock_count(), 1U);
  outer.inner.Reset();
  EXPECT_EQ(module_.lock_count(), 0U);
}

TEST_F(ComponentFactoryTest, FactoryKeepsTheLibraryWhileItIsHeldOrLocked) {
  auto factory = Factory(kGood);
  EXPECT_FALSE(module_.ReadyToUnload());
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  factory.Reset();
  EXPECT_FALSE(module_.ReadyToUnload());
  EXPECT_EQ(Factory(kGood)->LockServer(FALSE), S_OK);
  EXPECT_TRUE(module_.ReadyToUnload());
  EXPECT_EQ(Factory(kGood)->LockServer(FALSE), E_UNEXPECTED);
  EXPECT_EQ(module_.lock_count(), 0U);
}

TEST(GuardTest, ExceptionsBecomeStatuses) {
  EXPECT_EQ(Guard([] { return S_FALSE; }), S_FALSE);
  EXPECT_EQ(Guard([]() -> HRESULT { throw std::bad_array_new_length(); }), E_OUTOFMEMORY);
  EXPECT_EQ(Guard([]() -> HRESULT { throw 1; }), E_FAIL);
}

}  // namespace
}  // namespace orv
