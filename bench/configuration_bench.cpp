// Loading an endpoint's configuration file of 20 modes with 200 controls each, beside the XML
// parser's bare reading of the same file. The counter "parses" is the time in units of the latter.
#include <benchmark/benchmark.h>
#include <tinyxml2.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "config/configuration_file.h"
#include "platform/diagnostics.h"
#include "simulated/simulated_machine.h"

namespace {

using namespace orv;
using Clock = std::chrono::steady_clock;

constexpr int kModes = 20;
constexpr int kControls = 200;
constexpr wchar_t kPath[] = L"C:\\bench.xml";

// A folder that holds the configuration file as long as the program runs.
class BenchFolder {
 public:
  BenchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "configuration_bench.").string();
    path_ = name + std::to_string(Clock::now().time_since_epoch().count());
    std::filesystem::create_directories(path_);
    std::ofstream out(file());
    out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<orv_configuration>\n  <properties>\n"
           "    <control name=\"Product Name\">Bench</control>\n  </properties>\n";
    for (int mode = 0; mode < kModes; ++mode) WriteMode(out, mode);
    out << "</orv_configuration>\n";
  }
  ~BenchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path& path() const { return path_; }
  std::string file() const { return (path_ / "bench.xml").string(); }

 private:
  static void WriteMode(std::ostream& out, int mode) {
    out << "  <operating_mode>\n    <control name=\"ZAPO3-Operating Mode\">Mode" << mode
        << "</control>\n    <control name=\"ZAPO3-Speaker Type\">Internal</control>\n";
    for (int control = 2; control < kControls; ++control)
      out << "    <control name=\"VQ3D-Process Setting " << control << "\" public=\""
          << (control % 2 == 0 ? "true" : "false") << "\">" << control * 7 << "</control>\n";
    out << "  </operating_mode>\n";
  }
  std::filesystem::path path_;
};

const BenchFolder& Folder() {
  static const BenchFolder folder;
  return folder;
}

void BareParse() {
  tinyxml2::XMLDocument document;
  if (document.LoadFile(Folder().file().c_str()) != tinyxml2::XML_SUCCESS) std::abort();
  benchmark::DoNotOptimize(document.RootElement());
}

void Load(ORVAPOConfigurationFile& file) {
  if (file.Load(kPath, 0, 0) != LoadStatus::Loaded || file.GetModes().size() != kModes)
    std::abort();
}

std::size_t ReadEveryMode(const ORVAPOConfigurationFile& file) {
  std::size_t controls = 0;
  for (const auto& mode : file.GetModes()) controls += mode->GetDefaultControls().Count();
  return controls;
}

// Runs `measured` and a bare parse by turns, so that both meet the same machine.
template <class Prepare, class Measured>
void AgainstParse(benchmark::State& state, Prepare prepare, Measured measured) {
  const DiagnosticCapture quiet([](std::wstring_view) {});
  std::chrono::duration<double> own{0};
  std::chrono::duration<double> parse{0};
  for (auto _ : state) {
    prepare();
    const auto start = Clock::now();
    measured();
    const auto middle = Clock::now();
    BareParse();
    const auto end = Clock::now();
    own += middle - start;
    parse += end - middle;
    state.SetIterationTime(std::chrono::duration<double>(middle - start).count());
  }
  state.counters["parses"] = own / parse;
}

// Every machine reads its files anew, and a document stays until the process ends: few iterations.
constexpr int kFirstLoads = 60;

// With argument 1 every control list of every mode is asked for as well.
void LoadAsAsked(benchmark::State& state, ORVAPOConfigurationFile& file) {
  Load(file);
  if (state.range(0) != 0 && ReadEveryMode(file) != kModes * (kControls - 2)) std::abort();
}

void FirstLoad(benchmark::State& state) {
  std::unique_ptr<SimulatedMachine> machine;
  AgainstParse(
      state, [&] { machine = SimulatedMachine::InMemory({}, Folder().path()); },
      [&] {
        ORVAPOConfigurationFile file(*machine);
        LoadAsAsked(state, file);
      });
}
BENCHMARK(FirstLoad)
    ->ArgName("lists")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(kFirstLoads);

void CachedLoad(benchmark::State& state) {
  const auto machine = SimulatedMachine::InMemory({}, Folder().path());
  ORVAPOConfigurationFile file(*machine);
  LoadAsAsked(state, file);
  AgainstParse(
      state, [] {}, [&] { LoadAsAsked(state, file); });
}
BENCHMARK(CachedLoad)
    ->ArgName("lists")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(500);

void ParserAlone(benchmark::State& state) {
  for (auto _ : state) BareParse();
}
BENCHMARK(ParserAlone)->Unit(benchmark::kMicrosecond);

}  // namespace
