// `orvctl serve` in a process of its own.
#pragma once

#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <string>

#include "cli/native/shell.h"
#include "cli/orvctl_program.h"
#include "panel/http_client.h"

namespace orv::panel {

class Service {
 public:
  explicit Service(const cli::Program& program, const cli::Arguments& options = {}) {
    cli::Arguments words = {"--json", "serve"};
    words.insert(words.end(), options.begin(), options.end());
    // The shell gives way to the program, so that its number is the program's.
    const std::string line =
        "echo $$; exec " + cli::OrvctlCommandLine(program.Words(words)) + " 2>/dev/null";
    pipe_ = popen(line.c_str(), "r");
    process_ = std::stoi(Line());
    address_ = cli::Json::parse(Line(), nullptr, false).value("address", "");
    const std::size_t port = address_.rfind(':') + 1;
    const std::size_t key = address_.find("key=") + 4;
    if (key > port)
      caller_ = {static_cast<std::uint16_t>(std::stoi(address_.substr(port))),
                 address_.substr(key)};
  }
  ~Service() { EXPECT_EQ(pipe_ != nullptr ? End() : 0, 0); }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  const Caller& caller() const noexcept { return caller_; }
  const std::string& address() const noexcept { return address_; }
  int process() const noexcept { return process_; }
  // Interrupts it; its exit status.
  int End(int signal = SIGINT) {
    kill(process_, signal);
    const int status = pclose(pipe_);
    pipe_ = nullptr;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  std::string Line() {
    std::string line;
    for (int c = std::fgetc(pipe_); c != EOF && c != '\n'; c = std::fgetc(pipe_))
      line += static_cast<char>(c);
    return line;
  }

  FILE* pipe_ = nullptr;
  int process_ = 0;
  std::string address_;
  Caller caller_{0, ""};
};

}  // namespace orv::panel
