// A client of the analysis object, on a machine whose one endpoint plays the sound of the test.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "analysis/analysis_data.h"
#include "dsp_math/transform.h"
#include "platform/com_object.h"
#include "platform/com_ptr.h"
#include "simulated/simulated_machine.h"

namespace orv {

inline constexpr wchar_t kListenedEndpoint[] = L"{0.0.0.00000000}.{LISTENED}";
inline constexpr float kSilence = -std::numeric_limits<float>::infinity();
inline constexpr float kPoisonedLevel = 12345.0F;
inline constexpr std::chrono::seconds kDeadline{20};

// The endpoint object as analysis uses it; reports its end.
class EndpointStandIn final : public CountedObject<IUnknown> {
 public:
  explicit EndpointStandIn(
      bool& alive, std::function<void()> going = [] {})
      : alive_(alive), going_(std::move(going)) {
    alive_ = true;
  }

 protected:
  ~EndpointStandIn() override {
    going_();
    alive_ = false;
  }

 private:
  bool& alive_;
  std::function<void()> going_;
};

class ListeningClient {
 public:
  // `endpoint` are the members of the endpoint's description in "playback" besides its identifier.
  explicit ListeningClient(const std::string& endpoint,
                           const std::string& clock = "\"on_demand\"") {
    SimulatedEndpoint speakers;
    speakers.id = kListenedEndpoint;
    machine->description().endpoints = {speakers};
    FileError error;
    EXPECT_TRUE(machine->SetPlayback("{\"clock\": " + clock +
                                         ", \"endpoints\": [{\"endpoint\": "
                                         "\"{0.0.0.00000000}.{LISTENED}\"" +
                                         endpoint + "}]}",
                                     error))
        << error.Text();
    module.SetMachine(machine);
  }
  ~ListeningClient() {
    analysis.Reset();
    EXPECT_EQ(module.lock_count(), 0U);
  }

  HRESULT Open() {
    const auto endpoint = ComPtr<IUnknown>::Adopt(new EndpointStandIn(
        endpoint_alive, [this] { when_endpoint_went = machine->sound().activity(); }));
    IAnalysisData* opened = reinterpret_cast<IAnalysisData*>(0xBAD0BAD0);
    const HRESULT status = CreateAnalysisData(module, endpoint.get(), kListenedEndpoint, &opened);
    EXPECT_EQ(opened != nullptr, SUCCEEDED(status));
    analysis = ComPtr<IAnalysisData>::Adopt(opened);
    return status;
  }

  // In dB.
  std::vector<float> Spectrum(USHORT channel, std::vector<ULONG> frequencies) {
    std::vector<float> levels(frequencies.size(), kPoisonedLevel);
    EXPECT_EQ(analysis->GetSpectralData(channel, static_cast<USHORT>(frequencies.size()),
                                        frequencies.data(), levels.data()),
              S_OK);
    return levels;
  }
  float Level(USHORT channel, ULONG frequency) { return Spectrum(channel, {frequency})[0]; }
  std::vector<float> Peaks() {
    std::vector<float> peaks(9, kPoisonedLevel);
    EXPECT_EQ(analysis->GetPeaks(peaks.data()), S_OK);
    EXPECT_EQ(peaks.back(), kPoisonedLevel) << "there are eight";
    peaks.pop_back();
    return peaks;
  }
  // Of a held clock: until so many frames have been played in all.
  void PlayUntil(std::uint64_t frames) {
    const std::uint32_t rate = machine->sound().SoundOf(kListenedEndpoint)->shape.rate;
    const auto end = std::chrono::nanoseconds((frames * 1000000000 + rate - 1) / rate);
    Step(end - machine->sound().clock().Now());
  }
  void Step(std::chrono::nanoseconds time) { machine->sound().clock().Step(time); }
  bool WaitForPlayback(unsigned streams = 1) {
    return machine->sound().WaitUntil(
        [&](const SoundActivity& activity) { return activity.rendering == streams; }, kDeadline);
  }

  std::shared_ptr<SimulatedMachine> machine = SimulatedMachine::InMemory();
  Module module{{}, [] { return std::shared_ptr<Machine>(); }};
  bool endpoint_alive = false;
  SoundActivity when_endpoint_went;
  ComPtr<IAnalysisData> analysis;
};

class AnalysisTest : public ::testing::Test {
 protected:
  RegisteredTransform transform_{kAnalysisTransform};
};

}  // namespace orv
