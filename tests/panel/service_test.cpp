#include "panel/service.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>

#include "panel/server/routes.h"

namespace orv::panel {
namespace {

using cli::Arguments;
using cli::Json;
using cli::ProgramOnMachine;
using testing::AllOf;
using testing::HasSubstr;

constexpr char kText[] = "Content-Type: text/plain\r\n";

// The reply is what the command prints.
void ExpectAnswerOf(const Reply& reply, const cli::Result& result) {
  EXPECT_EQ(reply.status, result.status == 2 ? 400 : result.status == 1 ? 409 : 200);
  if (reply.status == 200) {
    EXPECT_EQ(reply.body, result.output);
    EXPECT_EQ(reply.header("orvctl-exit-status"), result.status == 0 ? "" : "3");
    return;
  }
  const std::string message = reply.json()["error"].value("message", "?");
  EXPECT_THAT(result.errors, HasSubstr("orvctl: " + message));
  EXPECT_EQ(reply.json()["error"]["exit_status"], result.status);
}

// The words of a route's command without options that have a value.
Arguments CommandOf(const Route& route, const std::string& endpoint) {
  std::istringstream text{std::string(route.command)};
  Arguments words;
  for (std::string word; text >> word;) {
    if (word.starts_with("--") && word != "--list" && word != "--read-only") {
      text >> word;
    } else if (word == "--list" && words.front() != "undo") {
      text >> word;
    } else {
      words.push_back(word == "E" ? endpoint : word);
    }
  }
  return words;
}

TEST(Service, EachReadingAnswersAsItsCommandOnEverySample) {
  for (const char* sample :
       {"skylake-laptop", "broadwell-ultrabook", "qualcomm-tablet", "broken"}) {
    const ProgramOnMachine program(sample);
    const Service service(program);
    const std::size_t endpoints = service.caller().Get("/api/endpoints").json().size();
    EXPECT_GT(endpoints, 0U);
    for (const Route& route : Routes()) {
      if (route.method != "GET" || route.command.empty()) continue;
      const bool is_of_endpoint = route.path.find("/E/") != std::string_view::npos;
      const bool is_broken = sample == std::string_view("broken");
      const std::size_t count = is_of_endpoint && is_broken ? endpoints + 1 : 1;
      for (std::size_t number = 0; number < count; ++number) {
        const std::string endpoint = std::to_string(number);
        std::string target(route.path);
        if (is_of_endpoint) target.replace(target.find("/E/") + 1, 1, endpoint);
        SCOPED_TRACE(std::string(sample) + " " + target);
        Arguments words = CommandOf(route, endpoint);
        if (words.front() != "eq") words.insert(words.begin(), "--json");
        const cli::Result result = program.Run(words);
        const Reply reply = service.caller().Get(target);
        ExpectAnswerOf(reply, result);
      }
    }
  }
}

TEST(Service, EachChangeAnswersAsItsCommand) {
  const ProgramOnMachine machine;
  const ProgramOnMachine other;
  const Service service(machine);
  cli::WriteText(other.File("list.txt"), "Filter 1: ON PK Fc 105 Hz Gain -4.5 dB Q 2.1\n");
  const struct {
    const char* method;
    const char* target;
    const char* body;
    const char* extra;
    Arguments command;
  } changes[] = {
      {"PUT", "mode", R"({"name": "Game/Internal"})", "", {"mode", "0", "Game/Internal"}},
      {"PUT", "mode", R"({"default": true})", "", {"mode", "0", "--default"}},
      {"PUT", "enabled", R"({"enabled": false})", "", {"enable", "0", "off"}},
      {"PUT",
       "controls",
       R"({"VQ3D-DC Level": 12, "VQ3D-DPHD Level": "13"})",
       "",
       {"set", "0", "VQ3D-DC Level=12", "VQ3D-DPHD Level=13"}},
      {"PUT",
       "controls?mode=Movie/Internal",
       R"({"VQ3D-AEQ Bypass Gain": "-6dB"})",
       "",
       {"set", "0", "VQ3D-AEQ Bypass Gain=-6dB", "--mode", "Movie/Internal"}},
      {"PUT",
       "controls",
       R"({"No Such Level": 12})",
       "",
       {"set", "0", "No Such Level=12", "--raw"}},
      {"PUT",
       "eq?dry_run=1",
       "Filter 1: ON PK Fc 105 Hz Gain -4.5 dB Q 2.1\n",
       kText,
       {"eq", "0", "import", other.File("list.txt"), "--dry-run"}},
      {"PUT",
       "eq",
       "Filter 1: ON PK Fc 105 Hz Gain -4.5 dB Q 2.1\n",
       kText,
       {"eq", "0", "import", other.File("list.txt")}},
      {"POST", "push", "", "", {"dsp", "intel", "0", "push"}},
      {"POST", "undo", "{}", "", {"undo", "0"}},
      {"POST",
       "restore?mode=Movie/Internal",
       "",
       "",
       {"restore", "0", "--mode", "Movie/Internal"}}};
  for (const auto& change : changes) {
    SCOPED_TRACE(change.target);
    Arguments words = change.command;
    words.insert(words.begin(), "--json");
    cli::Result result = other.Run(words);
    // Messages name the machine.
    const std::string theirs = other.machine().string();
    for (std::size_t at; (at = result.errors.find(theirs)) != std::string::npos;)
      result.errors.replace(at, theirs.size(), machine.machine().string());
    ExpectAnswerOf(
        service.caller().Ask(change.method, std::string("/api/endpoints/0/") + change.target,
                             change.body, change.extra),
        result);
  }
  EXPECT_EQ(machine.Answer({"controls", "0"}), other.Answer({"controls", "0"}));
  EXPECT_EQ(service.caller().Ask("PUT", "/api/endpoints/0/eq", "no list", kText).status, 409);
}

TEST(Service, RequestsNameWholeThingsAndRefusalsWhatARequestCanDo) {
  const ProgramOnMachine machine;
  const Service service(machine);
  const struct {
    const char* what;
    const char* body;
    int status;
    const char* reason;
  } cases[] = {{"controls", R"({"vq3d-dc LEVEL": 12})", 200, "\"12 %\""},
               {"controls?mode=movie/internal", R"({"VQ3D-DC Level": 13})", 200, "\"13 %\""},
               {"controls?mode=Movie", R"({"VQ3D-DC Level": 14})", 400, "no mode named"},
               {"controls", R"({"DC Level": 14})", 400, "Did you mean \"VQ3D-DC Level\"?"},
               {"controls", R"({"*DC Level": 14})", 400, "no control named"},
               {"controls", R"({"name": "VQ3D-DC Level", "value": 14})", 400, "named \"name\""},
               {"mode", R"({"name": "Game"})", 400, "no mode named"},
               {"controls", R"({"VQ3D-AEQ Bypass Gain": "-6"})", 400, "or the number -6 for"},
               {"controls", R"({"VQ3D-DC Level": 101})", 400, "0 % to 100 %.\n"}};
  for (const auto& one : cases) {
    const Reply reply =
        service.caller().Ask("PUT", std::string("/api/endpoints/0/") + one.what, one.body);
    EXPECT_EQ(reply.status, one.status) << one.body;
    const Json json = reply.json();
    EXPECT_THAT(json.is_array() ? json[0]["text"].dump()
                                : json["error"]["message"].get<std::string>() + "\n",
                HasSubstr(one.reason));
  }
}

TEST(Service, PushWithoutADriverIsRefusedWithTheReason) {
  const ProgramOnMachine machine;
  const Service service(machine);
  const Reply reply = service.caller().Ask("POST", "/api/endpoints/2/push");
  EXPECT_EQ(reply.status, 409);
  EXPECT_THAT(reply.body, HasSubstr("no DSP driver answers"));
}

TEST(Service, StepsOfAGestureAreTakenBackTogether) {
  const ProgramOnMachine machine;
  const Service service(machine);
  const auto step = [&](const std::string& control, int value, const std::string& gesture) {
    return service.caller()
        .Ask("PUT", "/api/endpoints/0/controls", Json{{control, value}}.dump(),
             "X-Orvctl-Gesture: " + gesture + "\r\n")
        .status;
  };
  const auto taken_back = [&] {
    std::string text;
    for (const Json& change : service.caller().Ask("POST", "/api/endpoints/0/undo", "{}").json())
      text += change["from_text"].get<std::string>() + " -> " +
              change["to_text"].get<std::string>() + "; ";
    return text;
  };
  const std::string level = "VQ3D-DC Level";
  for (const int value : {20, 30}) EXPECT_EQ(step(level, value, "drag.1"), 200);
  EXPECT_EQ(step("VQ3D-DPHD Level", 5, "drag.1"), 200);
  EXPECT_EQ(step(level, 40, "drag.2"), 200);
  EXPECT_EQ(taken_back(), "40 % -> 30 %; ");
  EXPECT_EQ(taken_back(), "30 % -> 85 %; 5 % -> 65 %; ");
  // Back where it began: nothing to take back.
  for (const int value : {20, 85}) EXPECT_EQ(step(level, value, "drag.3"), 200);
  EXPECT_TRUE(machine.Answer({"undo", "0", "--list"}).empty());

  const auto registry = machine.machine() / "registry.reg";
  const std::filesystem::path kept = machine.Path("kept.reg");
  EXPECT_EQ(step(level, 10, "drag.4"), 200);
  std::filesystem::copy_file(registry, kept);
  EXPECT_EQ(step(level, 11, "drag.4"), 200);
  std::filesystem::rename(kept, registry);  // as another program that keeps no list
  EXPECT_THAT(service.caller().Ask("POST", "/api/endpoints/0/undo", "{}").json()["error"].dump(),
              HasSubstr(R"(The body {\"force\": true} takes back)"));
  EXPECT_EQ(step(level, 12, "drag.4"), 200);
  EXPECT_EQ(taken_back(), "12 % -> 10 %; ");
  EXPECT_EQ(step(level, 13, std::string(65, 'x')), 400);
}

TEST(Service, ReadOnlyChangesNothing) {
  const ProgramOnMachine machine;
  const Service service(machine, {"--read-only"});
  const Json before = machine.Answer({"controls", "0"});
  EXPECT_EQ(
      service.caller().Ask("PUT", "/api/endpoints/0/controls", R"({"VQ3D-DC Level": 12})").status,
      403);
  EXPECT_EQ(machine.Answer({"controls", "0"}), before);
  EXPECT_EQ(service.caller().Get("/api/about").json()["read_only"], true);
  EXPECT_EQ(service.caller().Get("/api/endpoints").status, 200);
}

TEST(Service, TheAddressOpensThePageAndItsCookieTheRest) {
  const ProgramOnMachine machine;
  const Service service(machine);
  const Caller& caller = service.caller();
  const std::string host = "Host: 127.0.0.1:" + std::to_string(caller.port()) + "\r\n";
  Client client(caller.port());
  client.Send("GET / HTTP/1.1\r\n" + host + "\r\n");
  EXPECT_EQ(client.Receive().status, 401);

  Client browser(caller.port());
  browser.Send("GET /?key=" + caller.key() + " HTTP/1.1\r\n" + host + "\r\n");
  const Reply page = browser.Receive();
  EXPECT_EQ(page.status, 200);
  EXPECT_THAT(page.body, HasSubstr("<html"));
  EXPECT_EQ(page.header("cache-control"), "no-store");
  EXPECT_THAT(page.header("content-security-policy"), HasSubstr("default-src 'none'"));
  const std::string cookie = page.header("set-cookie");
  EXPECT_THAT(cookie, AllOf(HasSubstr("HttpOnly"), HasSubstr("SameSite=Strict")));
  const std::string with_cookie = host + "Cookie: " + cookie.substr(0, cookie.find(';')) + "\r\n";
  browser.Send("GET /chart.min.js HTTP/1.1\r\n" + with_cookie + "\r\n");
  const Reply charts = browser.Receive();
  EXPECT_EQ(charts.status, 200);
  EXPECT_EQ(charts.header("content-type"), "text/javascript; charset=utf-8");
  EXPECT_GT(charts.body.size(), 100'000U);
  browser.Send("GET /chart.min.js HTTP/1.1\r\n" + with_cookie +
               "If-None-Match: " + charts.header("etag") + "\r\n\r\n");
  EXPECT_EQ(browser.Receive().status, 304);
  for (const auto& [accepted, encoding] :
       {std::pair("br, GZip;q=0.5", "gzip"), {"gzip;q=0", ""}, {"br", ""}}) {
    browser.Send("GET /chart.min.js HTTP/1.1\r\n" + with_cookie + "Accept-Encoding: " + accepted +
                 "\r\n\r\n");
    const Reply coded = browser.Receive();
    EXPECT_EQ(coded.header("content-encoding"), encoding) << accepted;
    EXPECT_EQ(coded.body.starts_with("\x1f\x8b"), coded.body != charts.body) << accepted;
  }
  browser.Send("GET /../etc/passwd HTTP/1.1\r\n" + with_cookie + "\r\n");
  EXPECT_EQ(browser.Receive().status, 404);
  browser.Send("GET /chart.min.js.licence.txt HTTP/1.1\r\n" + with_cookie + "\r\n");
  EXPECT_THAT(browser.Receive().body, HasSubstr("Permission is hereby granted"));
}

TEST(Service, APortThatIsTakenAndAnAddressThatIsNoneAreRefused) {
  const ProgramOnMachine machine;
  const Service service(machine);
  const cli::Result taken =
      machine.Run({"serve", "--port", std::to_string(service.caller().port())});
  EXPECT_EQ(taken.status, 1);
  EXPECT_TRUE(taken.Reports("cannot be used")) << taken.errors;
  EXPECT_EQ(machine.Run({"serve", "--address", "example.org"}).status, 2);
  const cli::Result foreign = machine.Run({"serve", "--address", "198.51.100.1"});
  EXPECT_EQ(foreign.status, 1);
  EXPECT_TRUE(foreign.Reports("not an address of this computer")) << foreign.errors;
}

TEST(Service, ATerminationEndsItAsAnInterruptDoes) {
  const ProgramOnMachine machine;
  Service service(machine);
  Page page(service.caller());
  EXPECT_EQ(service.End(SIGTERM), 0);
  EXPECT_EQ(page.Next().name, "end");
}

}  // namespace
}  // namespace orv::panel
