#include <gmock/gmock.h>

#include <filesystem>
#include <thread>

#include "panel/service.h"

namespace orv::panel {
namespace {

using cli::Json;
using cli::ProgramOnMachine;

constexpr char kControls[] = "/api/endpoints/0/controls";

TEST(Events, ChangesArriveWithTheirValuesAndWhoMadeThem) {
  const ProgramOnMachine machine;
  const Service service(machine);
  Page page(service.caller());
  Page other(service.caller());
  EXPECT_NE(page.client(), other.client());

  machine.Answer({"set", "1", "VQ3D-DC Level", "11", "--mode", "Music/Internal"});
  const Json change = page.Next("change").data;
  EXPECT_EQ(change["seq"], 1);
  EXPECT_EQ(change["what"], "control");
  EXPECT_EQ(change["mode"], "ApoOpMode:Music/Internal");
  EXPECT_EQ(change["name"], "VQ3D-DC Level");
  EXPECT_EQ(change["to"], 11);
  EXPECT_EQ(change["to_text"], "11 %");
  EXPECT_EQ(change["origin"], "other");
  EXPECT_EQ(change["endpoint"], machine.Answer({"endpoints"})[1]["id"]);

  const std::string me = "X-Orvctl-Client: " + page.client() + "\r\n";
  service.caller().Ask("PUT", "/api/endpoints/0/enabled", R"({"enabled": false})", me);
  for (Page* one : {&page, &other}) {
    Json seen = one->Next("change").data;
    if (seen["seq"] == 1) seen = one->Next("change").data;
    EXPECT_EQ(seen["seq"], 2);
    EXPECT_EQ(seen["what"], "switch");
    EXPECT_EQ(seen["to_text"], "off");
    EXPECT_EQ(seen["origin"], page.client());
  }
}

TEST(Events, AMachineThatIsGoneIsReportedAndFoundAgain) {
  const ProgramOnMachine machine;
  const Service service(machine);
  Page page(service.caller());
  const std::filesystem::path moved = machine.Path("elsewhere");
  std::filesystem::rename(machine.machine(), moved);
  EXPECT_THAT(page.Next().data.value("message", ""), testing::HasSubstr("there is no machine in"));
  Page late(service.caller());
  EXPECT_EQ(late.Next().name, "lost");
  const auto expect = [&](int status, const char* reason) {
    for (const Reply& reply : {service.caller().Get("/api/doctor"),
                               service.caller().Ask("PUT", kControls, R"({"VQ3D-DC Level": 1})")}) {
      EXPECT_EQ(reply.status, status);
      EXPECT_THAT(reply.body, testing::HasSubstr(reason));
    }
  };
  expect(503, "there is no machine in");
  std::filesystem::rename(moved, machine.machine());
  expect(200, "");
  const std::string registry = (machine.machine() / "registry.reg").string();
  std::filesystem::copy_file(registry, moved);
  cli::WriteText(registry, "no registry");
  expect(503, "registry.reg:1: the first line");
  std::filesystem::rename(moved, registry);
  expect(200, "");
  EXPECT_EQ(page.Next().name, "found");
  machine.Answer({"enable", "0", "off"});
  // Those of the controls are reported if they were made after the machine was found.
  Json change = page.Next("change").data;
  while (change["what"] == "control") change = page.Next("change").data;
  EXPECT_EQ(change["to_text"], "off");
}

TEST(Events, LevelsAreForThePagesThatLook) {
  const ProgramOnMachine machine;
  const Service service(machine);
  const Json once = machine.Answer({"analyse", "0", "--once"});
  Page listener(service.caller(), "0");
  Page lost(service.caller(), "99");
  const Json levels = listener.Next("levels").data;
  EXPECT_EQ(levels["peaks"].size(), once["peaks"].size());
  ASSERT_EQ(levels["spectrum"].size(), once["spectrum"].size());
  EXPECT_EQ(cli::Keys(levels["spectrum"][0]), cli::Keys(once["spectrum"][0]));
  EXPECT_THAT(lost.Next("levels").data.value("message", ""), testing::HasSubstr("number 99"));
}

TEST(Events, TwoWritersLoseNothing) {
  const ProgramOnMachine machine;
  const Service service(machine);
  constexpr int kLast = 20;
  std::thread other([&] {
    for (int i = 1; i <= kLast; ++i)
      machine.Answer({"set", "0", "VQ3D-DPHD Level", "--raw", std::to_string(i)});
  });
  for (int i = 1; i <= kLast; ++i) {
    const Reply reply =
        service.caller().Ask("PUT", kControls, "{\"VQ3D-DC Level\": " + std::to_string(i) + "}");
    EXPECT_EQ(reply.json()[0]["value"], i) << reply.body;
  }
  other.join();
  EXPECT_EQ(machine.Answer({"get", "0", "VQ3D-DC Level"})["value"], kLast);
  EXPECT_EQ(machine.Answer({"get", "0", "VQ3D-DPHD Level"})["value"], kLast);
}

// One import changes many controls, so that a page that reads nothing is full soon.
TEST(Events, StalledAndBrokenPagesDisturbNoOther) {
  const ProgramOnMachine machine;
  const Service service(machine);
  constexpr int kSmallBuffer = 4096;
  Page stalled(service.caller(), "", kSmallBuffer);
  Client garbage(service.caller().port());
  garbage.Send(service.caller().Text("GET", "/api/events") + "\x01\x02 no request \r\n\r\n");
  std::vector<Page> pages;
  for (int i = 0; i < 18; ++i) pages.emplace_back(service.caller());

  std::size_t changes = 0;
  constexpr int kImports = 22;
  for (int i = 0; i < kImports; ++i) {
    std::string list;
    for (int band = 1; band <= 12; ++band)
      list += "Filter " + std::to_string(band) + ": ON PK Fc " +
              std::to_string(100 * band + i % 2) + " Hz Gain " + (i % 2 == 0 ? "3" : "-3") +
              " dB Q " + (i % 2 == 0 ? "1" : "2") + "\n";
    const Reply reply =
        service.caller().Ask("PUT", "/api/endpoints/0/eq", list, "Content-Type: text/plain\r\n");
    ASSERT_EQ(reply.status, 200) << reply.body;
    changes += reply.json()["changes"].size();
    for (Page& page : pages) {
      std::size_t seen = 0;
      while (seen < changes) {
        const Page::Event event = page.Next("change");
        ASSERT_EQ(event.name, "change");
        seen = event.data["seq"];
      }
    }
  }
  EXPECT_GT(changes, 1000U);
  EXPECT_TRUE(stalled.Ends());
  EXPECT_TRUE(garbage.Ends());
}

}  // namespace
}  // namespace orv::panel
