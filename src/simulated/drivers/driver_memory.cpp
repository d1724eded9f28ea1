#include "simulated/drivers/driver_memory.h"

#include <boost/algorithm/hex.hpp>
#include <nlohmann/json.hpp>

#include "simulated/description/json_field.h"

namespace orv {
namespace {

using Json = nlohmann::ordered_json;

template <class Item>
void Append(std::vector<Item>& list, Item item) {
  if (list.size() >= DriverMemory::kKeptRecords) list.erase(list.begin());
  list.push_back(std::move(item));
}

std::string Hex(const std::vector<std::byte>& bytes) {
  const auto* begin = reinterpret_cast<const unsigned char*>(bytes.data());
  std::string text;
  boost::algorithm::hex_lower(begin, begin + bytes.size(), std::back_inserter(text));
  return text;
}

template <class Value>
Json Object(const std::pair<const std::string, Value>& number) {
  return {{"name", number.first}, {"value", number.second}};
}

Json Object(const std::pair<const std::pair<std::string, std::uint32_t>, HeldBlock>& item) {
  return {{"driver", item.first.first},
          {"parameter", item.first.second},
          {"now", Hex(item.second.now)},
          {"before", Hex(item.second.before)}};
}

Json Object(const DriverRecord& record) {
  return {{"number", record.number},
          {"driver", record.driver},
          {"parameter", record.parameter},
          {"selector", record.selector},
          {"bytes", Hex(record.bytes)}};
}

Json Object(const DriverRefusal& refusal) {
  return {{"number", refusal.number},       {"driver", refusal.driver},
          {"request", refusal.request},     {"reason", refusal.reason},
          {"parameter", refusal.parameter}, {"planned", refusal.planned}};
}

template <class Items>
Json List(const Items& items) {
  Json list = Json::array();
  for (const auto& item : items) list.push_back(Object(item));
  return list;
}

std::vector<std::byte> ReadBytes(const JsonField& field) {
  std::vector<std::byte> bytes;
  for (const std::uint8_t byte : field.Hex()) bytes.push_back(std::byte{byte});
  return bytes;
}

template <class Value>
void ReadNumbers(const JsonField& field, std::uint32_t most, std::map<std::string, Value>& map) {
  for (const JsonField& item : field.Items()) {
    item.ExpectObject({"name", "value"});
    map[item.Need("name").Text()] = static_cast<Value>(item.Need("value").NumberUpTo(most));
  }
}

DriverMemory ReadMemory(const JsonField& field, std::uint64_t& change) {
  field.ExpectObject(
      {"change", "requests", "enabled", "selections", "signals", "blocks", "received", "refused"});
  DriverMemory memory;
  change = field.Need("change").Number();
  ReadNumbers(field.Need("enabled"), 0xFF, memory.enabled);
  ReadNumbers(field.Need("selections"), 0xFFFFFFFF, memory.selections);
  ReadNumbers(field.Need("signals"), 0xFFFFFFFF, memory.signals);
  for (const JsonField& item : field.Need("blocks").Items()) {
    item.ExpectObject({"driver", "parameter", "now", "before"});
    HeldBlock& block = memory.blocks[{item.Need("driver").Text(), item.Need("parameter").Number()}];
    block.now = ReadBytes(item.Need("now"));
    block.before = ReadBytes(item.Need("before"));
  }
  for (const JsonField& item : field.Need("received").Items()) {
    item.ExpectObject({"number", "driver", "parameter", "selector", "bytes"});
    Append(memory.received,
           DriverRecord{item.Need("driver").Text(), item.Need("parameter").Number(),
                        item.Need("selector").Number(), ReadBytes(item.Need("bytes")),
                        item.Need("number").Number()});
  }
  for (const JsonField& item : field.Need("refused").Items()) {
    item.ExpectObject({"number", "driver", "request", "reason", "parameter", "planned"});
    Append(memory.refused,
           DriverRefusal{item.Need("driver").Text(), item.Need("request").Text(),
                         item.Need("reason").Text(), item.Need("parameter").Number(),
                         item.Need("planned").Boolean(), item.Need("number").Number()});
  }
  memory.requests = field.Need("requests").Number();
  return memory;
}

}  // namespace

void DriverMemory::Receive(DriverRecord record) {
  record.number = ++requests;
  std::vector<std::byte> bytes = record.bytes;
  received.reserve(kKeptRecords);
  HeldBlock& block = blocks[{record.driver, record.parameter}];
  Append(received, std::move(record));
  block.before = std::exchange(block.now, std::move(bytes));
}

void DriverMemory::Refuse(DriverRefusal refusal) {
  refusal.number = ++requests;
  Append(refused, std::move(refusal));
}

const HeldBlock* DriverMemory::Held(const std::string& driver, std::uint32_t parameter) const {
  const auto held = blocks.find({driver, parameter});
  return held == blocks.end() ? nullptr : &held->second;
}

bool DriverMemory::IsEnabled(const std::string& driver, const SimulatedModule& module) const {
  const auto set = enabled.find(driver);
  return set == enabled.end() ? module.enabled : set->second != 0;
}

std::string EncodeDriverMemory(const DriverMemory& memory, std::uint64_t change) {
  const Json content = {{"change", change},
                        {"requests", memory.requests},
                        {"enabled", List(memory.enabled)},
                        {"selections", List(memory.selections)},
                        {"signals", List(memory.signals)},
                        {"blocks", List(memory.blocks)},
                        {"received", List(memory.received)},
                        {"refused", List(memory.refused)}};
  return content.dump(1, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::optional<DriverMemory> DecodeDriverMemory(std::string_view text, std::uint64_t& change,
                                               FileError& error) {
  return ReadJson(text, {}, error,
                  [&](const JsonField& field) { return ReadMemory(field, change); });
}

}  // namespace orv
