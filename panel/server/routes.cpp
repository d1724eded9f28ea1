#include "panel/server/routes.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/locale/utf.hpp>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "platform/text.h"

namespace orv::panel {
namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void Refuse(std::string message) { throw Refusal{400, std::move(message), ""}; }

bool IsUtf8(std::string_view text) {
  using Utf8 = boost::locale::utf::utf_traits<char>;
  for (auto place = text.begin(); place != text.end();) {
    const auto point = Utf8::decode(place, text.end());
    if (!boost::locale::utf::is_valid_codepoint(point)) return false;
  }
  return true;
}

constexpr std::size_t kMostInName = 1024;  // bytes
constexpr std::size_t kMostMembers = 1000;

// A text that goes into a command line: neither empty nor long, UTF-8, without control characters.
std::string Word(std::string text, std::string_view what) {
  const bool is_plain = std::ranges::none_of(
      text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
  if (text.empty()) Refuse(fmt::format("the {} is empty.", what));
  if (text.size() > kMostInName)
    Refuse(fmt::format("the {} is longer than {} bytes.", what, kMostInName));
  if (!is_plain || !IsUtf8(text)) Refuse(fmt::format("the {} is not a plain text.", what));
  return text;
}

std::string Unescape(std::string_view text, bool is_query) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      plain += is_query && text[i] == '+' ? ' ' : text[i];
      continue;
    }
    unsigned byte = 0;
    for (int digit = 0; digit < 2; ++digit) {
      constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
      const std::size_t value = ++i < text.size() ? kDigits.find(text[i]) : std::string_view::npos;
      if (value == std::string_view::npos) Refuse("an escape in the address is not complete.");
      byte = byte * 16 + value % 16;
    }
    plain += static_cast<char>(byte);
  }
  return plain;
}

// "0" or "{0.0.0.00000000}.{...}": what cannot be taken for an option or for a part of a name. A
// number has one form only.
std::string EndpointWord(std::string text) {
  text = Word(std::move(text), "endpoint");
  const bool is_number = text.find_first_not_of("0123456789") == std::string::npos;
  if (!is_number && !text.starts_with('{')) Refuse("an endpoint is its number or its identifier.");
  if (is_number) text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
  return text;
}

using Query = std::map<std::string, std::string>;

Query ParseQuery(std::string_view text, std::string_view known) {
  Query query;
  while (!text.empty()) {
    const std::string_view one = text.substr(0, text.find('&'));
    text.remove_prefix(std::min(text.size(), one.size() + 1));
    if (one.empty()) continue;
    const std::size_t equals = std::min(one.find('='), one.size());
    const std::string name = Unescape(one.substr(0, equals), true);
    const auto is_known = [&] {
      return name.find(' ') == std::string::npos && !name.empty() &&
             fmt::format(" {} ", known).find(fmt::format(" {} ", name)) != std::string::npos;
    };
    if (!is_known())
      Refuse(fmt::format("the address has an unknown name after \"?\"; known: {}.",
                         known.empty() ? "none" : known));
    const std::string value =
        equals < one.size() ? Unescape(one.substr(equals + 1), true) : std::string();
    if (value.empty()) continue;  // as if it were not there
    if (!query.emplace(name, Word(value, name)).second)
      Refuse(fmt::format("the address has \"{}\" more than once.", name));
  }
  return query;
}

// What a planner makes its words of.
struct Parts {
  std::string endpoint;
  Query query;
  Json body;              // an object for requests with a JSON body
  std::string_view text;  // the body as it is
};

[[noreturn]] void RefuseBody(std::string_view expected) {
  Refuse(fmt::format("expected the body {}.", expected));
}

// The body's only member.
const Json& Only(const Json& body, const char* name, std::string_view expected) {
  const auto found = body.find(name);
  if (found == body.end() || body.size() != 1) RefuseBody(expected);
  return *found;
}

bool OnlySwitch(const Json& body, const char* name, std::string_view expected) {
  const Json& value = Only(body, name, expected);
  if (!value.is_boolean()) RefuseBody(expected);
  return value.get<bool>();
}

void RequireEmpty(const Parts& parts) {
  if (!parts.body.empty()) RefuseBody("{}");
}

