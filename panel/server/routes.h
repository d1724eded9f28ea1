// The service's requests as one table: what each one is in words of orvctl.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "panel/server/request.h"

namespace orv::panel {

using Words = std::vector<std::string>;

// What a request asks of the machine.
struct Work {
  enum class Kind {
    About,   // the service itself
    Run,     // the words
    Push,    // the words with the endpoint's driver as the second one
    Events,  // the stream of what happens
  };
  Kind kind = Kind::Run;
  Words words;           // the command with its arguments, none of them as a user typed it
  bool changes = false;  // something of the machine, by what it is and not by its method
  bool text = false;     // the command's answer is text and not JSON
  std::string endpoint;  // that it is about; empty if it is not about one
  std::string input;     // what the command reads as its file
  std::string gesture;   // that it is a step of; empty if it is not
};

struct Route {
  std::string_view method;
  std::string_view path;     // E in the place of an endpoint
  std::string_view query;    // the names that it may have, with blanks between
  std::string_view command;  // as documents write it
};
std::span<const Route> Routes();

// The work of a request whose body is complete. Refuses with 404 a path that is not known, with 405
// a method that its path does not have, and with 400 what the table does not know.
using Decoded = std::variant<Work, Refusal>;
Decoded Decode(const RequestHead& head, std::string_view body);

// What is refused before there is a body: 404 and 405.
std::variant<const Route*, Refusal> FindRoute(std::string_view method, std::string_view target);

}  // namespace orv::panel
