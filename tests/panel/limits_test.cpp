// The service in this process, with limits that a test can wait for.
#include <gmock/gmock.h>

#include "cli/orvctl_program.h"
#include "panel/http_client.h"
#include "panel/server/server.h"

namespace orv::panel {
namespace {

using namespace std::chrono_literals;

class LimitsTest : public testing::Test {
 protected:
  void Start(const Limits& limits) {
    context_.session_options.machine = machine_.machine();
    ServerOptions options;
    options.limits = limits;
    server_ = std::make_unique<Server>(context_, options);
    caller_ = {server_->port(), server_->key()};
  }
  // The status that the text is answered with, and whether the connection ends then.
  void ExpectRefusal(std::string_view text, int status) const {
    Client client(caller_.port());
    client.Send(text);
    const Reply reply = client.Receive();
    EXPECT_EQ(reply.status, status) << text.substr(0, 60);
    EXPECT_TRUE(reply.json().contains("error")) << reply.body;
    EXPECT_TRUE(client.Ends());
  }

  cli::ProgramOnMachine machine_;
  std::ostringstream results_, notices_;
  cli::Output output_{results_, notices_};
  cli::Context context_{output_};
  std::unique_ptr<Server> server_;
  Caller caller_{0, ""};
};

TEST_F(LimitsTest, WhatIsTooLongIsRefusedBeforeItIsRead) {
  Start({});
  const std::string long_text(20'000, 'x');
  ExpectRefusal(caller_.Text("GET", "/api/about", "", "X-Long: " + long_text + "\r\n"), 431);
  ExpectRefusal(caller_.Text("GET", "/" + long_text), 431);
  ExpectRefusal(caller_.Text("GET", "/api/about?" + std::string(5000, 'x')), 414);
  ExpectRefusal(caller_.Text("PUT", "/api/endpoints/0/controls", std::string((1U << 20) + 1, ' ')),
                413);
  EXPECT_EQ(caller_.Ask("PUT", "/api/endpoints/0/controls", std::string(1U << 20, ' ')).status,
            400);
  ExpectRefusal("\x16\x03\x01 no request\r\n\r\n", 400);
  ExpectRefusal("GET / HTTP/1.1\r\nNo colon\r\n\r\n", 400);
}

TEST_F(LimitsTest, SeveralRequestsOfOneConnectionAreAnsweredInTheirOrder) {
  Start({});
  Client client(caller_.port());
  const std::string body = R"({"enabled": false})";
  client.Send(caller_.Text("GET", "/api/about") + caller_.Text("HEAD", "/api/endpoints") +
              caller_.Text("PUT", "/api/endpoints/0/enabled", body) +
              caller_.Text("GET", "/api/endpoints/0/enabled"));
  EXPECT_EQ(client.Receive().json()["machine"], "machine");
  EXPECT_NE(client.Receive(false).header("content-length"), "0");
  EXPECT_EQ(client.Receive().json()["enabled"], false);
  EXPECT_EQ(client.Receive().json()["enabled"], false);

  const std::string text =
      caller_.Text("PUT", "/api/endpoints/0/enabled", body, "Expect: 100-continue\r\n");
  const std::size_t head = text.find("\r\n\r\n") + 4;
  client.Send(text.substr(0, head));
  EXPECT_EQ(client.Receive(false).status, 100);
  client.Send(text.substr(head));
  EXPECT_EQ(client.Receive().status, 200);
}

TEST_F(LimitsTest, ASlowRequestIsAnsweredAndAnIdleConnectionEnds) {
  Start({.request = 200ms, .idle = 400ms});
  ExpectRefusal("GET /api/ab", 408);
  const std::string text = caller_.Text("PUT", "/api/endpoints/0/enabled", R"({"enabled": true})");
  ExpectRefusal(text.substr(0, text.size() - 3), 408);
  Client idle(caller_.port());
  EXPECT_TRUE(idle.Ends());
}

TEST_F(LimitsTest, AChangeThatWaitsForAnotherProgramHoldsUpNothingElse) {
  Start({.lock = 30s});
  const cli::Endpoint endpoint = context_.SelectEndpoint("0");
  const std::string id = "%7B" + endpoint.id().substr(1);
  const auto change = [&](const std::string& name, int value) {
    return caller_.Text("PUT", "/api/endpoints/" + name + "/controls",
                        "{\"VQ3D-DC Level\": " + std::to_string(value) + "}");
  };
  Page page(caller_);
  for (int i = 1; i <= 4; ++i) {
    std::optional<cli::ChangeLock> held(context_.LockForChange(endpoint));
    Client first(caller_.port());
    first.Send(change("0", 1));
    EXPECT_EQ(caller_.Get("/api/endpoints").status, 200);
    if (i == 1) {
      const std::string body = R"({"enabled": false})";
      EXPECT_EQ(caller_.Ask("PUT", "/api/endpoints/1/enabled", body).status, 200);
      EXPECT_EQ(page.Next("change").data["what"], "switch");
    }
    Client second(caller_.port());
    held.reset();
    second.Send(change(i % 2 == 0 ? "0" : id, 2));
    EXPECT_EQ(first.Receive().json()[0]["value"], 1);
    EXPECT_EQ(second.Receive().json()[0]["value"], 2);
    EXPECT_EQ(machine_.Answer({"get", "0", "VQ3D-DC Level"})["value"], 2) << "overtaken";
  }
  const cli::ChangeLock held = context_.LockForChange(endpoint);
  Client waiting(caller_.port());
  waiting.Send(change("0", 3));
  EXPECT_EQ(caller_.Get("/api/endpoints").status, 200);
  server_.reset();
  EXPECT_EQ(waiting.Receive().status, 503);
  Start({.lock = 100ms});
  Client refused(caller_.port());
  refused.Send(change("0", 3));
  const Reply reply = refused.Receive();
  EXPECT_EQ(reply.status, 409);
  EXPECT_THAT(reply.body, testing::HasSubstr("still changing"));
}

TEST_F(LimitsTest, TooManyConnectionsAreDeclinedUntilOthersEnd) {
  Start({});
  constexpr std::size_t kMost = 64;
  std::vector<Client> clients;
  for (std::size_t i = 0; i < kMost; ++i) {
    clients.emplace_back(caller_.port());
    clients.back().Send(caller_.Text("GET", "/api/about"));
    EXPECT_EQ(clients.back().Receive().status, 200);
  }
  Client declined(caller_.port());
  EXPECT_EQ(declined.Receive().status, 503);
  EXPECT_TRUE(declined.Ends());
  clients.clear();
  int status = 503;
  while (status == 503) status = caller_.Get("/api/about").status;
  EXPECT_EQ(status, 200);
}

TEST_F(LimitsTest, StreamsOfEventsAreKeptAliveAndEndWithTheService) {
  Start({.keep_alive = 50ms});
  Page page(caller_);
  Client quiet(caller_.port());
  quiet.Send(caller_.Text("GET", "/api/events"));
  EXPECT_NE(quiet.Until(": keep-alive\n\n"), "");
  quiet.Send("more");
  EXPECT_TRUE(quiet.Ends());
  server_.reset();
  EXPECT_EQ(page.Next().name, "end");
  EXPECT_TRUE(page.Ends());
}

}  // namespace
}  // namespace orv::panel
