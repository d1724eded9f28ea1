// One connection of a browser or a script. Everything here runs on the network's thread.
#pragma once

// Before everything that includes the system's headers.
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "panel/server/access.h"
#include "panel/server/machine_thread.h"
#include "panel/server/server.h"

namespace orv::panel {

using Tcp = boost::asio::ip::tcp;

class Connection;

// What connections need of the service.
class ConnectionOwner {
 public:
  virtual ~ConnectionOwner() = default;
  virtual const AccessRules& rules() const = 0;
  virtual const Limits& limits() const = 0;
  virtual Answer About() const = 0;
  // Calls back on the network's thread. False if too much waits.
  virtual bool Ask(Work work, std::string client, std::function<void(Answer)> answer) = 0;
  // The connection has become a stream of events; Greet is called when it may begin.
  virtual void Join(const std::shared_ptr<Connection>& page, const std::string& endpoint) = 0;
  virtual void Left(Connection& connection) = 0;
};

class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(Tcp::socket socket, ConnectionOwner& owner);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void Start();
  // Answers 503 to whatever is asked.
  void Decline();
  void Close();

  // For streams of events.
  void Greet(const std::string& client, std::uint32_t sequence);
  // Closes the connection if too much waits for the page. Levels are left out while others wait.
  void Send(const std::shared_ptr<const std::string>& event, bool is_levels = false);
  // Closes the connection when what waits is sent.
  void Finish();

 private:
  enum class Waiting { Nothing, Idle, Request, Writing, Closing };
  using Error = boost::system::error_code;

  void SetTimer(std::chrono::milliseconds limit, Waiting waiting);
  void OnTimer();
  void ReadFirst();
  void ReadHead();
  void ReadBody();
  void OnReadFault(const Error& error);
  RequestHead Head() const;
  std::optional<Refusal> RefuseHead() const;
  void Dispatch();
  void AnswerFile(std::string_view path);
  void AnswerWork();
  void BeginEvents(const std::string& endpoint);
  void Reply(const Answer& answer);
  void RefuseAndClose(const Refusal& refusal);
  void OnWritten(bool keep_alive);
  void Linger();
  void WriteNext();
  void KeepAlive();
  void WaitForEnd();

  Tcp::socket socket_;
  ConnectionOwner& owner_;
  boost::asio::steady_timer timer_;
  Waiting waiting_ = Waiting::Nothing;
  bool expired_ = false;
  boost::beast::flat_buffer buffer_;
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;
  std::optional<Parser> parser_;
  std::string reply_;  // that is being written
  char discarded_[512];

  bool is_stream_ = false;
  bool finishing_ = false;
  bool writing_ = false;
  std::deque<std::shared_ptr<const std::string>> queue_;  // the first one is being written
  std::size_t queued_ = 0;                                // bytes
};

}  // namespace orv::panel
