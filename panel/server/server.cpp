// Before everything that includes the system's headers.
#include "panel/server/connection.h"
// The header of this file.
#include <fmt/format.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/host_name.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/post.hpp>
#include <map>
#include <set>
#include <thread>

#include "cli/client/host.h"
#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "panel/server/server.h"
#include "platform/network.h"

namespace orv::panel {
namespace {

namespace asio = boost::asio;
using Error = boost::system::error_code;

constexpr std::size_t kMostConnections = 64;
// These are answered that there are too many.
constexpr std::size_t kMostDeclined = 16;

asio::ip::address ParseAddress(const std::string& text) {
  Error error;
  const bool in_brackets = text.starts_with('[') && text.ends_with(']');
  const std::string plain = in_brackets ? text.substr(1, text.size() - 2) : text;
  const auto address = asio::ip::make_address(plain == "localhost" ? "127.0.0.1" : plain, error);
  if (error)
    cli::UsageFailure("\"{}\" is not an address: expected a numeric one such as 127.0.0.1.", text);
  return address;
}

std::string HostText(const asio::ip::address& address) {
  return address.is_v6() ? fmt::format("[{}]", address.to_string()) : address.to_string();
}

// The address that other computers reach this one by; without a network that of this computer only.
asio::ip::address OutwardAddress(bool is_v6) {
  // Nothing is sent: the system chooses which of its addresses it would use.
  const auto outside = asio::ip::make_address(is_v6 ? "2001:db8::1" : "192.0.2.1");
  asio::io_context io;
  asio::ip::udp::socket socket(io);
  Error error;
  socket.connect({outside, 9}, error);
  const auto own = error ? asio::ip::udp::endpoint() : socket.local_endpoint(error);
  if (!error) return own.address();
  return asio::ip::make_address(is_v6 ? "::1" : "127.0.0.1");
}

std::string MachineName(const std::filesystem::path& folder) {
  if (!folder.empty())
    return cli::PathText(std::filesystem::absolute(folder).lexically_normal().filename());
  Error ignored;
  return asio::ip::host_name(ignored);
}

}  // namespace

class Server::Hub final : public ConnectionOwner {
 public:
  Hub(const cli::Context& like, const ServerOptions& options)
      : address_(ParseAddress(options.address)),
        acceptor_(Listen(options)),
        limits_(options.limits),
        version_(like.version),
        folder_(like.session_options.machine.empty() ? cli::DefaultMachineFolder()
                                                     : like.session_options.machine),
        machine_(std::make_unique<MachineThread>(
            like, options.limits.lock,
            [this](PageEvent event) { Post([this, event] { Spread(event); }); })) {
    rules_.key = options.key.empty() ? MakeKey() : options.key;
    rules_.cookie = fmt::format("orvctl_key_{}", port());
    rules_.read_only = options.read_only;
    NameHosts();
    Accept();
    thread_ = std::thread([this] { Run(); });
  }

  ~Hub() override {
    Post([this] {
      Error ignored;
      acceptor_.close(ignored);
    });
    machine_->Stop();
    Post([this] { End(); });
    guard_.reset();
    thread_.join();
  }

  std::uint16_t port() const { return port_; }
  bool is_public() const { return !address_.is_loopback(); }
  std::string Address() const {
    return fmt::format("http://{}/?key={}", rules_.hosts.front(), rules_.key);
  }

  const AccessRules& rules() const override { return rules_; }
  const Limits& limits() const override { return limits_; }

  Answer About() const override {
    Answer answer;
    const cli::Json about = {
        {"version", version_}, {"machine", MachineName(folder_)}, {"read_only", rules_.read_only}};
    answer.body = about.dump(2, ' ', false, cli::Json::error_handler_t::replace) + "\n";
    return answer;
  }

  bool Ask(Work work, std::string client, std::function<void(Answer)> answer) override {
    return machine_->Post({std::move(work), std::move(client),
                           [this, answer = std::move(answer)](Answer done) mutable {
                             // Connections are released on their own thread.
                             Post([answer = std::exchange(answer, {}), done] { answer(done); });
                           }});
  }

  void Join(const std::shared_ptr<Connection>& page, const std::string& endpoint) override {
    pages_[page.get()] = {endpoint, false};
    ReportPages([this, kept = page](std::uint32_t sequence, std::string lost) mutable {
      Post([this, one = std::exchange(kept, {}), sequence, lost] { Greet(*one, sequence, lost); });
    });
  }

  void Left(Connection& connection) override {
    connections_.erase(&connection);
    if (pages_.erase(&connection) != 0) ReportPages({});
    if (connections_.empty()) patience_.cancel();
  }

 private:
  struct Page {
    std::string endpoint;  // that it looks at
    bool ready = false;
  };

  template <class Handler>
  void Post(Handler handler) {
    asio::post(io_, std::move(handler));
  }

