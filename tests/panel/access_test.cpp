#include "panel/server/access.h"

#include <gmock/gmock.h>

#include <functional>

namespace orv::panel {
namespace {

using testing::HasSubstr;

const AccessRules kRules{.key = "0123456789abcdef",
                         .cookie = "orvctl_key_80",
                         .hosts = {"127.0.0.1:8080", "localhost:8080"}};
constexpr RequestHead kReading{.method = "GET",
                               .target = "/api/endpoints",
                               .host = "127.0.0.1:8080",
                               .origin = {},
                               .cookie = "a=b; orvctl_key_80=0123456789abcdef; c=d",
                               .authorization = {},
                               .content_type = {},
                               .marker = {},
                               .client = {},
                               .gesture = {}};
constexpr RequestHead Changing() {
  RequestHead head = kReading;
  head.method = "PUT";
  head.content_type = "application/json; charset=utf-8";
  head.marker = "1";
  return head;
}

struct Case {
  std::function<void(RequestHead&)> change;
  int status;  // 0: allowed
  const char* reason;
};

// As a connection decides, but for its path.
std::optional<Refusal> Refuse(RequestHead head, const AccessRules& rules) {
  SplitTarget(head);
  auto refusal = RefuseAccess(head, rules);
  return refusal || OnlyReads(head.method) ? refusal : RefuseChange(head, rules);
}

void Check(const RequestHead& base, const std::vector<Case>& cases,
           const AccessRules& rules = kRules) {
  ASSERT_FALSE(Refuse(base, rules));
  for (const Case& one : cases) {
    RequestHead head = base;
    one.change(head);
    const auto refusal = Refuse(head, rules);
    EXPECT_EQ(refusal ? refusal->status : 0, one.status) << one.reason;
    EXPECT_THAT(refusal ? refusal->message : "", HasSubstr(refusal ? one.reason : ""));
  }
}

TEST(Access, EachMissingPieceIsRefusedForItsOwnReason) {
  Check(kReading, {{[](auto& h) { h.host = "localhost:8080"; }, 0, ""},
                   {[](auto& h) { h.host = "LOCALHOST:8080"; }, 0, ""},
                   {[](auto& h) { h.host = {}; }, 403, "host"},
                   {[](auto& h) { h.host = "127.0.0.1"; }, 403, "host"},
                   {[](auto& h) { h.host = "evil.example:8080"; }, 403, "host"},
                   {[](auto& h) { h.origin = "http://127.0.0.1:8080"; }, 0, ""},
                   {[](auto& h) { h.origin = "https://127.0.0.1:8080"; }, 403, "origin"},
                   {[](auto& h) { h.origin = "http://localhost:8080"; }, 403, "origin"},
                   {[](auto& h) { h.origin = "null"; }, 403, "origin"},
                   {[](auto& h) { h.target = "http://127.0.0.1:8080"; }, 0, ""},
                   {[](auto& h) { h.target = "HTTP://LocalHost:8080/"; }, 403, "host"},
                   {[](auto& h) { h.cookie = {}; }, 401, "key is missing"},
                   {[](auto& h) { h.cookie = "orvctl_key_81=0123456789abcdef"; }, 401, "missing"},
                   {[](auto& h) { h.cookie = "orvctl_key_80=0123456789abcdeF"; }, 401, "not valid"},
                   {[](auto& h) { h.cookie = "orvctl_key_80=0123456789abcdef0"; }, 401, "key"},
                   {[](auto& h) { h.cookie = "orvctl_key_80="; }, 401, "key"},
                   {[](auto& h) {
                      h.authorization = "Bearer 0123456789abcdef";
                      h.cookie = {};
                    },
                    0, ""},
                   {[](auto& h) { h.authorization = "Bearer 0123456789abcde"; }, 401, "not valid"},
                   {[](auto& h) {
                      h.authorization = "Basic 0123456789abcdef";
                      h.cookie = {};
                    },
                    401, "key"}});
  Check(Changing(), {{[](auto& h) { h.content_type = "text/plain"; }, 0, ""},
                     {[](auto& h) { h.content_type = " Application/JSON ;charset=x"; }, 0, ""},
                     {[](auto& h) { h.content_type = "text/plainer"; }, 415, "content type"},
                     {[](auto& h) { h.marker = {}; }, 403, "X-Orvctl"},
                     {[](auto& h) { h.content_type = {}; }, 415, "content type"},
                     {[](auto& h) { h.content_type = "application/x-www-form-urlencoded"; }, 415,
                      "content type"},
                     {[](auto& h) {
                        h.cookie = {};
                        h.marker = {};
                      },
                      401, "key"}});
}

TEST(Access, KeyInTheAddressIsForThePageOnly) {
  RequestHead head = kReading;
  head.cookie = {};
  for (const auto& [method, target, status] :
       {std::tuple{"GET", "/?key=0123456789abcdef", 0},
        {"HEAD", "/?key=0123456789abcdef", 0},
        {"GET", "/?key=0123456789abcdee", 401},
        {"GET", "/?x=1&key=0123456789abcdef&y", 0},
        {"GET", "/?key=", 401},
        {"GET", "/", 401},
        {"PUT", "/?key=0123456789abcdef", 401},
        {"GET", "/api/endpoints?key=0123456789abcdef", 401}}) {
    head.method = method;
    head.target = target;
    const auto refusal = RefuseAccess(head, kRules);
    EXPECT_EQ(refusal ? refusal->status : 0, status) << method << target;
  }
}

TEST(Access, ReadOnlyRefusesWhateverIsNotReading) {
  AccessRules rules = kRules;
  rules.read_only = true;
  Check(kReading,
        {{[](auto& h) { h = Changing(); }, 403, "read_only"},
         {[](auto& h) {
            h = Changing();
            h.method = "POST";
          },
          403, "read_only"},
         {[](auto& h) {
            h = Changing();
            h.method = "DELETE";
          },
          403, "read_only"},
         {[](auto& h) { h.method = "HEAD"; }, 0, ""}},
        rules);
}

TEST(Access, AnAddressForAllOfTheComputerTakesNumericHosts) {
  AccessRules rules = kRules;
  rules.port_of_any_address = 8080;
  Check(kReading,
        {{[](auto& h) { h.host = "192.168.1.20:8080"; }, 0, ""},
         {[](auto& h) { h.host = "[fe80::1]:8080"; }, 0, ""},
         {[](auto& h) { h.host = "192.168.1.20:8081"; }, 403, "host"},
         {[](auto& h) { h.host = "192.168.1.20"; }, 403, "host"},
         {[](auto& h) { h.host = "1.2.3.256:8080"; }, 403, "host"},
         {[](auto& h) { h.host = "1.2.3:8080"; }, 403, "host"},
         {[](auto& h) { h.host = "1.2.3.4.example:8080"; }, 403, "host"},
         {[](auto& h) { h.host = "[x]:8080"; }, 403, "host"}},
        rules);
}

TEST(Access, KeysAreLongAndDifferent) {
  const std::string key = MakeKey();
  EXPECT_EQ(key.size(), 64U);
  EXPECT_EQ(key.find_first_not_of("0123456789abcdef"), std::string::npos);
  EXPECT_NE(key, MakeKey());
  EXPECT_FALSE(SameSecret("", ""));  // a key that was never made
}

}  // namespace
}  // namespace orv::panel