// The words with an option for each name of the query.
Words Shown(const Parts& parts, Words words) {
  for (const auto& [name, value] : parts.query)
    words.push_back(fmt::format("--{}={}", name, value));
  return words;
}

Words SwitchMode(const Parts& parts) {
  constexpr std::string_view kExpected = "{\"name\": MODE} or {\"default\": true}";
  if (parts.body.contains("default")) {
    if (!OnlySwitch(parts.body, "default", kExpected)) RefuseBody(kExpected);
    return {"mode", parts.endpoint, "--default"};
  }
  const Json& name = Only(parts.body, "name", kExpected);
  if (!name.is_string()) RefuseBody(kExpected);
  return {"mode", "--", parts.endpoint, Word(name.get<std::string>(), "mode")};
}

Words SwitchProcessing(const Parts& parts) {
  const bool on = OnlySwitch(parts.body, "enabled", "{\"enabled\": true} or false");
  return {"enable", parts.endpoint, on ? "on" : "off"};
}

// Numbers are stored values; texts are as a user types them.
void CheckValue(const Json& value) {
  if (value.is_string()) {
    Word(value.get<std::string>(), "value");
    return;
  }
  const bool fits = value.is_number_integer() &&
                    (!value.is_number_unsigned() || value.get<std::uint64_t>() <= 0x7FFFFFFF) &&
                    value.get<std::int64_t>() >= -0x7FFFFFFF - 1LL &&
                    value.get<std::int64_t>() <= 0x7FFFFFFF;
  if (!fits) Refuse("a value is a whole number in 32 bits, or a text as \"set\" takes it.");
}

Words SetControls(const Parts& parts) {
  if (parts.body.empty()) RefuseBody("{\"CONTROL\": VALUE, ...}");
  for (const auto& [name, value] : parts.body.items()) {
    Word(name, "control's name");
    CheckValue(value);
  }
  return Shown(parts, {"set", parts.endpoint, "--from", "-"});
}

// The members as "set" takes them whatever their names are.
std::string ListText(const Json& members) {
  Json list = Json::array();
  for (const auto& [name, value] : members.items())
    list.push_back({{"name", name}, {"value", value}});
  return list.dump();
}

Words Undo(const Parts& parts) {
  Words words = {"undo", parts.endpoint};
  if (parts.body.empty()) return words;
  if (OnlySwitch(parts.body, "force", "{} or {\"force\": true}")) words.push_back("--force");
  return words;
}

Words Import(const Parts& parts) {
  constexpr std::ptrdiff_t kMostLines = 1000;
  constexpr std::size_t kMostBytes = 64U << 10;
  if (parts.text.size() > kMostBytes || std::ranges::count(parts.text, '\n') > kMostLines)
    throw Refusal{
        413, fmt::format("the list is longer than {} lines or {} bytes.", kMostLines, kMostBytes),
        ""};
  Parts others = parts;
  const std::string dry_run = std::exchange(others.query["dry_run"], "");
  others.query.erase("dry_run");
  Words words = Shown(others, {"eq", parts.endpoint, "import", "-"});
  if (dry_run == "1") words.push_back("--dry-run");
  if (dry_run != "1" && dry_run != "0" && !dry_run.empty()) Refuse("dry_run is 0 or 1.");
  return words;
}

struct Entry : Route {
  Words (*plan)(const Parts& parts);
  Work::Kind kind = Work::Kind::Run;
  bool text = false;  // the body is text, and so is the answer to GET
};