  Tcp::acceptor Listen(const ServerOptions& options) {
    const Tcp::endpoint place(address_, options.port);
    Tcp::acceptor acceptor(io_);
    try {
      acceptor.open(place.protocol());
      if (kTakesPortsAgain) acceptor.set_option(Tcp::acceptor::reuse_address(true));
      acceptor.bind(place);
      acceptor.listen();
      port_ = acceptor.local_endpoint().port();
    } catch (const boost::system::system_error& error) {
      if (error.code() == boost::system::errc::address_not_available)
        throw cli::Failure(cli::kRefused,
                           "{} is not an address of this computer.\nName one of its own with "
                           "--address, 0.0.0.0 for all of them, or leave it out.",
                           options.address);
      throw cli::Failure(cli::kRefused,
                         "port {} of {} cannot be used: {}.\nName another one with --port, or "
                         "leave it out.",
                         options.port, options.address, error.code().message());
    }
    return acceptor;
  }

  // The printed one comes first.
  void NameHosts() {
    const auto add = [&](const std::string& host) {
      rules_.hosts.push_back(fmt::format("{}:{}", host, port_));
      constexpr std::uint16_t kUnwritten = 80;
      if (port_ == kUnwritten) rules_.hosts.push_back(host);
    };
    const bool any = address_.is_unspecified();
    add(HostText(any ? OutwardAddress(address_.is_v6()) : address_));
    if (any || address_.is_loopback()) {
      add(address_.is_v6() ? "[::1]" : "127.0.0.1");
      add("localhost");
    }
    if (any) rules_.port_of_any_address = port_;
  }

  void Run() {
    for (;;) {
      try {
        io_.run();
        return;
      } catch (const std::exception&) {
        continue;  // without memory one connection is lost
      }
    }
  }

  void Accept() {
    acceptor_.async_accept([this](const Error& error, Tcp::socket socket) {
      if (!acceptor_.is_open()) return;
      if (!error && connections_.size() < kMostConnections + kMostDeclined) {
        const bool is_one_too_many = connections_.size() >= kMostConnections;
        const auto connection = std::make_shared<Connection>(std::move(socket), *this);
        connections_.insert(connection.get());
        is_one_too_many ? connection->Decline() : connection->Start();
      }
      Accept();
    });
  }

  void Greet(Connection& page, std::uint32_t sequence, const std::string& lost) {
    const auto found = pages_.find(&page);
    if (found == pages_.end()) return;  // gone meanwhile
    found->second.ready = true;
    page.Greet(fmt::format("c{}", ++clients_), sequence);
    if (!lost.empty()) page.Send(EncodeEvent("lost", {{"message", lost}}));
  }

  void ReportPages(MachineThread::Ready ready) {
    std::set<std::string> looked_at;
    for (const auto& [connection, page] : pages_)
      if (!page.endpoint.empty()) looked_at.insert(page.endpoint);
    machine_->SetPages(pages_.size(), std::move(looked_at), std::move(ready));
  }

  // A page that is closed on the way leaves the list.
  void Spread(const PageEvent& event) {
    std::vector<std::shared_ptr<Connection>> chosen;
    for (const auto& [connection, page] : pages_)
      if (page.ready && (event.endpoint.empty() || event.endpoint == page.endpoint))
        chosen.push_back(connection->shared_from_this());
    for (const auto& page : chosen) page->Send(event.text, event.is_reading);
  }

  void End() {
    constexpr std::chrono::seconds kPatience{2};
    Spread({EncodeEvent("end", cli::Json::object()), "", false});
    for (Connection* connection : std::set(connections_)) connection->Finish();
    if (connections_.empty()) return;
    patience_.expires_after(kPatience);
    patience_.async_wait([this](const Error& error) {
      if (error) return;
      for (Connection* connection : std::set(connections_)) connection->Close();
    });
  }

  asio::io_context io_{1};
  asio::executor_work_guard<asio::io_context::executor_type> guard_ = asio::make_work_guard(io_);
  asio::steady_timer patience_{io_};
  asio::ip::address address_;
  std::uint16_t port_ = 0;
  Tcp::acceptor acceptor_;
  const Limits limits_;
  std::string version_;
  std::filesystem::path folder_;
  AccessRules rules_;
  std::set<Connection*> connections_;
  std::map<Connection*, Page> pages_;
  std::uint32_t clients_ = 0;
  std::unique_ptr<MachineThread> machine_;
  std::thread thread_;
};

Server::Server(const cli::Context& like, const ServerOptions& options)
    : hub_(std::make_unique<Hub>(like, options)) {}
Server::~Server() = default;

std::string Server::Address() const { return hub_->Address(); }
std::uint16_t Server::port() const { return hub_->port(); }
bool Server::is_public() const { return hub_->is_public(); }
const std::string& Server::key() const { return hub_->rules().key; }

}  // namespace orv::panel
