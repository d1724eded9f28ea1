// What the user reads, as whole transcripts: golden/*.txt, with golden/README.md.
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <sstream>

#include "cli/native/shell.h"
#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

namespace fs = std::filesystem;

constexpr char kSamplePrefix[] = "sample: ";
constexpr char kCommandPrefix[] = "$ ";

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// A folder that the commands of one transcript run in, by the shell, with a fresh copy of the
// sample machine in the subfolder "machine".
class Workplace {
 public:
  explicit Workplace(const std::string& sample) {
    CopySampleMachine(sample, folder_.path() / "machine");
  }

  std::string Transcribe(const std::string& command) const {
    const int status = Run(command);
    std::string text = kCommandPrefix + command + "\n";
    text += Shown("out", "");
    text += Shown("errors", "! ");
    if (status != 0) text += "[exit " + std::to_string(WEXITSTATUS(status)) + "]\n";
    return text;
  }

  // What the command prints on standard output.
  std::string Output(const std::string& command) const {
    EXPECT_EQ(Run(command), 0) << command;
    return Shown("out", "");
  }

 private:
  int Run(const std::string& command) const {
    const std::string path = fs::path(ORV_ORVCTL).parent_path().string();
    const std::string line = "cd " + Quoted(folder_.path().string()) + " && PATH=" + Quoted(path) +
                             ":$PATH ORV_MACHINE=machine sh -c " + Quoted(command) + " >" +
                             Quoted(streams_.path() / "out") + " 2>" +
                             Quoted(streams_.path() / "errors") + " </dev/null";
    return std::system(line.c_str());
  }

  std::string Shown(const std::string& stream, const std::string& prefix) const {
    std::string text;
    for (std::string line : Lines(FileText(streams_.path() / stream))) {
      const std::string folder = folder_.path().string();
      for (std::size_t at; (at = line.find(folder)) != std::string::npos;)
        line.replace(at, folder.size(), "FOLDER");
      if (line.starts_with(kCommandPrefix)) line.insert(0, "\\");
      text += prefix + line + "\n";
    }
    return text;
  }

  TemporaryFolder folder_;
  TemporaryFolder streams_;
};

class Transcript : public testing::TestWithParam<std::string> {};

TEST_P(Transcript, ShowsWhatTheProgramPrints) {
  const fs::path file = fs::path(ORV_TRANSCRIPTS) / (GetParam() + ".txt");
  const std::string expected = FileText(file);
  const std::vector<std::string> lines = Lines(expected);
  ASSERT_FALSE(lines.empty());
  ASSERT_TRUE(lines[0].starts_with(kSamplePrefix)) << lines[0];
  const Workplace workplace(lines[0].substr(sizeof kSamplePrefix - 1));
  std::string actual = lines[0] + "\n";
  for (const std::string& line : lines) {
    if (line.starts_with("// ")) actual += line + "\n";
    if (line.starts_with(kCommandPrefix))
      actual += workplace.Transcribe(line.substr(sizeof kCommandPrefix - 1));
  }
  if (std::getenv("ORV_REWRITE_TRANSCRIPTS") != nullptr) return WriteText(file, actual);
  EXPECT_EQ(actual, expected) << "If the change is intended: ORV_REWRITE_TRANSCRIPTS=1, and review "
                                 "the difference of "
                              << file;
}

std::vector<std::string> Names() {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(ORV_TRANSCRIPTS))
    if (entry.path().extension() == ".txt") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

// The page of the command line with what its examples print now. An example is a line that begins
// with "$ " in a block "```console"; each section starts with a fresh sample machine. Between
// "<!-- orvctl ... -->" and "<!-- end -->" is what that command prints.
std::string PageWithOutput(const std::string& page) {
  constexpr std::string_view kMachine = "<!-- machine: ";
  constexpr std::string_view kGenerated = "<!-- orvctl ";
  const std::string usual = "skylake-laptop";
  std::optional<Workplace> workplace;
  std::string actual;
  bool example = false;
  bool generated = false;
  for (const std::string& line : Lines(page)) {
    if (line.starts_with("#")) workplace.emplace(usual);
    if (line.starts_with(kMachine))
      workplace.emplace(line.substr(kMachine.size(), line.find(" -->") - kMachine.size()));
    if (line == "```") example = false;
    if (line == "<!-- end -->") generated = false;
    if (!example && !generated) actual += line + "\n";
    if (line.starts_with(kGenerated)) {
      generated = true;
      actual += workplace->Output(line.substr(5, line.find(" -->") - 5));
    }
    if (line == "```console") example = true;
    if (example && line.starts_with(kCommandPrefix))
      actual += workplace->Transcribe(line.substr(sizeof kCommandPrefix - 1));
  }
  return actual;
}

TEST(Documentation, ExamplesPrintWhatThePageShows) {
  const fs::path file = fs::path(ORV_DOCUMENTS) / "orvctl.md";
  const std::string expected = FileText(file);
  const std::string actual = PageWithOutput(expected);
  if (std::getenv("ORV_REWRITE_TRANSCRIPTS") != nullptr) return WriteText(file, actual);
  EXPECT_EQ(actual, expected) << "If the change is intended: ORV_REWRITE_TRANSCRIPTS=1";
}

INSTANTIATE_TEST_SUITE_P(Golden, Transcript, testing::ValuesIn(Names()),
                         [](const auto& test) { return test.param; });

}  // namespace
}  // namespace orv::cli
