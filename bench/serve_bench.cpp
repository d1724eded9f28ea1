// The service as a page waits for it: the first answers, and a control's change there and back.
#include <benchmark/benchmark.h>

#include <boost/core/noncopyable.hpp>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "bench/measure.h"
#include "cli/show/output.h"
#include "panel/http_client.h"
#include "panel/server/server.h"

namespace orv::panel {
namespace {

// A copy of the laptop sample and the service for it.
class Bench : boost::noncopyable {
 public:
  Bench() {
    std::filesystem::remove_all(folder_);
    std::filesystem::copy(ORV_LAPTOP, folder_, std::filesystem::copy_options::recursive);
    const auto system = folder_ / "drive_c" / "Windows" / "System32";
    std::filesystem::create_directories(system);
    std::filesystem::copy_file(ORV_TECHNOLOGY_LIBRARY, system / "kxtech64.dll");
    context_.session_options.machine = folder_;
    server_ = std::make_unique<Server>(context_, ServerOptions());
  }
  ~Bench() {
    server_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  Caller caller() const { return {server_->port(), server_->key()}; }

 private:
  std::filesystem::path folder_ = std::filesystem::temp_directory_path() / "orv-serve-bench";
  std::ostringstream results_, notices_;
  cli::Output output_{results_, notices_};
  cli::Context context_{output_};
  std::unique_ptr<Server> server_;
};

// From the start of the service to the page and its list of endpoints.
void BM_FirstAnswers(benchmark::State& state) {
  Durations durations;
  for (auto _ : state) {
    durations.Measure([&] {
      const Bench bench;
      const Caller caller = bench.caller();
      if (caller.Get("/").status != 200 || caller.Get("/api/endpoints").status != 200)
        state.SkipWithError("no answer");
    });
  }
  durations.Report(state);
}
BENCHMARK(BM_FirstAnswers)->Unit(benchmark::kMillisecond);

// What a page reads before it shows its first picture.
void BM_FirstPicture(benchmark::State& state) {
  const Bench bench;
  Durations durations;
  for (auto _ : state) {
    durations.Measure([&] {
      const Caller caller = bench.caller();
      const Page page(caller);
      for (const char* path :
           {"/", "/chart.min.js", "/api/about", "/api/endpoints", "/api/endpoints/0/modes",
            "/api/endpoints/0/enabled", "/api/endpoints/0/controls",
            "/api/endpoints/0/controls?list=default", "/api/endpoints/0/response"})
        if (caller.Get(path).status != 200) state.SkipWithError(path);
    });
  }
  durations.Report(state);
}
BENCHMARK(BM_FirstPicture)->Unit(benchmark::kMillisecond);

// A page changes a control and waits for the event that reports it.
void BM_ChangeAndItsEvent(benchmark::State& state) {
  const Bench bench;
  const Caller caller = bench.caller();
  Page page(caller);
  Client connection(caller.port());
  Durations answers;
  Durations events;
  int value = 0;
  for (auto _ : state) {
    const std::string body = "{\"VQ3D-DC Level\": " + std::to_string(value++ % 90) + "}";
    events.Measure([&] {
      answers.Measure([&] {
        connection.Send(caller.Text("PUT", "/api/endpoints/0/controls", body));
        if (connection.Receive().status != 200) state.SkipWithError("refused");
      });
      page.Next("change");
    });
  }
  state.counters["answer_median_us"] = answers.Median();
  events.Report(state);
}
BENCHMARK(BM_ChangeAndItsEvent)->Unit(benchmark::kMillisecond);

// The share of a core that one page with live levels costs, the page's own reading, the simulated
// engine and its sound included.
void BM_LiveLevels(benchmark::State& state) {
  const Bench bench;
  Page page(bench.caller(), "0");
  page.Next("levels");
  double least = 100;
  int events = 0;
  constexpr std::chrono::seconds kTime{2};
  for (auto _ : state) {
    const auto end = std::chrono::steady_clock::now() + kTime;
    events = 0;
    const double busy = ProcessorTime(1, [&] {
      for (; std::chrono::steady_clock::now() < end; ++events) page.Next("levels");
    });
    least = std::min(least, 100 * busy / std::chrono::duration<double, std::nano>(kTime).count());
  }
  state.counters["percent_of_a_core"] = least;
  state.counters["events_a_second"] =
      static_cast<double>(events) / std::chrono::duration<double>(kTime).count();
}
BENCHMARK(BM_LiveLevels)->Iterations(5)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace orv::panel
