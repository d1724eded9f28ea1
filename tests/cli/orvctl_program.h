// Runs the orvctl program on a machine of the test's own: a command line in, an exit status and two
// texts out.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "cli/offline/files.h"
#include "cli/program_host.h"
#include "cli/show/output.h"
#include "platform/files.h"
#include "support/temporary_folder.h"

namespace orv::cli {

inline std::string FileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteText(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// The same for names in UTF-8.
inline std::string FileText(const std::string& name) { return FileText(PathFromUtf8(name)); }
inline void WriteText(const std::string& name, const std::string& text) {
  WriteText(PathFromUtf8(name), text);
}

// A sample machine with its technology library.
inline void CopySampleMachine(const std::string& sample, const std::filesystem::path& machine) {
  namespace fs = std::filesystem;
  fs::copy(fs::path(ORV_SAMPLE_MACHINES) / sample, machine, fs::copy_options::recursive);
  const fs::path system = machine / "drive_c" / "Windows" / "System32";
  fs::create_directories(system);
  fs::copy_file(ORV_TECHNOLOGY_LIBRARY, system / "kxtech64.dll");
}

struct Result {
  int status = -1;
  std::string output;
  std::string errors;

  Json json() const {
    const Json parsed = Json::parse(output, nullptr, false);
    EXPECT_FALSE(parsed.is_discarded()) << output << errors;
    return parsed;
  }
  bool Reports(const std::string& text) const { return errors.find(text) != std::string::npos; }
};

class Program {
 public:
  std::string File(const std::string& name) const { return PathText(Path(name)); }
  std::filesystem::path Path(const std::string& name) const {
    return folder_.path() / PathFromUtf8(name);
  }
  // All the arguments that orvctl gets.
  Arguments Words(const Arguments& arguments) const {
    Arguments words = options_;
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
  }

  // `input` is the file on standard input.
  Result Run(const Arguments& arguments, const std::filesystem::path& input = {}) const {
    const StreamFiles streams{input, Path("stdout"), Path("stderr")};
    const int status = RunOrvctl(Words(arguments), streams);
    EXPECT_GE(status, 0) << FileText(streams.errors);
    return {status, FileText(streams.output), FileText(streams.errors)};
  }
  // For commands that have to succeed.
  Json Answer(Arguments arguments) const {
    arguments.insert(arguments.begin(), "--json");
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    return result.json();
  }

 protected:
  Program() = default;
  void UseOptions(Arguments options) { options_ = std::move(options); }

 private:
  TemporaryFolder folder_;
  Arguments options_;
};

// On a simulated machine. Where the component is registered on the system itself, only commands
// that do without the component work there.
class ProgramOnMachine : public Program {
 public:
  explicit ProgramOnMachine(const std::string& sample = "skylake-laptop")
      : machine_(Path("machine")) {
    CopySampleMachine(sample, machine_);
    UseOptions({"--machine", PathText(machine_)});
  }

  const std::filesystem::path& machine() const noexcept { return machine_; }

 private:
  std::filesystem::path machine_;
};

// On the machine that the component works on, which has at least one endpoint.
class ProgramOnComponent : public Program {
 public:
  ProgramOnComponent() : machine_(Path("machine")) { UseOptions(machine_.options()); }

 private:
  ComponentMachine machine_;
};

inline std::vector<std::string> Keys(const Json& object) {
  std::vector<std::string> keys;
  for (const auto& item : object.items()) keys.push_back(item.key());
  return keys;
}

}  // namespace orv::cli
