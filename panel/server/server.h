// The service on the network: one thread for all connections.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "cli/client/context.h"

namespace orv::panel {

// Bounds of what one connection may send, take and wait for.
struct Limits {
  std::size_t header = 16U << 10;                // bytes
  std::size_t target = 4U << 10;                 // bytes
  std::size_t body = 1U << 20;                   // bytes
  std::size_t events = 256U << 10;               // bytes that wait for one page
  std::chrono::milliseconds request{10'000};     // for a request to arrive
  std::chrono::milliseconds lock{5'000};         // for another program that changes the endpoint
  std::chrono::milliseconds idle{30'000};        // between requests, and for an answer to be taken
  std::chrono::milliseconds keep_alive{15'000};  // between comments in a stream of events
};

struct ServerOptions {
  std::string address = "127.0.0.1";  // numeric, or "localhost"
  std::uint16_t port = 0;             // 0: one that is free
  bool read_only = false;
  std::string key = {};  // empty: a random one
  Limits limits;
};

class Server {
 public:
  // Opens the machine as in this context, which has to live as long, and starts to answer. Throws
  // Failure if the machine cannot be opened or the port cannot be had.
  Server(const cli::Context& like, const ServerOptions& options);
  // Closes the port, ends the pages' streams and the threads.
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  std::string Address() const;  // with the key, for a browser
  std::uint16_t port() const;
  const std::string& key() const;
  // Whether other computers reach it.
  bool is_public() const;

 private:
  class Hub;
  std::unique_ptr<Hub> hub_;
};

}  // namespace orv::panel
