#include "panel/server/routes.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

namespace orv::panel {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

Decoded Ask(std::string_view method, std::string_view target, std::string_view body = {},
            std::string_view type = "application/json") {
  RequestHead head{};
  head.method = method;
  head.target = target;
  head.content_type = type;
  SplitTarget(head);
  return Decode(head, body);
}

TEST(Routes, RequestsBecomeTheWordsOfTheirCommand) {
  const struct {
    const char* method;
    const char* target;
    const char* body;
    Words words;
  } cases[] = {{"GET", "/api/endpoints/12/modes", "", {"modes", "12"}},
               {"GET", "http://h/api/endpoints/00/enabled", "", {"enable", "0"}},
               {"HEAD", "/api/endpoints/%7B0.0%7D.%7Ba%7D/enabled", "", {"enable", "{0.0}.{a}"}},
               {"PUT", "/api/endpoints/0/enabled", R"({"enabled": false})", {"enable", "0", "off"}},
               {"PUT", "/api/endpoints/0/mode", R"({"name": "-x=y"})", {"mode", "--", "0", "-x=y"}},
               {"PUT", "/api/endpoints/0/mode", R"({"default": true})", {"mode", "0", "--default"}},
               {"GET",
                "/api/endpoints/0/controls?list=private&mode=-Movie%2FInternal+%C3%BC",
                "",
                {"controls", "0", "--list=private", "--mode=-Movie/Internal \xC3\xBC"}},
               {"GET", "/api/endpoints/0/controls?mode=&list", "", {"controls", "0"}},
               {"PUT",
                "/api/endpoints/0/controls?mode=M",
                R"({"--raw": -2147483648, "B": 7})",
                {"set", "0", "--from", "-", "--mode=M"}},
               {"POST", "/api/endpoints/0/undo", R"({"force": true})", {"undo", "0", "--force"}},
               {"POST", "/api/endpoints/0/restore?mode=M", "", {"restore", "0", "--mode=M"}}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.target);
    const Decoded decoded = Ask(one.method, one.target, one.body);
    ASSERT_TRUE(std::holds_alternative<Work>(decoded)) << std::get<Refusal>(decoded).message;
    const Work& work = std::get<Work>(decoded);
    EXPECT_THAT(work.words, ElementsAreArray(one.words));
    EXPECT_EQ(work.changes, *one.method == 'P');
  }
  const auto import = std::get<Work>(
      Ask("PUT", "/api/endpoints/0/eq?dry_run=1&channel=left", "a list", " Text/Plain ;x=y"));
  EXPECT_THAT(import.words,
              ElementsAreArray({"eq", "0", "import", "-", "--channel=left", "--dry-run"}));
  EXPECT_EQ(import.input, "a list");
  EXPECT_TRUE(std::get<Work>(Ask("GET", "/api/endpoints/0/eq")).text);
  const auto set = std::get<Work>(Ask("PUT", "/api/endpoints/0/controls", R"({"A": 1, "B": "x"})"));
  EXPECT_EQ(set.input, R"([{"name":"A","value":1},{"name":"B","value":"x"}])");
}

