// One audio endpoint: its names, its configuration, its current operating mode, and the objects
// that depend on it.
#pragma once

#include <memory>

#include "api/endpoint_context.h"
#include "api/headset_detection.h"
#include "api/system.h"
#include "config/configuration_file.h"
#include "config/mode_selector.h"

namespace orv {

class CORVCOMEndpointInfo final
    : public RefCounted<Chain<IORVEndpointInfo, IORVEndpointInfo2, IORVEndpointInfo3,
                              IORVEndpointInfo4, IORVEndpointInfo5>>,
      public EndpointContext {
 public:
  CORVCOMEndpointInfo(Module& module, const ComPtr<CORVAPOSystem>& system);

  // Takes the record and loads its configuration; 0, or why the configuration did not load.
  LoadStatus SetInfo(const ORVAPOEndpointInfo& record, std::uint32_t config_type);

  HRESULT STDMETHODCALLTYPE get_FriendlyName(BSTR* friendly_name) override;
  HRESULT STDMETHODCALLTYPE get_ConfigFile(BSTR* config_file) override;
  HRESULT STDMETHODCALLTYPE get_RegistryPath(BSTR* reg_path) override;
  HRESULT STDMETHODCALLTYPE GetOpModeEnumerator(IORVAPOOpModeEnumerator** e) override;
  HRESULT STDMETHODCALLTYPE SetDefault() override;
  HRESULT STDMETHODCALLTYPE put_OpMode(IORVOperatingMode* mode) override;
  HRESULT STDMETHODCALLTYPE get_OpMode(IORVOperatingMode** mode) override;
  HRESULT STDMETHODCALLTYPE GetConfig(ORVAPOEndpointConfig* config) override;
  HRESULT STDMETHODCALLTYPE SetConfig(ORVAPOEndpointConfig config) override;
  HRESULT STDMETHODCALLTYPE GetQCDSPInterface(IORVAPOQCDSP** qc_dsp) override;
  HRESULT STDMETHODCALLTYPE get_config_enum(IORVAPOConfigEnumerator** enumerator) override;
  HRESULT STDMETHODCALLTYPE get_AnalysisData(IAnalysisData** analysis_data) override;
  HRESULT STDMETHODCALLTYPE get_EndpointProp(KELAPOEndpointProperty prop, ULONG* value) override;
  HRESULT STDMETHODCALLTYPE get_HeadsetConnected(LONG* connected) override;
  HRESULT STDMETHODCALLTYPE GetIntelInterface(IKELAPOIntelDSP** intel_dsp) override;

  const ORVAPOEndpointInfo& record() const noexcept override { return record_; }
  const ORVAPOProcessInfo& technology() const noexcept override { return system_->process_info(); }
  IORVEndpointInfo5* unknown() noexcept override { return this; }

 private:
  void CreateRegistryKey();

  std::shared_ptr<Machine> machine_;
  ORVAPOEndpointInfo record_;
  std::unique_ptr<ORVAPOModeSelector> mode_selector_;
  std::unique_ptr<ORVAPOConfigurationFile> configuration_;
  HeadsetDetectors headset_detectors_;
  ComPtr<CORVAPOSystem> system_;
};

}  // namespace orv
