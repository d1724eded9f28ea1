// Before everything that includes the system's headers.
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
// The header of this file.
#include <fmt/format.h>

#include <algorithm>

#include "panel/http_client.h"

namespace orv::panel {
namespace {

namespace asio = boost::asio;
using Tcp = asio::ip::tcp;
using Error = boost::system::error_code;

constexpr std::chrono::seconds kDeadline{10};

}  // namespace

struct Client::Socket {
  asio::io_context io;
  Tcp::socket socket{io};

  // Runs what was started, to its end or to the deadline.
  bool Finish() {
    io.restart();
    io.run_for(kDeadline);
    if (io.stopped()) return true;
    Error ignored;
    socket.close(ignored);
    io.run();
    return false;
  }
};

Client::Client(std::uint16_t port, int receive_buffer) : socket_(std::make_unique<Socket>()) {
  Tcp::socket& socket = socket_->socket;
  socket.open(Tcp::v4());
  if (receive_buffer != 0)
    socket.set_option(asio::socket_base::receive_buffer_size(receive_buffer));
  socket.connect({asio::ip::address_v4::loopback(), port});
}

Client::~Client() = default;
Client::Client(Client&&) noexcept = default;

bool Client::Send(std::string_view bytes) {
  bool sent = false;
  asio::async_write(socket_->socket, asio::buffer(bytes),
                    [&](const Error& error, std::size_t) { sent = !error; });
  return socket_->Finish() && sent;
}

bool Client::ReadSome() {
  char block[16384];
  std::size_t size = 0;
  socket_->socket.async_read_some(asio::buffer(block), [&](const Error& error, std::size_t count) {
    if (!error) size = count;
  });
  if (!socket_->socket.is_open() || !socket_->Finish() || size == 0) return false;
  read_.append(block, size);
  return true;
}

std::string Client::Until(std::string_view mark) {
  std::size_t place = 0;
  while ((place = read_.find(mark)) == std::string::npos)
    if (!ReadSome()) return {};
  std::string text = read_.substr(0, place + mark.size());
  read_.erase(0, text.size());
  return text;
}

bool Client::Ends() {
  while (ReadSome()) read_.clear();
  return socket_->socket.is_open();  // it is closed here after the deadline
}

Reply Client::Receive(bool has_body) {
  Reply reply;
  std::string head = Until("\r\n\r\n");
  if (head.size() < 12) return reply;
  reply.status = std::stoi(head.substr(9, 3));
  for (std::size_t line = head.find("\r\n") + 2; line < head.size() - 2;) {
    const std::size_t end = head.find("\r\n", line);
    const std::size_t colon = head.find(": ", line);
    std::string name = head.substr(line, colon - line);
    std::ranges::transform(name, name.begin(), [](char c) { return std::tolower(c); });
    reply.headers[name] = head.substr(colon + 2, end - colon - 2);
    line = end + 2;
  }
  const std::string length = reply.header("content-length");
  if (!has_body || length.empty()) return reply;
  const std::size_t size = std::stoul(length);
  while (read_.size() < size && ReadSome()) continue;
  reply.body = read_.substr(0, size);
  read_.erase(0, size);
  return reply;
}

std::string Caller::Text(std::string_view method, std::string_view target, std::string_view body,
                         std::string_view extra) const {
  const bool changes = method != "GET" && method != "HEAD";
  const bool names_type = extra.find("Content-Type") != std::string_view::npos;
  return fmt::format(
      "{} {} HTTP/1.1\r\nHost: 127.0.0.1:{}\r\nAuthorization: Bearer {}\r\n{}{}{}{}\r\n{}", method,
      target, port_, key_, changes ? "X-Orvctl: 1\r\n" : "",
      changes && !names_type ? "Content-Type: application/json\r\n" : "",
      changes ? fmt::format("Content-Length: {}\r\n", body.size()) : "", extra, body);
}

Reply Caller::Ask(std::string_view method, std::string_view target, std::string_view body,
                  std::string_view extra) const {
  Client client(port_);
  client.Send(Text(method, target, body, extra));
  return client.Receive(method != "HEAD");
}

Page::Page(const Caller& caller, const std::string& endpoint, int receive_buffer)
    : stream_(caller.port(), receive_buffer) {
  stream_.Send(
      caller.Text("GET", endpoint.empty() ? "/api/events" : "/api/events?endpoint=" + endpoint));
  stream_.Receive();
  client_ = Next("hello").data.value("client", "");
}

Page::Event Page::Next() {
  for (;;) {
    const std::string text = stream_.Until("\n\n");
    if (text.empty()) return {};
    const std::size_t line = text.find("\ndata: ");
    if (!text.starts_with("event: ") || line == std::string::npos) continue;
    return {text.substr(7, line - 7), cli::Json::parse(text.substr(line + 7), nullptr, false)};
  }
}

Page::Event Page::Next(std::string_view name) {
  Event event = Next();
  while (!event.name.empty() && event.name != name) event = Next();
  return event;
}

}  // namespace orv::panel
