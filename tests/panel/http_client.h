// A client of the service that can also do what a browser never does.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "cli/show/output.h"

namespace orv::panel {

struct Reply {
  int status = 0;                              // 0: the connection ended without one
  std::map<std::string, std::string> headers;  // names in lower case
  std::string body;

  cli::Json json() const { return cli::Json::parse(body, nullptr, false); }
  std::string header(const std::string& name) const {
    const auto found = headers.find(name);
    return found != headers.end() ? found->second : "";
  }
};

// One connection to 127.0.0.1. Everything that waits gives up after ten seconds.
class Client {
 public:
  // `receive_buffer`: bytes that the system keeps for this side; 0: as usual.
  explicit Client(std::uint16_t port, int receive_buffer = 0);
  ~Client();
  Client(Client&&) noexcept;

  // False if the other side does not take it.
  bool Send(std::string_view bytes);
  // The next reply; a reply without a size has no body here.
  Reply Receive(bool has_body = true);
  // Text up to and with the mark; empty if the connection ends before.
  std::string Until(std::string_view mark);
  // Whether the other side ends the connection; reads what comes before.
  bool Ends();

 private:
  bool ReadSome();
  struct Socket;
  std::unique_ptr<Socket> socket_;
  std::string read_;
};

// What a page or a script sends.
class Caller {
 public:
  Caller(std::uint16_t port, std::string key) : port_(port), key_(std::move(key)) {}

  // The text of a request with the key. `extra` holds lines with their ends.
  std::string Text(std::string_view method, std::string_view target, std::string_view body = {},
                   std::string_view extra = {}) const;
  // On a connection of its own.
  Reply Ask(std::string_view method, std::string_view target, std::string_view body = {},
            std::string_view extra = {}) const;
  Reply Get(std::string_view target) const { return Ask("GET", target); }
  std::uint16_t port() const noexcept { return port_; }
  const std::string& key() const noexcept { return key_; }

 private:
  std::uint16_t port_;
  std::string key_;
};

// A page's stream of events.
class Page {
 public:
  // Sends the request; `endpoint` is what it looks at.
  explicit Page(const Caller& caller, const std::string& endpoint = {}, int receive_buffer = 0);

  struct Event {
    std::string name;  // empty: the stream has ended
    cli::Json data;
  };
  Event Next();
  // The next one of this name; others are passed over.
  Event Next(std::string_view name);
  // The name that the service gave to this page.
  const std::string& client() const noexcept { return client_; }
  bool Ends() { return stream_.Ends(); }

 private:
  Client stream_;
  std::string client_;
};

}  // namespace orv::panel
