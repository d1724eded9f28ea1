#include "qc_dsp/qualcomm_dsp.h"

#include <memory>
#include <utility>

#include "frame/object_creation.h"
#include "frame/public_controls.h"
#include "frame/ref_counted.h"
#include "platform/com_memory.h"
#include "platform/diagnostics.h"
#include "platform/guard.h"
#include "qc_dsp/driver_interface.h"
#include "qc_dsp/qualcomm_records.h"

namespace orv {
namespace {

constexpr PROPERTYKEY kFormFactorKey = {
    {0x1DA5D803, 0xD492, 0x4EDD, {0x8C, 0x23, 0xE0, 0xC0, 0xFF, 0xEE, 0x7F, 0x0E}}, 0};
constexpr std::uint32_t kHeadphones = 3;  // of the platform's form factors

class CORVAPOQCDSP final : public RefCounted<Chain<IORVAPOQCDSP>> {
 public:
  explicit CORVAPOQCDSP(Module& module) : RefCounted(&module) {}

  HRESULT Init(IUnknown* endpoint, IMMDevice* device);

  HRESULT STDMETHODCALLTYPE WriteControls(IORVOperatingMode* op_mode) override;
  HRESULT STDMETHODCALLTYPE get_EndpointFormFactor(_ORVQuMediaDeviceType* form_factor) override;
  HRESULT STDMETHODCALLTYPE put_EndpointFormFactor(_ORVQuMediaDeviceType form_factor) override;

 private:
  bool HasControl(std::wstring_view name) const { return controls_.find(name) != controls_.end(); }
  void TakeFormFactor(IMMDevice& device);
  void AddControl(std::wstring_view name, LONG value);
  HRESULT WriteControlsToQCDriver();

  ComPtr<IUnknown> endpoint_;
  std::unique_ptr<ORVAPOQCDriverInterface> driver_;  // null unless Init succeeded
  QualcommControls controls_;
  _ORVQuMediaDeviceType form_factor_ = ORV_QUMEDIA_RESERVED;
};

HRESULT CORVAPOQCDSP::Init(IUnknown* endpoint, IMMDevice* device) {
  Diagnose(ORV_HERE("CORVAPOQCDSP::Init"), L"CORVAPOQCDSP::init\n");
  endpoint_ = ComPtr<IUnknown>(endpoint);
  controls_.clear();
  const std::shared_ptr<Machine> machine = module().machine();
  if (machine == nullptr) return E_NOTIMPL;
  HRESULT status = E_FAIL;
  auto driver = std::make_unique<ORVAPOQCDriverInterface>(*machine, status);
  if (FAILED(status)) return E_NOTIMPL;
  driver_ = std::move(driver);
  Diagnose(ORV_HERE("CORVAPOQCDSP::Init"), L"Got MMDevice pointer 0x%p\n",
           static_cast<const void*>(device));
  if (device != nullptr) TakeFormFactor(*device);
  return S_OK;
}

void CORVAPOQCDSP::TakeFormFactor(IMMDevice& device) {
  ComPtr<IPropertyStore> store;
  if (FAILED(device.OpenPropertyStore(STGM_READ, store.Put())) || !store) return;
  Diagnose(ORV_HERE("CORVAPOQCDSP::Init"), L"Opened property store for device\n");
  UniquePropVariant value;
  if (FAILED(store->GetValue(kFormFactorKey, &value))) return;
  const std::uint32_t endpoint_form = value.ulVal & 0xFFFF;
  form_factor_ = endpoint_form == kHeadphones ? ORV_QUMEDIA_HEADSET : ORV_QUMEDIA_SPEAKER;
  Diagnose(ORV_HERE("CORVAPOQCDSP::Init"), L"QC form factor set to %d from endpoint %d\n",
           static_cast<int>(form_factor_), endpoint_form);
}

HRESULT CORVAPOQCDSP::WriteControls(IORVOperatingMode* op_mode) {
  return Guard([&]() -> HRESULT {
    if (op_mode == nullptr) return E_POINTER;
    if (driver_ == nullptr) return E_NOTIMPL;
    controls_.clear();
    // A control that the mode cannot read counts as present: its record is sent.
    const HRESULT status =
        ForEachControl(*op_mode, kORVAPO_Cont_Public, UnreadableControl::Zero,
                       [this](std::wstring_view name, LONG value) { AddControl(name, value); })
            .asked;
    if (FAILED(status)) return status;
    return controls_.empty() ? E_FAIL : WriteControlsToQCDriver();
  });
}

void CORVAPOQCDSP::AddControl(std::wstring_view name, LONG value) {
  if (name.empty()) return;
  std::wstring key(name);
  Diagnose(ORV_HERE("CORVAPOQCDSP::WriteControls"), L"Added %s\n", key);
  controls_.insert_or_assign(std::move(key), value);
}

// Returns the status of the last record only.
HRESULT CORVAPOQCDSP::WriteControlsToQCDriver() {
  HRESULT status = S_OK;
  for (const QualcommParameter parameter : kQualcommSendingOrder) {
    const std::wstring_view needed = QualcommRecordNeeds(parameter);
    if (!needed.empty() && !HasControl(needed)) continue;
    const QualcommRecord record(parameter, controls_);
    status = driver_->SendParameter(parameter, static_cast<std::uint32_t>(form_factor_),
                                    record.payload());
  }
  return status;
}

HRESULT CORVAPOQCDSP::get_EndpointFormFactor(_ORVQuMediaDeviceType* form_factor) {
  if (form_factor == nullptr) return E_POINTER;
  *form_factor = form_factor_;
  return S_OK;
}

HRESULT CORVAPOQCDSP::put_EndpointFormFactor(_ORVQuMediaDeviceType form_factor) {
  if (static_cast<std::uint32_t>(form_factor) >= ORV_QUMEDIA_DEVICE_COUNT) return E_INVALIDARG;
  form_factor_ = form_factor;
  return S_OK;
}

}  // namespace

HRESULT CreateQualcommDspForEndpoint(Module& module, IUnknown* endpoint, IMMDevice* device,
                                     IORVAPOQCDSP** dsp) {
  *dsp = nullptr;
  return Guard([&]() -> HRESULT {
    ComPtr<CORVAPOQCDSP> object;
    HRESULT status = CreateObject(object, module);
    if (SUCCEEDED(status)) status = object->Init(endpoint, device);
    if (SUCCEEDED(status)) *dsp = object.Detach();
    return status;
  });
}

HRESULT CreateQualcommDspForClient(Module& module, IUnknown* outer, REFIID iid, void** object) {
  return CreateForClient<CORVAPOQCDSP>(outer, iid, object, module);
}

}  // namespace orv
