// Runs every example of every help page as it is.
#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "cli/native/shell.h"
#include "cli/native/usages.h"
#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

std::vector<std::string> Examples(const Program& program, const std::string& usage) {
  const std::string help = program.Run(HelpWords(usage)).output;
  std::istringstream lines(help.substr(std::min(help.find("\nExample"), help.size())));
  std::vector<std::string> examples;
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with("  ")) examples.push_back(line.substr(2));
  return examples;
}

// What makes the file that an example names: the program itself.
constexpr struct {
  const char* name;
  const char* command;
} kPreparations[] = {
    {"undo", "orvctl set 0 \"VQ3D-DC Level\" 12"},
    {"orv_apo_config.xml", "cp 'machine/drive_c/Program Files/ORV Labs/APO/orv_apo_config.xml' ."},
    {"0 evening.json", "orvctl save 0 evening.json"},
    {"entries.json", "orvctl --json image decode --endpoint 0 --mode Movie/Internal >entries.json"},
    {"decode values.bin",
     "orvctl --json image decode --endpoint 0 --mode Movie/Internal >entries.json\n"
     "orvctl image encode entries.json --output values.bin"},
    {"--machine my-machine", "orvctl machine new my-machine"},
    {"--from values.txt", "echo 'VQ3D-DC Level = 60' >values.txt"},
    {"import room.txt", "echo 'Filter 1: ON PK Fc 105 Hz Gain -4.5 dB Q 2.1' >room.txt"},
};

class Example : public Program {
 public:
  explicit Example(const std::string& line) : line_(line) {
    const char* sample = Has("qualcomm") ? "qualcomm-tablet"
                         : Has(" peq ")  ? "broadwell-ultrabook"
                                         : "skylake-laptop";
    CopySampleMachine(sample, Path("machine"));
  }
  bool Has(const std::string& words) const { return line_.find(words) != std::string::npos; }
  bool MayDiffer() const {
    return Has("orvctl check") || Has("doctor") || Has("drift") || Has("diff");
  }

  int Run() const {
    std::string script = "cd " + Quoted(File("")) + "\nexport ORV_MACHINE=machine PATH=" +
                         Quoted(std::filesystem::path(ORV_ORVCTL).parent_path().string()) +
                         ":$PATH\n";
    for (const auto& preparation : kPreparations)
      if (Has(preparation.name)) script += preparation.command + std::string(" || exit 99\n");
    // These run until they are interrupted.
    const bool endless = Has("watch") || Has("analyse") || Has("serve");
    script += "export XDG_DATA_HOME=\"$PWD/data\"\n";
    script += endless ? "timeout -s INT --preserve-status 2 bash -c " + Quoted(line_) : line_;
    const int status = std::system(
        ("bash -c " + Quoted(script) + " >" + Quoted(File("output")) + " 2>&1 </dev/null").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  std::string line_;
};

TEST(CommandLine, EveryExampleOfEveryHelpPageRuns) {
  const ProgramOnMachine program;
  std::vector<std::string> examples;
  for (const std::string& usage : Usages(program)) {
    const std::vector<std::string> found = Examples(program, usage);
    EXPECT_FALSE(found.empty()) << usage;
    for (const std::string& line : found)
      if (std::find(examples.begin(), examples.end(), line) == examples.end())
        examples.push_back(line);
  }
  EXPECT_GT(examples.size(), 30U);
  for (const std::string& line : examples) {
    const Example example(line);
    const int status = example.Run();
    EXPECT_TRUE(status == 0 || (status == 3 && example.MayDiffer()))
        << line << "\n[exit " << status << "]\n"
        << FileText(example.File("output"));
  }
}

}  // namespace
}  // namespace orv::cli
