// Drivers that take everything and keep it as a plan.
#pragma once

#include <algorithm>
#include <string>

#include "cli/dsp/plan.h"
#include "intel_dsp/broadwell/broadwell_driver.h"
#include "intel_dsp/skylake/skylake_driver.h"

namespace orv::cli {

class DspRecorder {
 public:
  DspRecorder(std::string driver, DspReadback* held) : held_(held) {
    plan.driver = std::move(driver);
  }

  bool Get(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size) {
    status = E_FAIL;
    const DspBlock* block = FindBlock(plan.blocks, parameter);
    std::optional<DspBlock> held;
    if (block == nullptr && held_ != nullptr) {
      held = held_->Held(plan.driver, parameter, size);
      if (held) block = &*held;
    }
    if (block == nullptr || block->bytes.size() < size) return false;
    std::copy_n(block->bytes.begin(), size, static_cast<std::byte*>(buffer));
    status = S_OK;
    return true;
  }
  bool Set(HRESULT& status, std::uint32_t parameter, const void* buffer, std::uint32_t size,
           std::uint32_t selector) {
    const auto* bytes = static_cast<const std::byte*>(buffer);
    DspBlock block{plan.driver, parameter, std::vector<std::byte>(bytes, bytes + size), selector};
    if (const DspBlock* known = FindBlock(plan.blocks, parameter)) {
      plan.blocks[static_cast<std::size_t>(known - plan.blocks.data())] = std::move(block);
    } else {
      plan.blocks.push_back(std::move(block));
    }
    status = S_OK;
    return true;
  }
  bool Has(std::uint32_t parameter) const { return FindBlock(plan.blocks, parameter) != nullptr; }

  DspPlan plan;

 private:
  DspReadback* held_;
};

template <class Driver>
class ParameterRecorder : public Driver {
 public:
  explicit ParameterRecorder(DspRecorder& recorder) : recorder_(recorder) {}
  bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size,
                    std::uint8_t) override {
    return recorder_.Get(status, parameter, buffer, size);
  }
  bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                    std::uint32_t size, std::uint8_t apply) override {
    return recorder_.Set(status, parameter, buffer, size, apply);
  }

 protected:
  ~ParameterRecorder() = default;
  DspRecorder& recorder_;
};

class SkylakeRecorder final : public ParameterRecorder<SkylakeDriver> {
 public:
  using ParameterRecorder::ParameterRecorder;
  bool GetStatus(HRESULT& status, std::uint8_t& enabled, std::uint8_t) override {
    enabled = 1;
    status = S_OK;
    return true;
  }
  bool SetStatus(HRESULT& status, std::uint8_t enable, std::uint8_t) override {
    recorder_.plan.module = enable != 0;
    status = S_OK;
    return true;
  }
};

class BroadwellRecorder final : public ParameterRecorder<BroadwellDriver> {
 public:
  using ParameterRecorder::ParameterRecorder;
  std::uint32_t last_error() const override { return 0; }
};

}  // namespace orv::cli
