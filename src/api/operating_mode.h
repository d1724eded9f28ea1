// One operating mode of an endpoint: reads and writes its control values and the endpoint's
// processing switch.
#pragma once

#include <memory>
#include <mutex>

#include "api/control.h"
#include "api/endpoint_context.h"
#include "config/configuration_file.h"
#include "endpoints/settings.h"

// Answered by our own mode objects, not by other implementations of IORVOperatingMode.
struct IORVOwnOperatingMode : IUnknown {
  // Valid for the life of the object.
  virtual const orv::ORVAPOOperatingMode& mode_record() const noexcept = 0;
};
ORV_APO_INTERFACE_ID(IORVOwnOperatingMode, 5F0B3A7C, 91D2, 4E0E, A6, 41, 2B, 7C, 18, D3, 90, E5);

namespace orv {

// The values are read when the object is made and when an enumerator of its controls is asked for;
// in between they change only through this object's own controls, which different threads may use
// at the same time.
class CORVOperatingMode final : public RefCounted<Chain<IORVOperatingMode>, Chain<IORVValueUpdate>,
                                                  Chain<IORVOwnOperatingMode>>,
                                public ControlOwner {
 public:
  // Shares the record, which so outlives a reload of the endpoint's configuration.
  CORVOperatingMode(Module& module, EndpointContext& endpoint,
                    std::shared_ptr<const ORVAPOOperatingMode> mode);

  // Binds the settings and reads them. Later calls fail if a key cannot be opened.
  HRESULT FinalConstruct();

  HRESULT STDMETHODCALLTYPE get_ORVAPOControlEnumerator(
      ORVAPOControlType type, IORVAPOControlEnumerator** enumerator) override;
  HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) override;
  HRESULT STDMETHODCALLTYPE RestoreDefaults() override;
  HRESULT STDMETHODCALLTYPE get_APOEnable(LONG* enabled) override;
  HRESULT STDMETHODCALLTYPE put_APOEnable(LONG enabled) override;

  HRESULT STDMETHODCALLTYPE BeginUpdate() override;
  HRESULT STDMETHODCALLTYPE CommitUpdate() override;
  HRESULT STDMETHODCALLTYPE CancelUpdate() override;

  const ORVAPOOperatingMode& mode_record() const noexcept override { return *mode_; }

  std::optional<std::int32_t> GetValue(const std::string& name,
                                       const ORVQVTNameList* choices) override;
  bool PutValue(ORVQVTValue value) override;
  void Describe(const ORVQVTValue& value, ORVQVTControlInfo& info) override;
  IUnknown* unknown() noexcept override { return static_cast<IORVOperatingMode*>(this); }

 private:
  // The values that the controls answer, and the settings that they are read from and stored with.
  struct PublicValues {
    explicit PublicValues(Machine& machine) : settings(machine) {}
    ORVAPOPublicSettings settings;
    std::optional<ORVQVTValueList> values;  // absent until they are asked for
  };
  // An update in progress has values of its own, which take the place of the mode's when they are
  // stored, so that a refused update leaves no trace.
  struct Update {
    std::unique_ptr<PublicValues> pending;
    ORVQVTValueList changes;
  };

  // As they are stored now; null in `opened` if the caller does not ask whether there is a key.
  std::unique_ptr<PublicValues> ReadPublicValues(bool* opened) const;
  // Those that the controls answer.
  ORVQVTValueList& values();

  CountedPart<EndpointContext> endpoint_;
  std::shared_ptr<const ORVAPOOperatingMode> mode_;
  ORVAPOGlobalSettings global_settings_;
  std::mutex lock_;  // guards the values below, and keeps them in step with the settings
  std::unique_ptr<PublicValues> public_;
  std::unique_ptr<Update> update_;
  ORVQVTValueList global_values_;
};

// Empty for a mode object that is not ours.
ComPtr<IORVOwnOperatingMode> OwnModeOf(IORVOperatingMode* mode);

// The operating modes of an endpoint's configuration, one after another, as they were when it was
// made, also after a reload of the configuration.
class CORVAPOOpModeEnumerator final : public RefCounted<Chain<IORVAPOOpModeEnumerator>> {
 public:
  CORVAPOOpModeEnumerator(Module& module, EndpointContext& endpoint, const ORVAPOModeList& modes)
      : RefCounted(&module), endpoint_(endpoint), modes_(modes) {}

  // Moves to the next mode also if it fails.
  HRESULT STDMETHODCALLTYPE Next(IORVOperatingMode** op_mode) override;

 private:
  CountedPart<EndpointContext> endpoint_;
  ORVAPOModeList modes_;
  std::size_t cursor_ = 0;
};

}  // namespace orv
