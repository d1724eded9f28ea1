// A request as the decisions about it see it, apart from the network; and what refuses it.
#pragma once

#include <string>
#include <string_view>

namespace orv::panel {

// The first lines of a request. Headers that were not sent are empty.
struct RequestHead {
  std::string_view method;
  std::string_view target;
  std::string_view host;
  std::string_view origin;
  std::string_view cookie;
  std::string_view authorization;
  std::string_view content_type;
  std::string_view marker;   // X-Orvctl
  std::string_view client;   // X-Orvctl-Client
  std::string_view gesture;  // X-Orvctl-Gesture
};

struct Refusal {
  int status = 0;  // of HTTP
  std::string message;
  std::string allow;    // the methods that the path has, for status 405
  int exit_status = 2;  // as orvctl would end
};

// The path of a target, and its query without the question mark.
std::string_view PathOf(std::string_view target);
std::string_view QueryOf(std::string_view target);
inline bool IsApi(std::string_view target) {
  const std::string_view path = PathOf(target);
  return path == "/api" || path.starts_with("/api/");
}
// "http://HOST/PATH", as requests through another program may be, becomes "/PATH". Without the same
// HOST as in the header, the request has no host then.
void SplitTarget(RequestHead& head);

// Whether a header "Content-Type" names this type (in lower case), with any parameters.
bool IsMediaType(std::string_view header, std::string_view type);

// Reading only: such a request never changes the machine.
inline bool OnlyReads(std::string_view method) { return method == "GET" || method == "HEAD"; }

}  // namespace orv::panel
