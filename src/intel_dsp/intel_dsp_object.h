// The automation object that pushes operating modes into an Intel audio DSP.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "frame/object_creation.h"
#include "frame/ref_counted.h"
#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/broadwell/processors.h"
#include "intel_dsp/skylake/driver_client.h"
#include "intel_dsp/skylake/writers.h"
#include "orv_apo/orv_apo.h"
#include "platform/guard.h"
#include "platform/synchronization.h"

namespace orv {

// The driver clients of this process: one of each kind, shared by all Intel DSP objects. They are
// null until an object needs them and after Release. Hold the lock during a whole operation that
// uses them, or the blocks that the process remembers.
class IntelDriverClients {
 public:
  static IntelDriverClients& OfProcess();
  // Not taken while a lock of the module is held: open the machine first.
  static RecursiveMutex& Lock();

  ORVAPOIntelDriverInterface_BRW* broadwell() const noexcept { return broadwell_.get(); }
  KELAPOIntelDriverInterface_SKL* skylake() const noexcept { return skylake_.get(); }

  // Replace the present client by a new one and close the present one's driver. Return the status
  // of opening the driver. The present client stays if memory runs out.
  HRESULT ReplaceBroadwell(Machine& machine);
  HRESULT ReplaceSkylake(const std::shared_ptr<Machine>& machine,
                         const std::shared_ptr<NamedEvent>& event, const std::wstring& device_id);
  void Release() noexcept;

 private:
  std::unique_ptr<ORVAPOIntelDriverInterface_BRW> broadwell_;
  std::unique_ptr<KELAPOIntelDriverInterface_SKL> skylake_;
};

// Runs an operation of an Intel DSP object, which has the clients to itself.
template <class Body>
HRESULT WithDriverClients(Body&& body) noexcept {
  return Guard([&] {
    const std::scoped_lock lock(IntelDriverClients::Lock());
    return std::forward<Body>(body)();
  });
}

// All objects share the driver clients of the process, which the newest object has opened. Their
// operations run one after another, on any thread.
class CKELAPOIntelDSP final
    : public RefCounted<
          Chain<IKELAPOIntelDSP, IKELAPOIntelDSP2, IKELAPOIntelDSP3, IKELAPOIntelDSP4>> {
 public:
  // An object for an endpoint outlives the failure to open the default endpoint's module.
  explicit CKELAPOIntelDSP(Module& module, bool for_endpoint = false)
      : RefCounted(&module), for_endpoint_(for_endpoint) {}

  // Looks for a Broadwell driver, else for a Skylake module of the default endpoint. Fails if
  // neither is found; for an endpoint only if memory runs out or there is no machine.
  HRESULT FinalConstruct();
  // Keeps the endpoint alive and, unless there is a Broadwell driver, takes its Skylake module.
  HRESULT AttachEndpoint(IUnknown* endpoint, const std::wstring& device_id);

  HRESULT STDMETHODCALLTYPE GetAPIVersion(BYTE* ver, BYTE* features) override;
  HRESULT STDMETHODCALLTYPE GetModuleInfo(BSTR* name, BSTR* ver) override;
  HRESULT STDMETHODCALLTYPE ProcessConfigFile(BSTR filename, BSTR* error_string,
                                              LONG set_default) override;
  HRESULT STDMETHODCALLTYPE WriteControls(IORVOperatingMode* op_mode, BSTR tech_name,
                                          LONG set_default) override;
  HRESULT STDMETHODCALLTYPE put_APOEnable(LONG val, LONG set_default) override;
  HRESULT STDMETHODCALLTYPE get_Property(BSTR prop_name, LONG set_default, VARIANT* value) override;
  HRESULT STDMETHODCALLTYPE put_Property(BSTR prop_name, LONG set_default, VARIANT value) override;
  HRESULT STDMETHODCALLTYPE SetPEQ(KELChannel channel, SAFEARRAY* gains_in_db, SAFEARRAY* q,
                                   SAFEARRAY* freq, LONG set_default) override;
  HRESULT STDMETHODCALLTYPE put_dspDeviceId(LPWSTR device_id) override;
  HRESULT STDMETHODCALLTYPE get_ApoVersion(BSTR* version) override;

 private:
  enum class Kind : std::uint32_t { Broadwell = 0, Skylake = 1, None = 2 };

  static std::uint8_t ApplyFlag(LONG set_default) { return set_default != 0 ? 1 : 0; }

  void OpenEvent();
  HRESULT OpenDefaultSkylake();
  HRESULT InitSkylakeDsp(const std::wstring& device_id);
  // The driver client of the object's kind; null after its release.
  ORVAPOIntelDriverInterface_BRW* Broadwell() const noexcept {
    return kind_ == Kind::Broadwell ? clients_.broadwell() : nullptr;
  }
  KELAPOIntelDriverInterface_SKL* Skylake() const noexcept {
    return kind_ == Kind::Skylake ? clients_.skylake() : nullptr;
  }

  HRESULT ReadModuleInfo(std::string& name, std::string& version);
  static void ReportModule(KELAPOIntelDriverInterface_SKL& driver);
  HRESULT ReadControls(IORVOperatingMode& op_mode, ORVQVTValueList& list);
  HRESULT WriteList(ORVQVTValueList list, std::wstring_view technology, std::uint8_t apply);
  HRESULT SetControlParams(const ControlValueMap& map, std::uint8_t apply);
  HRESULT SetSkylakeParams(KELAPOIntelDSP_SKL writers, const ControlValueMap& map,
                           std::uint8_t apply);
  HRESULT SendConfiguration(const std::wstring& path, std::uint8_t apply);
  void SetKELDSPControlChangeEvent();

  IntelDriverClients& clients_ = IntelDriverClients::OfProcess();
  const bool for_endpoint_;
  Kind kind_ = Kind::None;
  std::shared_ptr<Machine> machine_;
  // Shared with the driver client: a driver knows the event by its handle until it has given it
  // back, and by then a closed handle may be something else.
  std::shared_ptr<NamedEvent> event_;
  ComPtr<IUnknown> endpoint_;
  std::wstring device_id_;
  ORVQVTValueList last_written_;
};

}  // namespace orv
