// Requests come from every program that reaches the port: no request without the key is answered,
// and whatever is decoded becomes words in which nothing that was sent is taken for an option.
#include <algorithm>
#include <array>
#include <vector>

#include "fuzzer.h"
#include "panel/server/access.h"
#include "panel/server/routes.h"

namespace orv::fuzz {
namespace {

using namespace panel;

const AccessRules kRules{.key = "6a09e667f3bcc908",
                         .cookie = "orvctl_key_8017",
                         .hosts = {"127.0.0.1:8017", "localhost:8017"},
                         .port_of_any_address = 8017};

// The first lines in the order of RequestHead, then the body.
std::string_view TakeLine(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(text.size(), line.size() + 1));
  return line;
}

bool IsOwnOption(std::string_view word) {
  constexpr std::array kOptions = {"--mode=", "--list=", "--channel=", "--from",      "--default",
                                   "--force", "--list",  "--dry-run",  "--read-only", "-"};
  return std::ranges::any_of(kOptions, [&](std::string_view option) {
    return option.ends_with('=') ? word.size() > option.size() && word.starts_with(option)
                                 : word == option;
  });
}

void CheckWords(const Work& work) {
  bool is_marked = false;
  for (const std::string& word : work.words) {
    Require(!word.empty() && std::ranges::none_of(word, [](char c) {
      return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
    }));
    if (!is_marked && word.starts_with('-') && word != "--") Require(IsOwnOption(word));
    is_marked = is_marked || word == "--";
  }
  if (work.kind == Work::Kind::Run) Require(!work.words.empty());
}

}  // namespace

void Run(std::span<const std::uint8_t> bytes) {
  std::string_view text = TextOf(bytes);
  RequestHead head{};
  for (std::string_view* line :
       {&head.method, &head.target, &head.host, &head.origin, &head.cookie, &head.authorization,
        &head.content_type, &head.marker, &head.client, &head.gesture})
    *line = TakeLine(text);
  if (!RefuseAccess(head, kRules))
    Require(head.target.find(kRules.key) != std::string_view::npos ||
            head.cookie.find(kRules.key) != std::string_view::npos ||
            head.authorization.find(kRules.key) != std::string_view::npos);
  const Decoded decoded = Decode(head, text);
  if (const auto* const work = std::get_if<Work>(&decoded)) {
    CheckWords(*work);
    Require(work->changes != OnlyReads(head.method));
  } else {
    const Refusal& refusal = std::get<Refusal>(decoded);
    Require(refusal.status >= 400 && refusal.status < 500 && !refusal.message.empty());
    Require((refusal.status == 405) == !refusal.allow.empty());
  }
}

}  // namespace orv::fuzz
