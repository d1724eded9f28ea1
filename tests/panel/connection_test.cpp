// Before everything that includes the system's headers.
#include "panel/server/connection.h"
// The header of this file.
#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

namespace orv::panel {
namespace {

using namespace std::chrono_literals;

class StreamOwner : public ConnectionOwner {
 public:
  const AccessRules& rules() const override { return rules_; }
  const Limits& limits() const override { return limits_; }
  Answer About() const override { return {}; }
  bool Ask(Work, std::string, std::function<void(Answer)>) override { return false; }
  void Join(const std::shared_ptr<Connection>& page, const std::string&) override { page_ = page; }
  void Left(Connection&) override {}
  std::shared_ptr<Connection> TakePage() { return std::exchange(page_, nullptr); }

 private:
  AccessRules rules_{.key = "k", .cookie = "c", .hosts = {"here"}};
  Limits limits_{.keep_alive = 60s};
  std::shared_ptr<Connection> page_;
};

// The page's end is noticed after an event was handed to the system and before that is reported.
TEST(Connection, AStreamThatEndsWhileItWritesLeavesNoTimer) {
  for (int later = 0; later < 4; ++later) {  // how often the system is asked in between
    boost::asio::io_context io;
    Tcp::acceptor acceptor(io, {boost::asio::ip::address_v4::loopback(), 0});
    Tcp::socket browser(io);
    browser.connect(acceptor.local_endpoint());
    StreamOwner owner;
    std::make_shared<Connection>(acceptor.accept(), owner)->Start();
    boost::asio::write(browser,
                       boost::asio::buffer(std::string("GET /api/events HTTP/1.1\r\nHost: here\r\n"
                                                       "Authorization: Bearer k\r\n\r\n")));
    std::shared_ptr<Connection> page;
    while ((page = owner.TakePage()) == nullptr) io.run_one();
    io.poll();
    browser.shutdown(Tcp::socket::shutdown_send);
    std::function<void(int)> send = [&](int times) {
      if (times > 0) return boost::asio::post(io, [&send, times] { send(times - 1); });
      page->Send(std::make_shared<const std::string>("event: a\n\n"));
    };
    send(later);
    io.run_for(5s);
    EXPECT_TRUE(io.stopped());
  }
}

}  // namespace
}  // namespace orv::panel
