// The "drivers" section of machine.json.
#include <fmt/format.h>

#include <algorithm>
#include <span>

#include "platform/driver_names.h"
#include "platform/guid_text.h"
#include "platform/text.h"
#include "simulated/description/json_field.h"
#include "simulated/description/machine_description.h"

namespace orv {
namespace {

using Kind = DriverMisbehaviour::Kind;
using Direction = DriverMisbehaviour::Direction;

// A request of a driver and its direction: Any, or only Get or only Set.
struct RequestFormat {
  std::string_view name;
  Direction direction;
};
using Requests = std::span<const RequestFormat>;
constexpr RequestFormat kSkylakeRequests[] = {
    {request::kParameter, Direction::Any},  {request::kVersion, Direction::Get},
    {request::kModules, Direction::Get},    {request::kStatus, Direction::Any},
    {request::kInstance, Direction::Get},   {request::kRegister, Direction::Set},
    {request::kUnregister, Direction::Set}, {request::kOffloadPin, Direction::Get}};
constexpr RequestFormat kBroadwellRequests[] = {{request::kParameter, Direction::Any},
                                                {request::kVersion, Direction::Get},
                                                {request::kModules, Direction::Get},
                                                {request::kStatus, Direction::Set}};
constexpr RequestFormat kQualcommRequests[] = {{request::kParameter, Direction::Set}};

constexpr JsonField::Named<std::uint32_t> kModuleTypes[] = {{"sfx", 0}, {"mfx", 1}, {"efx", 2}};
constexpr std::size_t kLongestModuleText = 63;  // bytes, in a field of 64
constexpr std::uint32_t kMostInterfaces = 16;
constexpr std::uint32_t kMostListedModules = 256;

// The keys of each kind of misbehaviour, besides those for where and when it happens.
struct KindKeys {
  std::string_view name;
  Kind kind;
  std::string_view needed;  // empty: none
  std::string_view optional;
  bool only_answers;  // makes sense for what is read only
};
constexpr KindKeys kMisbehaviours[] = {{"refuse", Kind::Refuse, "", "status", false},
                                       {"status", Kind::Status, "status", "", false},
                                       {"absent", Kind::Absent, "", "", false},
                                       {"late", Kind::Late, "delay_ms", "", false},
                                       {"short", Kind::Short, "size", "", true},
                                       {"stale", Kind::Stale, "", "", true},
                                       {"corrupt", Kind::Corrupt, "offset", "mask", true},
                                       {"uncounted", Kind::Uncounted, "", "", true}};

const KindKeys& ReadKind(const JsonField& field) {
  std::vector<std::string_view> names;
  for (const KindKeys& kind : kMisbehaviours) {
    if (field.Text() == kind.name) return kind;
    names.push_back(kind.name);
  }
  field.Refuse(JsonField::UnknownName("misbehaviour", field.Text(), names));
}

Direction ReadDirection(const JsonField& field) {
  constexpr JsonField::Named<Direction> kDirections[] = {
      {"any", Direction::Any}, {"get", Direction::Get}, {"set", Direction::Set}};
  return field.Choice(kDirections, "direction");
}

// A request's name, or the identifier of a parameter as a number or "0x10014404".
void ReadRequest(const JsonField& field, Requests requests, DriverMisbehaviour& rule) {
  std::uint32_t number = 0;
  if (field.kind() == JsonField::Kind::Integer) {
    number = field.Number();
  } else if (!JsonField::ParseHexWord(field.Text(), number)) {
    std::vector<std::string_view> names;
    for (const RequestFormat& format : requests) names.push_back(format.name);
    if (std::ranges::find(names, field.Text()) == names.end())
      field.Refuse(JsonField::UnknownName("request", field.Text(), names));
    rule.request = field.Text();
    return;
  }
  rule.request = request::kParameter;
  rule.parameter = number;
}

// Whether the driver has a request that a rule is meant for. Only parameters have a block that can
// be stale.
bool HasRequestFor(const DriverMisbehaviour& rule, Requests requests) {
  return std::ranges::any_of(requests, [&](const RequestFormat& format) {
    const bool same_direction = format.direction == Direction::Any ||
                                rule.direction == Direction::Any ||
                                format.direction == rule.direction;
    return same_direction && (rule.request.empty() || rule.request == format.name) &&
           (rule.kind != Kind::Stale || format.name == request::kParameter);
  });
}

DriverMisbehaviour ReadMisbehaviour(const JsonField& field, Requests requests) {
  if (field.kind() != JsonField::Kind::Object) field.Refuse("expected an object in braces");
  const KindKeys& keys = ReadKind(field.Need("kind"));
  std::vector<std::string_view> known = {"kind", "request", "direction", "nth"};
  for (const std::string_view key : {keys.needed, keys.optional})
    if (!key.empty()) known.push_back(key);
  field.ExpectObject(known);
  if (!keys.needed.empty()) field.Need(std::string(keys.needed));

  DriverMisbehaviour rule;
  rule.kind = keys.kind;
  // The default: a device that is not functioning.
  if (rule.kind == Kind::Refuse) rule.status = static_cast<std::int32_t>(0x8007001F);
  if (const auto request = field.Find("request")) ReadRequest(*request, requests, rule);
  if (const auto direction = field.Find("direction")) rule.direction = ReadDirection(*direction);
  if (keys.only_answers && rule.direction == Direction::Set)
    field.Need("direction").Refuse(fmt::format("only what is read can be {}", keys.name));
  if (keys.only_answers) rule.direction = Direction::Get;
  if (const auto nth = field.Find("nth")) rule.nth = nth->Nth();
  if (const auto status = field.Find("status")) rule.status = status->Status();
  if (const auto delay = field.Find("delay_ms"))
    rule.delay_ms = delay->NumberUpTo(kLongestDriverDelay);
  if (const auto size = field.Find("size")) rule.size = size->Number();
  if (const auto offset = field.Find("offset")) rule.offset = offset->Number();
  if (const auto mask = field.Find("mask")) rule.mask = mask->Byte();
  if (!HasRequestFor(rule, requests))
    field.Refuse("the driver has no request of this kind and direction");
  return rule;
}

std::vector<DriverMisbehaviour> ReadMisbehaviours(const JsonField& driver, Requests requests) {
  std::vector<DriverMisbehaviour> rules;
  if (const auto list = driver.Find("misbehaviour")) {
    for (const JsonField& item : list->Items()) rules.push_back(ReadMisbehaviour(item, requests));
  }
  return rules;
}

std::string ReadModuleText(const JsonField& field) {
  if (field.Text().size() > kLongestModuleText)
    field.Refuse(fmt::format("longer than {} bytes", kLongestModuleText));
  return field.Text();
}

void ReadModule(const JsonField& field, SimulatedModule& module) {
  if (const auto name = field.Find("name")) module.name = ReadModuleText(*name);
  if (const auto version = field.Find("version")) module.version = ReadModuleText(*version);
  if (const auto enabled = field.Find("enabled")) module.enabled = enabled->Boolean();
}

ListedModule ReadListedModule(const JsonField& field) {
  field.ExpectObject({"id", "type", "name", "version"});
  ListedModule module;
  const JsonField id = field.Need("id");
  const auto guid = ParseGuid(id.WideText());
  if (!guid) id.Refuse("expected {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}");
  module.id = *guid;
  if (const auto type = field.Find("type")) module.type = type->Choice(kModuleTypes, "type");
  module.name = ReadModuleText(field.Need("name"));
  module.version = ReadModuleText(field.Need("version"));
  return module;
}

SkylakeEndpoint ReadSkylakeEndpoint(const JsonField& field,
                                    const std::vector<SimulatedEndpoint>& endpoints) {
  field.ExpectObject({"id", "module", "node", "offload_pin"});
  SkylakeEndpoint endpoint;
  const JsonField id = field.Need("id");
  endpoint.id = id.WideText();
  if (std::ranges::none_of(endpoints, [&](const SimulatedEndpoint& other) {
        return EqualsIgnoringCase(other.id, endpoint.id);
      }))
    id.Refuse("no endpoint of this machine has this identifier");
  if (const auto module = field.Find("module")) endpoint.has_module = module->Boolean();
  if (const auto node = field.Find("node")) endpoint.node = node->NumberUpTo(0xFFFF);
  if (const auto pin = field.Find("offload_pin")) endpoint.offload_pin = pin->Number();
  return endpoint;
}

void ReadVersionBytes(const JsonField& field, std::uint8_t& version, std::uint8_t& features) {
  if (const auto number = field.Find("interface_version")) version = number->Byte();
  if (const auto bits = field.Find("features")) features = bits->Byte();
}

SkylakeDescription ReadSkylake(const JsonField& field,
                               const std::vector<SimulatedEndpoint>& endpoints) {
  field.ExpectObject({"endpoints", "interface_version", "features", "revision", "module",
                      "other_modules", "misbehaviour"});
  SkylakeDescription driver;
  for (const JsonField& item : field.Need("endpoints").Items())
    driver.endpoints.push_back(ReadSkylakeEndpoint(item, endpoints));
  ReadVersionBytes(field, driver.interface_version, driver.features);
  if (const auto revision = field.Find("revision")) driver.revision = revision->Byte();
  if (const auto module = field.Find("module")) {
    module->ExpectObject({"name", "version", "enabled", "type", "listed", "instantiated"});
    ReadModule(*module, driver.module);
    if (const auto type = module->Find("type"))
      driver.module_type = type->Choice(kModuleTypes, "type");
    if (const auto listed = module->Find("listed")) driver.module_listed = listed->Boolean();
    if (const auto made = module->Find("instantiated"))
      driver.module_instantiated = made->Boolean();
  }
  if (const auto others = field.Find("other_modules")) {
    for (const JsonField& item : others->Items())
      driver.other_modules.push_back(ReadListedModule(item));
    if (driver.other_modules.size() > kMostListedModules)
      others->Refuse(fmt::format("more than {} modules", kMostListedModules));
  }
  driver.misbehaviour = ReadMisbehaviours(field, kSkylakeRequests);
  return driver;
}

BroadwellDescription ReadBroadwell(const JsonField& field) {
  field.ExpectObject({"interfaces", "interface_version", "features", "module", "misbehaviour"});
  BroadwellDescription driver;
  if (const auto count = field.Find("interfaces"))
    driver.interfaces = count->NumberUpTo(kMostInterfaces);
  ReadVersionBytes(field, driver.interface_version, driver.features);
  if (const auto module = field.Find("module")) {
    module->ExpectObject({"name", "version", "enabled"});
    ReadModule(*module, driver.module);
  }
  driver.misbehaviour = ReadMisbehaviours(field, kBroadwellRequests);
  return driver;
}

QualcommDescription ReadQualcomm(const JsonField& field) {
  field.ExpectObject({"interfaces", "misbehaviour"});
  QualcommDescription driver;
  if (const auto count = field.Find("interfaces"))
    driver.interfaces = count->NumberUpTo(kMostInterfaces);
  driver.misbehaviour = ReadMisbehaviours(field, kQualcommRequests);
  for (std::size_t i = 0; i < driver.misbehaviour.size(); ++i) {
    if (driver.misbehaviour[i].kind == Kind::Status)
      field.Need("misbehaviour")
          .Items()[i]
          .Need("kind")
          .Refuse("this driver answers nothing: it can refuse, be absent or be late");
  }
  return driver;
}

}  // namespace

DriversDescription ReadDrivers(const JsonField& field,
                               const std::vector<SimulatedEndpoint>& endpoints) {
  field.ExpectObject({kSkylakeDriver, kBroadwellDriver, kQualcommDriver});
  DriversDescription drivers;
  if (const auto skylake = field.Find(kSkylakeDriver))
    drivers.skylake = ReadSkylake(*skylake, endpoints);
  if (const auto broadwell = field.Find(kBroadwellDriver))
    drivers.broadwell = ReadBroadwell(*broadwell);
  if (const auto qualcomm = field.Find(kQualcommDriver)) drivers.qualcomm = ReadQualcomm(*qualcomm);
  return drivers;
}

}  // namespace orv
