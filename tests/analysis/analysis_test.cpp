#include <atomic>
#include <thread>

#include "analysis_fixture.h"
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

}  // namespace
}  // namespace orv