constexpr Entry kRoutes[] = {
    {{"GET", "/api/about", "", ""}, [](const Parts&) { return Words(); }, Work::Kind::About},
    {{"GET", "/api/events", "endpoint", ""},
     [](const Parts&) { return Words(); },
     Work::Kind::Events},
    {{"GET", "/api/endpoints", "", "endpoints"}, [](const Parts&) { return Words{"endpoints"}; }},
    {{"GET", "/api/doctor", "", "doctor --read-only"},
     [](const Parts&) {
       return Words{"doctor", "--read-only"};
     }},
    {{"GET", "/api/endpoints/E/modes", "", "modes E"},
     [](const Parts& p) {
       return Words{"modes", p.endpoint};
     }},
    {{"PUT", "/api/endpoints/E/mode", "", "mode E MODE, mode E --default"}, SwitchMode},
    {{"GET", "/api/endpoints/E/enabled", "", "enable E"},
     [](const Parts& p) {
       return Words{"enable", p.endpoint};
     }},
    {{"PUT", "/api/endpoints/E/enabled", "", "enable E on|off"}, SwitchProcessing},
    {{"GET", "/api/endpoints/E/controls", "mode list", "controls E --mode M --list L"},
     [](const Parts& p) {
       return Shown(p, {"controls", p.endpoint});
     }},
    {{"PUT", "/api/endpoints/E/controls", "mode", "set E --mode M"}, SetControls},
    {{"POST", "/api/endpoints/E/restore", "mode", "restore E --mode M"},
     [](const Parts& p) {
       RequireEmpty(p);
       return Shown(p, {"restore", p.endpoint});
     }},
    {{"GET", "/api/endpoints/E/undo", "", "undo E --list"},
     [](const Parts& p) {
       return Words{"undo", p.endpoint, "--list"};
     }},
    {{"POST", "/api/endpoints/E/undo", "", "undo E [--force]"}, Undo},
    {{"GET", "/api/endpoints/E/response", "mode channel", "response E --mode M --channel C"},
     [](const Parts& p) {
       return Shown(p, {"response", p.endpoint});
     }},
    {{"GET", "/api/endpoints/E/eq", "mode channel", "eq E export --mode M --channel C"},
     [](const Parts& p) {
       return Shown(p, {"eq", p.endpoint, "export"});
     },
     Work::Kind::Run,
     true},
    {{"PUT", "/api/endpoints/E/eq", "mode channel dry_run",
      "eq E import LIST --mode M --channel C [--dry-run]"},
     Import,
     Work::Kind::Run,
     true},
    {{"POST", "/api/endpoints/E/push", "mode", "dsp intel|qualcomm E push --mode M"},
     [](const Parts& p) {
       RequireEmpty(p);
       return Shown(p, {"dsp", p.endpoint, "push"});
     },
     Work::Kind::Push},
    {{"GET", "/api/endpoints/E/drift", "mode", "drift E --mode M"},
     [](const Parts& p) {
       return Shown(p, {"drift", p.endpoint});
     }},
    {{"GET", "/api/endpoints/E/properties", "", "properties E"},
     [](const Parts& p) {
       return Words{"properties", p.endpoint};
     }},
    {{"GET", "/api/endpoints/E/doctor", "", "doctor E --read-only"}, [](const Parts& p) {
       return Words{"doctor", p.endpoint, "--read-only"};
     }}};

// Whether the path has the pattern; takes out what is in the place of E.
bool Fits(std::string_view pattern, std::string_view path, std::string_view& endpoint) {
  while (!pattern.empty() && !path.empty()) {
    const std::string_view expected = pattern.substr(0, pattern.find('/', 1));
    const std::string_view given = path.substr(0, path.find('/', 1));
    if (expected == "/E") {
      endpoint = given.substr(1);
    } else if (expected != given) {
      return false;
    }
    pattern.remove_prefix(expected.size());
    path.remove_prefix(given.size());
  }
  return pattern.empty() && path.empty();
}

struct Found {
  const Entry* entry = nullptr;
  std::string_view endpoint;
};

Found FindEntry(std::string_view method, std::string_view target) {
  const bool is_head = method == "HEAD";
  if (is_head) method = "GET";
  std::string allow;
  for (const Entry& entry : kRoutes) {
    std::string_view endpoint;
    if (!Fits(entry.path, PathOf(target), endpoint)) continue;
    const bool is_stream = entry.kind == Work::Kind::Events;
    if (entry.method == method && !(is_head && is_stream)) return {&entry, endpoint};
    if (!allow.empty()) allow += ", ";
    allow += entry.method == "GET" && !is_stream ? "GET, HEAD" : entry.method;
  }
  if (allow.empty()) throw Refusal{404, "no such request.", ""};
  throw Refusal{405, fmt::format("expected the method {}.", allow), allow};
}

