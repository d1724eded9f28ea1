#include <atomic>
#include <thread>

#include "analysis_fixture.h"
#include "platform/audio_client.h"
#include "support/diagnostic_log.h"
#include "support/every_failure.h"
#include "support/failing_allocator.h"

namespace orv {
namespace {

constexpr char kClicks[] = R"(, "sounds": [{"kind": "clicks", "every": 100000, "channel": 1}])";

TEST_F(AnalysisTest, PeaksAreTakenOnceAndOnlyChangeWithTheSpectrum) {
  ListeningClient client(kClicks);
  ASSERT_EQ(client.Open(), S_OK);
  const std::vector<float> silence(8, kSilence);
  EXPECT_EQ(client.Peaks(), silence);
  EXPECT_LT(client.Level(1, 1000), 0);
  std::vector<float> click = silence;
  click[1] = 0;
  EXPECT_EQ(client.Peaks(), click);
  EXPECT_EQ(client.Peaks(), silence);
}

TEST_F(AnalysisTest, SpectrumIsTakenOncePerAnalysis) {
  ListeningClient client(R"(, "packets": {"frames": 1024}, "sounds": [{"kind": "noise"}])",
                         "\"held\"");
  ASSERT_EQ(client.Open(), S_OK);
  EXPECT_EQ(client.Level(0, 1000), kSilence) << "nothing was captured yet";
  client.PlayUntil(1024);
  EXPECT_GT(client.Level(0, 1000), kSilence);
  EXPECT_EQ(client.Spectrum(0, {46, 1000, 30000}), std::vector<float>(3, kSilence));
  EXPECT_GT(client.Level(1, 1000), kSilence) << "each channel has its own";
  client.PlayUntil(2048);
  EXPECT_EQ(client.analysis->GetSpectralData(0, 0, nullptr, nullptr), S_OK);
  EXPECT_EQ(client.Level(0, 1000), kSilence) << "nothing was asked for, and that was taken";
}

TEST_F(AnalysisTest, WrongArgumentsAreRefusedAndConsumeNothing) {
  ListeningClient client(R"(, "sounds": [{"kind": "noise"}])");
  ASSERT_EQ(client.Open(), S_OK);
  ULONG frequency = 1000;
  float level = kPoisonedLevel;
  EXPECT_EQ(client.analysis->GetPeaks(nullptr), E_POINTER);
  EXPECT_EQ(client.analysis->GetSpectralData(8, 1, &frequency, &level), E_INVALIDARG);
  EXPECT_EQ(client.analysis->GetSpectralData(0xFFFF, 1, nullptr, nullptr), E_INVALIDARG);
  EXPECT_EQ(client.analysis->GetSpectralData(0, 1, nullptr, &level), E_POINTER);
  EXPECT_EQ(client.analysis->GetSpectralData(0, 1, &frequency, nullptr), E_POINTER);
  EXPECT_EQ(level, kPoisonedLevel);
  EXPECT_EQ(client.machine->faults().Calls("capture.next_packet_size"), 0U);
  EXPECT_EQ(client.Level(2, 1000), kSilence) << "accepted, without a spectrum";
  EXPECT_EQ(client.Level(7, 1000), kSilence);
  EXPECT_GT(client.Level(0, 1000), kSilence);
}

TEST_F(AnalysisTest, ARateWithoutBinsHasNoSpectrum) {
  ListeningClient client(R"(, "mix_format": {"rate": 1023}, "sounds": [{"kind": "noise"}])");
  ASSERT_EQ(client.Open(), S_OK);
  EXPECT_EQ(client.Level(0, 100), kSilence);
}

TEST_F(AnalysisTest, SilentStreamPlaysWhileTheObjectLives) {
  ListeningClient client("", "\"held\"");  // without other playback
  ASSERT_EQ(client.Open(), S_OK);
  ASSERT_TRUE(client.WaitForPlayback());
  const SoundActivity activity = client.machine->sound().activity();
  EXPECT_EQ(activity.capturing, 1U);
  EXPECT_EQ(activity.rendered_frames, 48000U) << "a second";
  EXPECT_EQ(activity.audible_frames, 0U);
  EXPECT_EQ(activity.loopback_duration, 100000) << "the device period";
  client.Level(0, 1000);  // from here on the engine has packets
  client.Step(std::chrono::milliseconds(20));
  EXPECT_EQ(client.Level(0, 1000), kSilence);
  EXPECT_EQ(client.machine->faults().Calls("capture.get_buffer"), 2U);
  client.Step(std::chrono::hours(1));
  client.Level(0, 1000);
  EXPECT_EQ(client.machine->faults().Calls("capture.get_buffer"), 4U) << "the engine keeps two";
  EXPECT_EQ(client.Peaks(), std::vector<float>(8, kSilence));

  EXPECT_TRUE(client.endpoint_alive) << "held by the object";
  client.analysis.Reset();
  EXPECT_FALSE(client.endpoint_alive);
  EXPECT_EQ(client.when_endpoint_went.capturing, 0U);
  EXPECT_EQ(client.when_endpoint_went.rendering, 1U) << "the playback thread is stopped last";
  EXPECT_EQ(client.machine->sound().activity().rendering, 0U);
}

TEST_F(AnalysisTest, PeaksAreTakenOnAnyThread) {
  ListeningClient client(R"(, "sounds": [{"kind": "clicks", "every": 960}])", "\"held\"");
  ASSERT_EQ(client.Open(), S_OK);
  std::atomic<bool> ended = false;
  int clicks = 0;
  std::thread meter([&] {
    for (bool last = false; !last;) {
      last = ended;
      clicks += client.Peaks()[0] == 0 ? 1 : 0;
    }
  });
  for (std::uint64_t step = 1; step <= 300; ++step) {
    client.PlayUntil(step * 960);
    client.Level(0, 1000);
  }
  ended = true;
  meter.join();
  EXPECT_GT(clicks, 0);
  EXPECT_LE(clicks, 300) << "none is taken twice";
}

TEST_F(AnalysisTest, TenMinutesOfSoundAllocateNothing) {
  ListeningClient client(kClicks, "\"held\"");
  ASSERT_EQ(client.Open(), S_OK);
  ASSERT_TRUE(client.WaitForPlayback());
  constexpr int kFrameRate = 60;
  constexpr std::chrono::nanoseconds kFrame = std::chrono::nanoseconds(1000000000) / kFrameRate;
  ULONG frequencies[] = {100, 1000, 10000};
  float levels[3];
  const auto show = [&](int frames) {
    for (int frame = 0; frame < frames; ++frame) {
      client.Step(kFrame);
      ASSERT_EQ(
          client.analysis->GetSpectralData(static_cast<USHORT>(frame % 2), 3, frequencies, levels),
          S_OK);
    }
  };
  show(kFrameRate);
  const std::uint32_t before = client.machine->faults().Calls("capture.release_buffer");
  const FailingAllocations allocations(0);
  show(600 * kFrameRate);
  EXPECT_EQ(allocations.count(), 0U);
  EXPECT_NEAR(client.machine->faults().Calls("capture.release_buffer") - before, 60000, 2);
}

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
