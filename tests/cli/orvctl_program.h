// The orvctl program as people and scripts meet it: a command line in, an exit status and two texts
// out, on a sample machine of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "cli/output.h"
#include "support/temporary_folder.h"

namespace orv::cli {

using Arguments = std::vector<std::string>;

inline std::string Quoted(const std::string& word) {
  std::string quoted = "'";
  for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

inline std::string FileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteText(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
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
  bool Says(const std::string& text) const { return errors.find(text) != std::string::npos; }
};

class ProgramOnMachine {
 public:
  explicit ProgramOnMachine(const std::string& sample = "skylake-laptop")
      : machine_(folder_.path() / "machine") {
    namespace fs = std::filesystem;
    fs::copy(fs::path(ORV_SAMPLE_MACHINES) / sample, machine_, fs::copy_options::recursive);
    const fs::path system = machine_ / "drive_c" / "Windows" / "System32";
    fs::create_directories(system);
    fs::copy_file(ORV_TECHNOLOGY_LIBRARY, system / "kxtech64.dll");
  }

  const std::filesystem::path& machine() const noexcept { return machine_; }
  std::filesystem::path File(const std::string& name) const { return folder_.path() / name; }

  std::string CommandLine(const Arguments& arguments) const {
    std::string line = Quoted(ORV_ORVCTL) + " --machine " + Quoted(machine_.string());
    for (const std::string& argument : arguments) line += " " + Quoted(argument);
    return line;
  }
  Result Run(const Arguments& arguments) const {
    const auto output = File("stdout");
    const auto errors = File("stderr");
    const std::string line = CommandLine(arguments) + " </dev/null >" + Quoted(output.string()) +
                             " 2>" + Quoted(errors.string());
    const int status = std::system(line.c_str());
    EXPECT_TRUE(WIFEXITED(status)) << line;
    return {WEXITSTATUS(status), FileText(output), FileText(errors)};
  }
  // For commands that have to succeed.
  Json Answer(Arguments arguments) const {
    arguments.insert(arguments.begin(), "--json");
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    return result.json();
  }

 private:
  TemporaryFolder folder_;
  std::filesystem::path machine_;
};

inline std::vector<std::string> Keys(const Json& object) {
  std::vector<std::string> keys;
  for (const auto& item : object.items()) keys.push_back(item.key());
  return keys;
}

}  // namespace orv::cli