// Members are looked up one by one, so there are few of them, and none has members of its own.
Json ParseBody(std::string_view body) {
  if (body.empty()) return Json::object();
  std::set<std::string> names;
  std::string twice;
  bool is_plain = true;
  const auto take = [&](int depth, Json::parse_event_t event, Json& parsed) {
    using Event = Json::parse_event_t;
    is_plain =
        is_plain && (depth == 0 || (event != Event::object_start && event != Event::array_start));
    if (is_plain && event == Event::key && !names.insert(parsed.get<std::string>()).second)
      twice = parsed.get<std::string>();
    return is_plain && twice.empty() && names.size() <= kMostMembers;
  };
  Json json = Json::parse(body, take, false);
  if (names.size() > kMostMembers)
    throw Refusal{413, fmt::format("the body has more than {} names.", kMostMembers), ""};
  if (!twice.empty())
    Refuse(fmt::format("the body has \"{}\" more than once.", Word(twice, "name")));
  if (!is_plain || !json.is_object()) Refuse("the body is not a JSON object of plain values.");
  return json;
}

// It is kept with the changes, so it is short.
std::string GestureOf(const RequestHead& head) {
  constexpr std::size_t kMost = 64;
  if (head.gesture.size() > kMost ||
      std::ranges::any_of(head.gesture, [](char c) { return c <= ' ' || c > '~'; }))
    Refuse("X-Orvctl-Gesture is a name of up to 64 plain characters.");
  return std::string(head.gesture);
}

Work Plan(const RequestHead& head, std::string_view body) {
  const auto [entry, endpoint] = FindEntry(head.method, head.target);
  const bool reads = OnlyReads(head.method);
  Parts parts;
  parts.query = ParseQuery(QueryOf(head.target), entry->query);
  if (!endpoint.empty() || entry->path.find("/E/") != std::string_view::npos)
    parts.endpoint = EndpointWord(Unescape(endpoint, false));
  const bool is_text = IsMediaType(head.content_type, "text/plain");
  if (!reads && is_text != entry->text)
    throw Refusal{415,
                  fmt::format("expected the content type {}.",
                              entry->text ? "text/plain" : "application/json"),
                  ""};
  if (entry->text) parts.text = body;
  if (!reads && !entry->text) parts.body = ParseBody(body);
  Work work{.kind = entry->kind,
            .words = entry->plan(parts),
            .changes = !reads,
            .text = reads && entry->text,
            .endpoint = parts.endpoint,
            .input = {},
            .gesture = {}};
  if (entry->kind == Work::Kind::Events && parts.query.contains("endpoint"))
    work.endpoint = EndpointWord(parts.query.at("endpoint"));
  if (!reads) {
    work.input = entry->text ? std::string(body) : ListText(parts.body);
    work.gesture = GestureOf(head);
  }
  return work;
}

}  // namespace

std::string_view PathOf(std::string_view target) { return target.substr(0, target.find('?')); }

std::string_view QueryOf(std::string_view target) {
  const std::size_t mark = target.find('?');
  return mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1);
}

void SplitTarget(RequestHead& head) {
  constexpr std::string_view kScheme = "http://";
  if (!EqualsIgnoringCase(head.target.substr(0, kScheme.size()), kScheme)) return;
  head.target.remove_prefix(kScheme.size());
  const std::string_view host = head.target.substr(0, head.target.find('/'));
  if (!EqualsIgnoringCase(host, head.host)) head.host = {};
  head.target.remove_prefix(host.size());
  if (head.target.empty()) head.target = "/";
}

bool IsMediaType(std::string_view header, std::string_view type) {
  constexpr std::string_view kBlanks = " \t";
  std::string_view named = header.substr(0, header.find(';'));
  named.remove_prefix(std::min(named.size(), named.find_first_not_of(kBlanks)));
  named = named.substr(0, named.find_last_not_of(kBlanks) + 1);
  return EqualsIgnoringCase(named, type);
}

std::span<const Route> Routes() {
  static const std::vector<Route> routes(std::begin(kRoutes), std::end(kRoutes));
  return routes;
}

Decoded Decode(const RequestHead& head, std::string_view body) {
  try {
    return Plan(head, body);
  } catch (const Refusal& refusal) {
    return refusal;
  }
}

std::variant<const Route*, Refusal> FindRoute(std::string_view method, std::string_view target) {
  try {
    return FindEntry(method, target).entry;
  } catch (const Refusal& refusal) {
    return refusal;
  }
}

}  // namespace orv::panel
