// The Intel DSP object on a simulated machine, used as clients use it.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include "broadwell_mode.h"
#include "fake_mode.h"
#include "intel_dsp/intel_dsp.h"
#include "intel_machine.h"
#include "platform/com_memory.h"
#include "support/temporary_folder.h"

namespace orv {

using Dsp = ComPtr<IKELAPOIntelDSP4>;

inline FakeControls SkylakeMode() { return PlainMode().get<FakeControls>(); }

class IntelObjectTest : public testing::Test {
 protected:
  ~IntelObjectTest() override {
    EXPECT_EQ(module_.lock_count(), 0U);
    ReleaseIntelDriverClients();
    EXPECT_EQ(machine_->RegisteredEvents(), 0U);
  }

  Dsp Open(const std::wstring& endpoint = kSpeakers) {
    module_.SetMachine(machine_.get());
    ComPtr<IKELAPOIntelDSP> dsp;
    EXPECT_EQ(CreateIntelDriverClient(module_, nullptr, endpoint, dsp.Put()), S_OK);
    return dsp.As<IKELAPOIntelDSP4>();
  }
  Dsp OpenSkylake() {
    machine_->description().drivers.broadwell.reset();
    return Open();
  }

  static HRESULT Write(const Dsp& dsp, const FakeControls& controls, LONG apply = 1,
                       const std::string& technology = {}) {
    const UniqueBstr text(SysAllocString(Widen(technology).c_str()));
    return dsp->WriteControls(FakeMode::Make(controls).get(), text.get(), apply);
  }
  HRESULT WriteFile(const Dsp& dsp, const nlohmann::json& controls, LONG apply,
                    std::wstring* reason = nullptr) {
    // A process reads a file once.
    const std::string name = "mode" + std::to_string(++files_) + ".xml";
    std::ofstream(folder_.path() / name) << ConfigurationOf(controls);
    const UniqueBstr path(SysAllocString(Widen("C:\\" + name).c_str()));
    BSTR text = nullptr;
    const HRESULT status = dsp->ProcessConfigFile(path.get(), &text, apply);
    const UniqueBstr owned(text);
    if (reason != nullptr) *reason = ViewOf(text);
    return status;
  }
  // A number beyond 32 bits is a 64-bit one.
  static HRESULT Put(const Dsp& dsp, const char* name, const nlohmann::json& value,
                     LONG apply = 0) {
    const UniqueBstr control(name == nullptr ? nullptr : SysAllocString(Widen(name).c_str()));
    const UniqueBstr text(
        value.is_string() ? SysAllocString(Widen(value.get<std::string>()).c_str()) : nullptr);
    VARIANT variant{};
    if (value.is_number()) {
      variant.llVal = value;
      variant.vt = variant.llVal == static_cast<LONG>(variant.llVal) ? VT_I4 : VT_I8;
    } else {
      variant.vt = VT_BSTR;
      variant.bstrVal = text.get();
    }
    return dsp->put_Property(control.get(), apply, variant);
  }
  static HRESULT Get(const Dsp& dsp, const char* name, LONG& number, LONG apply = 0) {
    const UniqueBstr text(SysAllocString(Widen(name).c_str()));
    VARIANT value;
    std::memset(&value, 0xEE, sizeof value);
    const HRESULT status = dsp->get_Property(text.get(), apply, &value);
    number = value.vt == VT_I4 ? value.lVal : -77;
    return status;
  }
  std::uint64_t Signals() { return machine_->EventSignals(kChangeEvent); }

  const TemporaryFolder folder_;
  IntelMachine machine_{folder_.path()};
  Module module_{{}, [] { return std::shared_ptr<Machine>(); }};
  int files_ = 0;
};

}  // namespace orv
