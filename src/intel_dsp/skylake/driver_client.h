// Client of the Skylake driver's post-processing module, over kernel-streaming properties.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "intel_dsp/drivers.h"
#include "intel_dsp/skylake/driver_client_records.h"
#include "intel_dsp/skylake/topology_walk.h"
#include "platform/com_ptr.h"
#include "platform/machine.h"

namespace orv::skylake {

// All clients of the process pass parameter blocks through one buffer and are used under the lock
// of WithDriverClients. Until an activation has succeeded every request fails.
class KELAPOIntelDriverInterface_SKL final : public SkylakeDriver, boost::noncopyable {
 public:
  // The status of GetAPIVersion and GetModuleInfo if the module is not known.
  static constexpr HRESULT kUnsuccessful = static_cast<HRESULT>(0xC0000001);

  // Registers the event, if there is one, with the driver until the client is destroyed.
  KELAPOIntelDriverInterface_SKL(std::shared_ptr<Machine> machine,
                                 std::shared_ptr<NamedEvent> event);
  ~KELAPOIntelDriverInterface_SKL();

  // Finds the module of an active render endpoint; an empty identifier means the default endpoint.
  // Call it once only.
  HRESULT ActivateIKsControls(const std::wstring& device_id);

  // Whether the driver returned its whole list of modules, with or without this one.
  bool lists_modules() const noexcept { return lists_modules_; }

  // These succeed if the driver took the request and returned a complete answer.
  bool GetAPIVersion(HRESULT& status, std::uint8_t& version, std::uint8_t& features);
  bool GetModuleInfo(HRESULT& status, std::string& name, std::string& version);
  bool GetStatus(HRESULT& status, std::uint8_t& enabled, std::uint8_t apply) override;
  bool SetStatus(HRESULT& status, std::uint8_t enable, std::uint8_t apply) override;
  // 0 while the module is not instantiated.
  bool GetInstanceStatus(HRESULT& status, std::uint8_t& instance);
  // Fills `size` bytes of `buffer`: the answer, then zeros.
  bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size,
                    std::uint8_t apply) override;
  bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                    std::uint32_t size, std::uint8_t apply) override;

 private:
  HRESULT FindWaveFilter(IMMDeviceEnumerator& devices, const std::wstring& device_id);
  HRESULT ActivateControl(IMMDeviceEnumerator& devices, ComPtr<IKsControl>& control) const;
  HRESULT CheckVersion(IKsControl& control);
  HRESULT FindModule(IKsControl& control);
  HRESULT ReadModuleList(IKsControl& control, std::vector<std::byte>& list);
  HRESULT RegisterModuleEvent();
  void UnregisterEvent();

  NodeProperty HeaderOf(Property property, std::uint32_t flags) const;
  ModuleRequest RequestOf(Property property, std::uint32_t flags) const;
  bool ReadAnswer(void* buffer, std::uint32_t size, ULONG returned);

  std::shared_ptr<Machine> machine_;  // outlives the objects taken from it
  std::shared_ptr<NamedEvent> event_;
  bool event_registered_ = false;
  ComPtr<IKsControl> control_;
  WaveFilter filter_;
  std::optional<VersionAnswer> version_;
  std::optional<ModuleEntry> module_;
  bool lists_modules_ = false;
};

// Reports the bytes as hexadecimal digits.
void DumpBuffer(std::span<const std::byte> bytes);

}  // namespace orv::skylake

namespace orv {

using skylake::KELAPOIntelDriverInterface_SKL;

}  // namespace orv
