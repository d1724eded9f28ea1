#include "panel/server/access.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <random>

#include "platform/text.h"

namespace orv::panel {
namespace {

// The value of a name in a list such as "a=1; b=2"; empty if it is not there.
std::string_view ValueIn(std::string_view list, char separator, std::string_view name) {
  while (!list.empty()) {
    std::string_view one = list.substr(0, list.find(separator));
    list.remove_prefix(std::min(list.size(), one.size() + 1));
    one.remove_prefix(std::min(one.size(), one.find_first_not_of(' ')));
    if (one.size() > name.size() && one.starts_with(name) && one[name.size()] == '=')
      return one.substr(name.size() + 1);
  }
  return {};
}

// "1.2.3.4:80" or "[::1]:80" with this port. A foreign name that leads here is never numeric.
bool IsNumericAddress(std::string_view host, unsigned short port) {
  const std::size_t colon = host.rfind(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  if (host.substr(colon + 1) != fmt::format("{}", port)) return false;
  std::string_view address = host.substr(0, colon);
  if (address.starts_with('[') && address.ends_with(']'))
    return address.size() > 2 &&
           address.find_first_not_of("0123456789abcdefABCDEF:.", 1) == address.size() - 1;
  int parts = 0;
  for (; !address.empty(); ++parts) {
    const std::string_view part = address.substr(0, address.find('.'));
    unsigned number = 256;
    const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), number);
    if (error != std::errc() || end != part.data() + part.size() || number > 255) return false;
    address.remove_prefix(std::min(address.size(), part.size() + 1));
  }
  return parts == 4;
}

bool IsOwnHost(std::string_view host, const AccessRules& rules) {
  const auto same = [&](const std::string& own) { return EqualsIgnoringCase(host, own); };
  if (std::ranges::any_of(rules.hosts, same)) return true;
  return rules.port_of_any_address != 0 && IsNumericAddress(host, rules.port_of_any_address);
}

std::string_view KeyInAddress(const RequestHead& head) {
  const bool opens_page = OnlyReads(head.method) && PathOf(head.target) == "/";
  return opens_page ? ValueIn(QueryOf(head.target), '&', "key") : std::string_view();
}

bool HasKey(const RequestHead& head, const AccessRules& rules) {
  constexpr std::string_view kBearer = "Bearer ";
  if (head.authorization.size() > kBearer.size() &&
      EqualsIgnoringCase(head.authorization.substr(0, kBearer.size()), kBearer))
    return SameSecret(head.authorization.substr(kBearer.size()), rules.key);
  return HasKeyInAddress(head, rules) ||
         SameSecret(ValueIn(head.cookie, ';', rules.cookie), rules.key);
}

Refusal RefuseKey(const RequestHead& head, const AccessRules& rules) {
  const bool is_missing = head.authorization.empty() && KeyInAddress(head).empty() &&
                          ValueIn(head.cookie, ';', rules.cookie).empty();
  const char* const fault =
      is_missing ? "the key is missing." : "this key is not valid: each start has another one.";
  return {401, fmt::format("{} Use the address that \"orvctl serve\" printed.", fault), ""};
}

}  // namespace

std::string MakeKey() {
  std::random_device source;
  std::string key;
  for (int word = 0; word < 8; ++word) key += fmt::format("{:08x}", source() & 0xFFFFFFFFU);
  return key;
}

bool SameSecret(std::string_view given, std::string_view secret) {
  unsigned difference = given.size() == secret.size() && !secret.empty() ? 0 : 1;
  for (std::size_t i = 0; i < secret.size(); ++i) {
    const char mine = secret[i];
    const char other = given.empty() ? '\0' : given[i % given.size()];
    difference |= static_cast<unsigned>(static_cast<unsigned char>(mine ^ other));
  }
  return difference == 0;
}

bool HasKeyInAddress(const RequestHead& head, const AccessRules& rules) {
  return SameSecret(KeyInAddress(head), rules.key);
}

std::optional<Refusal> RefuseAccess(const RequestHead& head, const AccessRules& rules) {
  if (!IsOwnHost(head.host, rules))
    return Refusal{403, "this service does not answer for this host.", ""};
  if (!head.origin.empty() && !EqualsIgnoringCase(head.origin, fmt::format("http://{}", head.host)))
    return Refusal{403, "this service does not answer pages of other origins.", ""};
  if (!HasKey(head, rules)) return RefuseKey(head, rules);
  return std::nullopt;
}

std::optional<Refusal> RefuseChange(const RequestHead& head, const AccessRules& rules) {
  if (rules.read_only) return Refusal{403, "read_only: this service only shows.", ""};
  if (head.marker != "1")
    return Refusal{403, "a request that changes something needs the header \"X-Orvctl: 1\".", ""};
  if (!IsMediaType(head.content_type, "application/json") &&
      !IsMediaType(head.content_type, "text/plain"))
    return Refusal{415, "expected the content type application/json or text/plain.", ""};
  return std::nullopt;
}

}  // namespace orv::panel