TEST(Routes, WhatTheTableDoesNotKnowIsRefused) {
  std::string many = "{\"0\": 0";
  for (int i = 1; i <= 1000; ++i) many += fmt::format(", \"{}\": 0", i);
  many += "}";
  const std::string long_name = "{\"" + std::string(1025, 'x') + "\": 1}";
  const struct {
    const char* method;
    const char* target;
    const char* body;
    int status;
    const char* reason;
  } cases[] = {
      {"GET", "/api", "", 404, "no such"},
      {"HEAD", "/api/events", "", 405, "method GET."},
      {"PUT", "/api/endpoints/0/controls", many.c_str(), 413, "1000 names"},
      {"PUT", "/api/endpoints/0/controls", long_name.c_str(), 400, "1024 bytes"},
      {"PUT", "/api/endpoints/0/controls", R"({"A": 1, "B": 1, "A": 2})", 400,
       "\"A\" more than once"},
      {"POST", "/api/endpoints/0/undo", R"({"A": {"B": 1}})", 400, "plain values"},
      {"GET", "/api/endpoints/%200/modes", "", 400, "endpoint"},
      {"GET", "/api/endpoints/0", "", 404, "no such"},
      {"GET", "/api/endpoints/0/modes/x", "", 404, "no such"},
      {"GET", "/api/endpoints//modes", "", 400, "empty"},
      {"POST", "/api/endpoints/0/modes", "", 405, "GET, HEAD"},
      {"DELETE", "/api/endpoints/0/controls", "", 405, "GET, HEAD, PUT"},
      {"GET", "/api/endpoints/-1/modes", "", 400, "endpoint"},
      {"GET", "/api/endpoints/Head/modes", "", 400, "endpoint"},
      {"GET", "/api/endpoints/%7B%00/modes", "", 400, "endpoint"},
      {"GET", "/api/endpoints/%7B%FF/modes", "", 400, "endpoint"},
      {"GET", "/api/endpoints/%7/modes", "", 400, "escape"},
      {"GET", "/api/endpoints/0/modes?x=1", "", 400, "unknown name"},
      {"GET", "/api/endpoints/0/controls?mode=a&mode=b", "", 400, "more than once"},
      {"GET", "/api/endpoints/0/controls?mode=%0A", "", 400, "mode"},
      {"PUT", "/api/endpoints/0/controls", "", 400, "CONTROL"},
      {"PUT", "/api/endpoints/0/controls", "[1]", 400, "object"},
      {"PUT", "/api/endpoints/0/controls", "{\"A\": 1", 400, "object"},
      {"PUT", "/api/endpoints/0/controls", R"({"A": 1.5})", 400, "whole number"},
      {"PUT", "/api/endpoints/0/controls", R"({"A": 2147483648})", 400, "whole number"},
      {"PUT", "/api/endpoints/0/controls", R"({"A": -2147483649})", 400, "whole number"},
      {"PUT", "/api/endpoints/0/controls", R"({"A": 18446744073709551615})", 400, "whole number"},
      {"PUT", "/api/endpoints/0/controls", R"({"A": true})", 400, "whole number"},
      {"PUT", "/api/endpoints/0/controls", R"({"A": ""})", 400, "empty"},
      {"PUT", "/api/endpoints/0/controls", R"({"": "1"})", 400, "empty"},
      {"PUT", "/api/endpoints/0/controls", R"({"A\u0000": 1})", 400, "plain text"},
      {"PUT", "/api/endpoints/0/mode", R"({"name": 1})", 400, "expected the body"},
      {"PUT", "/api/endpoints/0/mode", R"({"default": false})", 400, "expected the body"},
      {"PUT", "/api/endpoints/0/mode", R"({"default": true, "name": "x"})", 400, "expected"},
      {"PUT", "/api/endpoints/0/enabled", R"({"enabled": "on"})", 400, "expected the body"},
      {"POST", "/api/endpoints/0/push", R"({"x": 1})", 400, "expected the body"},
      {"PUT", "/api/endpoints/0/eq", "{}", 415, "text/plain"},
      {"GET", "/api/events?endpoint=Head", "", 400, "endpoint"}};
  for (const auto& one : cases) {
    SCOPED_TRACE(std::string(one.method) + " " + one.target + " " + one.body);
    const Decoded decoded = Ask(one.method, one.target, one.body);
    ASSERT_TRUE(std::holds_alternative<Refusal>(decoded));
    const Refusal& refusal = std::get<Refusal>(decoded);
    EXPECT_EQ(refusal.status, one.status) << refusal.message;
    EXPECT_THAT(refusal.message, HasSubstr(one.reason));
  }
  for (const std::string& list : {std::string(65537, ' '), std::string(1001, '\n')})
    EXPECT_EQ(std::get<Refusal>(Ask("PUT", "/api/endpoints/0/eq", list, "text/plain")).status, 413);
  const auto text = Ask("PUT", "/api/endpoints/0/mode", "{}", "text/plain");
  EXPECT_EQ(std::get<Refusal>(text).status, 415);
}

}  // namespace
}  // namespace orv::panel
