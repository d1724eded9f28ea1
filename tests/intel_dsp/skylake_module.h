// The Skylake module of a simulated machine behind the real driver client.
#pragma once

#include <gtest/gtest.h>

#include "control_map.h"
#include "intel_dsp/skylake/driver_client.h"
#include "intel_dsp/skylake/writers.h"
#include "intel_machine.h"
#include "support/diagnostic_log.h"

namespace orv {

class SkylakeModuleTest : public testing::Test {
 protected:
  using Kind = DriverMisbehaviour::Kind;
  using Direction = DriverMisbehaviour::Direction;
  using Bytes = std::vector<std::byte>;
  static constexpr HRESULT kRefusal = static_cast<HRESULT>(0xC0000001);

  SkylakeModuleTest() {
    KELAPOIntelDSP_SKL::ClearCache();
    EXPECT_EQ(client_.ActivateIKsControls(kSpeakers), S_OK);
  }

  void Set(const std::string& name, const nlohmann::json& value) {
    mode_["VQ3D-" + name] = ValueOf("VQ3D-" + name, value);
  }
  void Erase(const std::string& name) { mode_.erase("VQ3D-" + name); }

  // Numbers of parameters are their low bytes. A refused read or write of one, until all do well.
  void Refuse(Direction direction, std::uint32_t number) {
    machine_.skylake().misbehaviour.push_back(
        Misbehave(Kind::Refuse, direction, 0x10014400 + number, kRefusal));
  }
  void AllDoWell() { machine_.skylake().misbehaviour.clear(); }

  // The numbers sent since the last call.
  std::vector<std::uint32_t> Sent() {
    std::vector<std::uint32_t> sent = machine_.Sent();
    for (std::uint32_t& parameter : sent) parameter &= 0xFF;
    return sent;
  }
  // The block of this number that was sent last.
  Bytes Last(std::uint32_t number) {
    const std::vector<DriverRecord> records = machine_->ReceivedRecords();
    for (auto record = records.rbegin(); record != records.rend(); ++record)
      if ((record->parameter & 0xFF) == number) return record->bytes;
    return {};
  }
  std::int64_t Field(std::uint32_t number, std::size_t offset, FieldType type) {
    const Bytes last = Last(number);
    return last.empty() ? -77 : ReadField(last, offset, type);
  }

  IntelMachine machine_;
  DiagnosticLog log_;
  KELAPOIntelDriverInterface_SKL client_{machine_.get(), nullptr};
  KELAPOIntelDSP_SKL dsp_{client_};
  ControlValueMap mode_ = MapOf(PlainMode());
};

}  // namespace orv
