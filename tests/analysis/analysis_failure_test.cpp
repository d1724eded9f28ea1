#include "analysis_fixture.h"
#include "platform/audio_client.h"
#include "support/diagnostic_log.h"
#include "support/every_failure.h"

namespace orv {
namespace {

constexpr char kNoise[] = R"(, "packets": {"frames": 1024}, "sounds": [{"kind": "noise"}])";

// Nothing of an object that is gone is left on the machine.
void ExpectNothingLeft(ListeningClient& client) {
  client.analysis.Reset();
  EXPECT_FALSE(client.endpoint_alive);
  EXPECT_EQ(client.module.lock_count(), 0U);
  EXPECT_EQ(client.machine->sound().activity().capturing, 0U);
  EXPECT_EQ(client.machine->sound().activity().rendering, 0U);
}

TEST_F(AnalysisTest, CreationReturnsTheStatusOfTheFailedStep) {
  for (const FaultOperation step :
       FaultOperations{"devices.create_enumerator", "devices.get_device", "device.activate",
                       "audio.activate", "audio.get_mix_format", "audio.get_device_period",
                       "audio.initialize", "audio.get_service"}) {
    SCOPED_TRACE(step.name());
    ListeningClient client(kNoise);
    client.machine->faults().FailNth(step, 1, AUDCLNT_E_DEVICE_INVALIDATED);
    EXPECT_EQ(client.Open(), AUDCLNT_E_DEVICE_INVALIDATED);
    ExpectNothingLeft(client);
    EXPECT_EQ(client.Open(), S_OK);
  }
  ListeningClient client(kNoise);
  client.machine->faults().FailAlways("audio.start", AUDCLNT_E_DEVICE_INVALIDATED);
  EXPECT_EQ(client.Open(), AUDCLNT_E_DEVICE_INVALIDATED);
  client.machine->faults().Clear();
  client.machine->description().endpoints.clear();
  EXPECT_EQ(client.Open(), orv_apo::kNotFound);
  ExpectNothingLeft(client);
}

TEST_F(AnalysisTest, CreationNeedsAnEndpointAMachineAPlaceAndAPlan) {
  ListeningClient client(kNoise);
  auto* opened = reinterpret_cast<IAnalysisData*>(0xBAD0BAD0);
  EXPECT_EQ(CreateAnalysisData(client.module, nullptr, kListenedEndpoint, &opened), E_INVALIDARG);
  EXPECT_EQ(opened, nullptr);
  EXPECT_EQ(CreateAnalysisData(client.module, nullptr, kListenedEndpoint, nullptr), E_POINTER);
  client.module.SetMachine(nullptr);
  EXPECT_EQ(client.Open(), E_UNEXPECTED);
  client.module.SetMachine(client.machine);
  EXPECT_EQ(UnregisterPlan(kAnalysisTransform.size, kAnalysisTransform.type), kTransformOk);
  EXPECT_EQ(client.Open(), E_FAIL);
  ExpectNothingLeft(client);
}

TEST_F(AnalysisTest, AnalysisContinuesWithoutAPlaybackThread) {
  // The playback thread's calls come after those of the loopback stream.
  const struct {
    FaultOperation operation;
    std::uint32_t nth;
    bool reported;
  } failures[] = {{"devices.create_enumerator", 2, false},
                  {"devices.get_device", 2, false},
                  {"audio.activate", 2, true},
                  {"audio.get_mix_format", 2, true},
                  {"audio.initialize", 2, true},
                  {"audio.get_buffer_size", 1, true},
                  {"audio.get_service", 2, true},
                  {"render.get_buffer", 1, false},
                  {"render.release_buffer", 1, true}};
  for (const auto& [operation, nth, reported] : failures) {
    SCOPED_TRACE(operation.name());
    ListeningClient client(kNoise);
    const DiagnosticLog log;
    client.machine->faults().FailNth(operation, nth, AUDCLNT_E_DEVICE_INVALIDATED);
    ASSERT_EQ(client.Open(), S_OK);
    EXPECT_GT(client.Level(0, 1000), kSilence);
    ExpectNothingLeft(client);  // the thread has ended
    EXPECT_EQ(log.Count(L" | CAnalysisData::PlaybackThread::JoinThread | Unable to create playback "
                        L"thread: HR error: 0x88890004\n"),
              reported ? 1U : 0U);
  }
}

TEST_F(AnalysisTest, FailedCaptureCallsHaveDefinedResults) {
  for (const FaultOperation call : FaultOperations{"capture.next_packet_size", "capture.get_buffer",
                                                   "capture.release_buffer"}) {
    for (std::uint32_t nth = 1; nth <= 3; ++nth) {
      SCOPED_TRACE(std::string(call.name()) + " " + std::to_string(nth));
      ListeningClient client(kNoise);
      ASSERT_EQ(client.Open(), S_OK);
      client.machine->faults().FailNth(call, nth, AUDCLNT_E_DEVICE_INVALIDATED);
      int levels = 0;
      for (int step = 0; step < 8; ++step) levels += client.Level(0, 1000) > kSilence ? 1 : 0;
      EXPECT_GE(levels, 3) << "one failure costs a step, not the analysis";
    }
    // The device is gone, whatever is asked.
    ListeningClient client(kNoise);
    ASSERT_EQ(client.Open(), S_OK);
    EXPECT_GT(client.Level(0, 1000), kSilence);
    client.machine->faults().FailAlways(call, AUDCLNT_E_DEVICE_INVALIDATED);
    client.machine->faults().FailAlways("audio.stop", AUDCLNT_E_DEVICE_INVALIDATED);
    for (int step = 0; step < 3; ++step) client.Level(1, 1000);
    ExpectNothingLeft(client);
  }
  ListeningClient client(kNoise);
  ASSERT_EQ(client.Open(), S_OK);
  client.machine->faults().FailNth("capture.next_packet_size", 2, AUDCLNT_E_DEVICE_INVALIDATED);
  EXPECT_GT(client.Level(0, 1000), kSilence) << "the packet before it counts";
}

TEST_F(AnalysisTest, FailingAllocationsBecomeAStatusAndLeaveNothing) {
  ListeningClient client(kNoise);
  const std::wstring device_id = kListenedEndpoint;
  bool alive = false;
  const auto endpoint = ComPtr<IUnknown>::Adopt(new EndpointStandIn(alive));
  IAnalysisData* opened = nullptr;
  HRESULT status = S_FALSE;
  const auto open = [&] {
    status = CreateAnalysisData(client.module, endpoint.get(), device_id, &opened);
  };
  WithEveryAllocationFailing(open, [&](std::size_t nth) {
    ASSERT_LT(nth, 500U);
    EXPECT_EQ(opened != nullptr, SUCCEEDED(status));
    ComPtr<IAnalysisData>::Adopt(std::exchange(opened, nullptr)).Reset();
  });
  EXPECT_EQ(status, S_OK);
  ComPtr<IAnalysisData>::Adopt(opened).Reset();
  ExpectNothingLeft(client);
}

}  // namespace
}  // namespace orv
