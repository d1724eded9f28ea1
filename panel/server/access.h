// Who may ask: pure decisions over the head of a request.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "panel/server/request.h"

namespace orv::panel {

struct AccessRules {
  std::string key;
  std::string cookie;              // the name of the cookie that holds the key
  std::vector<std::string> hosts;  // what the header Host may be, in lower case
  // With an address that means all of this computer's: the port of any numeric one; 0: none.
  unsigned short port_of_any_address = 0;
  bool read_only = false;
};

// 32 bytes of the system's random source as 64 hexadecimal digits.
std::string MakeKey();

// nullopt if the request may be answered. Otherwise 403 for a foreign host or origin,
// 401 without the key.
std::optional<Refusal> RefuseAccess(const RequestHead& head, const AccessRules& rules);
// nullopt if the request, which is not one that only reads, may change something. Otherwise 403 for
// a read-only service or without the marker, 415 for a wrong content type.
std::optional<Refusal> RefuseChange(const RequestHead& head, const AccessRules& rules);

// Whether the address has the key, which is for the page only.
bool HasKeyInAddress(const RequestHead& head, const AccessRules& rules);

// Whether both are the same; takes as long for every text of the same size.
bool SameSecret(std::string_view given, std::string_view secret);

}  // namespace orv::panel
