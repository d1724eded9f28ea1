#include "cli/dsp_plan.h"

#include <algorithm>

#include "intel_dsp/broadwell/processors.h"
#include "intel_dsp/skylake/parameter_blocks.h"
#include "platform/diagnostics.h"
#include "platform/simulated/drivers/driver_requests.h"
#include "platform/text.h"
#include "qc_dsp/qualcomm_records.h"

namespace orv::cli {
namespace {

using Controls = std::map<std::wstring, std::int32_t, std::less<>>;

// A driver that takes everything and keeps it as blocks.
class Recorder {
 public:
  Recorder(std::string driver, DspReadback* held) : driver_(std::move(driver)), held_(held) {}

  bool Get(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size) {
    status = E_FAIL;
    const DspBlock* block = Find(parameter);
    std::optional<DspBlock> held;
    if (block == nullptr && held_ != nullptr) {
      held = held_->Read(driver_, parameter, size);
      if (held) block = &*held;
    }
    if (block == nullptr || block->bytes.size() < size) return false;
    std::copy_n(block->bytes.begin(), size, static_cast<std::byte*>(buffer));
    status = S_OK;
    return true;
  }
  bool Set(HRESULT& status, std::uint32_t parameter, const void* buffer, std::uint32_t size) {
    const auto* bytes = static_cast<const std::byte*>(buffer);
    DspBlock block{driver_, parameter, std::vector<std::byte>(bytes, bytes + size)};
    if (DspBlock* known = Find(parameter)) {
      *known = std::move(block);
    } else {
      blocks.push_back(std::move(block));
    }
    status = S_OK;
    return true;
  }

  std::vector<DspBlock> blocks;

 private:
  DspBlock* Find(std::uint32_t parameter) {
    const auto found = std::find_if(blocks.begin(), blocks.end(), [&](const DspBlock& block) {
      return block.parameter == parameter;
    });
    return found != blocks.end() ? &*found : nullptr;
  }
  std::string driver_;
  DspReadback* held_;
};

class SkylakeRecorder final : public SkylakeDriver {
 public:
  explicit SkylakeRecorder(Recorder& recorder) : recorder_(recorder) {}
  bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size,
                    std::uint8_t) override {
    return recorder_.Get(status, parameter, buffer, size);
  }
  bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                    std::uint32_t size, std::uint8_t) override {
    return recorder_.Set(status, parameter, buffer, size);
  }
  bool GetStatus(HRESULT& status, std::uint8_t& enabled, std::uint8_t) override {
    enabled = 1;
    status = S_OK;
    return true;
  }
  bool SetStatus(HRESULT& status, std::uint8_t, std::uint8_t) override {
    status = S_OK;
    return true;
  }

 private:
  Recorder& recorder_;
};

class BroadwellRecorder final : public BroadwellDriver {
 public:
  explicit BroadwellRecorder(Recorder& recorder) : recorder_(recorder) {}
  bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size,
                    std::uint8_t) override {
    return recorder_.Get(status, parameter, buffer, size);
  }
  bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                    std::uint32_t size, std::uint8_t) override {
    return recorder_.Set(status, parameter, buffer, size);
  }
  std::uint32_t last_error() const override { return 0; }

 private:
  Recorder& recorder_;
};

ControlValueMap IntelMap(const Controls& controls) {
  ControlValueMap map;
  for (const auto& [name, value] : controls) {
    const std::string narrow = Narrow(name);
    map.insert_or_assign(narrow, ORVQVTValue(narrow, value));
  }
  return map;
}

void WriteSkylake(SkylakeDriver& driver, const ControlValueMap& map) {
  KELAPOIntelDSP_SKL writers(driver);
  KELAPOIntelDSP_SKL::ClearCache();
  for (const auto write :
       {&KELAPOIntelDSP_SKL::SetVQ3DControls, &KELAPOIntelDSP_SKL::SetVQ3DEVolHDControls,
        &KELAPOIntelDSP_SKL::SetVQ3DVocadiagControls, &KELAPOIntelDSP_SKL::SetVQ3DCommonControls,
        &KELAPOIntelDSP_SKL::SetVQ3DPX3DControls, &KELAPOIntelDSP_SKL::SetVQ3DMXHPControls,
        &KELAPOIntelDSP_SKL::SetVQ3DGEQControls, &KELAPOIntelDSP_SKL::SetVQ3DToneControls,
        &KELAPOIntelDSP_SKL::SetVQ3DAEQControls, &KELAPOIntelDSP_SKL::SetVQ3DMvolControls,
        &KELAPOIntelDSP_SKL::SetVQ3DHdLmtControls, &KELAPOIntelDSP_SKL::SetVQ3DAdvGainControls,
        &KELAPOIntelDSP_SKL::SetVQ3DHPFAEQControls})
    (writers.*write)(map, 0);
}

// A processor gives up at the first control that does not convert; the others go on.
void WriteBroadwell(BroadwellDriver& driver, const ControlValueMap& map) {
  KELAPOIntelDSP_BRW processors(driver);
  for (const auto process :
       {&KELAPOIntelDSP_BRW::ProcessHPFControls, &KELAPOIntelDSP_BRW::ProcessEvenvolumeControls,
        &KELAPOIntelDSP_BRW::ProcessHLControls, &KELAPOIntelDSP_BRW::ProcessAMHDControls,
        &KELAPOIntelDSP_BRW::ProcessGlobalControls}) {
    try {
      (processors.*process)(map, 0);
    } catch (const IntelException&) {
      continue;
    }
  }
  processors.ProcessPEQControls(map, 0, KELAPOIntelDSP_BRW::kBothChannels);
}

void WriteQualcomm(Recorder& recorder, const Controls& controls) {
  for (const QualcommParameter parameter : kQualcommSendingOrder) {
    const std::wstring_view needed = QualcommRecordNeeds(parameter);
    if (!needed.empty() && controls.find(needed) == controls.end()) continue;
    const QualcommRecord record(parameter, controls);
    HRESULT status = S_OK;
    recorder.Set(status, parameter, record.payload().data(),
                 static_cast<std::uint32_t>(record.payload().size()));
  }
}

}  // namespace

std::vector<DspBlock> PlanBlocks(const std::string& driver, const Controls& controls,
                                 DspReadback* held) {
  const DiagnosticCapture quiet([](std::wstring_view) {});
  Recorder recorder(driver, held);
  if (driver == kSkylakeDriver) {
    SkylakeRecorder skylake(recorder);
    WriteSkylake(skylake, IntelMap(controls));
  } else if (driver == kBroadwellDriver) {
    BroadwellRecorder broadwell(recorder);
    WriteBroadwell(broadwell, IntelMap(controls));
  } else {
    WriteQualcomm(recorder, controls);
  }
  return std::move(recorder.blocks);
}

}  // namespace orv::cli
