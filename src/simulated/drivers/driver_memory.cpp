#include "simulated/drivers/driver_memory.h"

#include <nlohmann/json.hpp>

#include "simulated/description/json_field.h"

namespace orv {
namespace {

template <class Item>
void Append(std::vector<Item>& list, Item item) {
  if (list.size() >= DriverMemory::kKeptRecords) list.erase(list.begin());
  list.push_back(std::move(item));
}

std::string Hex(const std::vector<std::byte>& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::byte byte : bytes) {
    text += kDigits[std::to_integer<unsigned>(byte) >> 4];
    text += kDigits[std::to_integer<unsigned>(byte) & 15];
  }
  return text;
}

std::string Quoted(const std::string& text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// Writes a list with one item a line.
template <class Items, class Line>
void WriteList(std::string& text, const char* name, const Items& items, Line&& line) {
  text += std::string(",\n\"") + name + "\": [";
  const char* separator = "\n";
  for (const auto& item : items) {
    text += separator;
    line(item);
    separator = ",\n";
  }
  text += "]";
}

template <class Value>
void WriteNumbers(std::string& text, const char* name, const std::map<std::string, Value>& map) {
  WriteList(text, name, map, [&](const auto& entry) {
    text +=
        "{\"name\": " + Quoted(entry.first) + ", \"value\": " + std::to_string(entry.second) + "}";
  });
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

bool DriverMemory::IsEnabled(const char* driver, const SimulatedModule& module) const {
  const auto set = enabled.find(driver);
  return set == enabled.end() ? module.enabled : set->second != 0;
}

std::string EncodeDriverMemory(const DriverMemory& memory, std::uint64_t change) {
  std::string text = "{\"change\": " + std::to_string(change);
  text += ",\n\"requests\": " + std::to_string(memory.requests);
  WriteNumbers(text, "enabled", memory.enabled);
  WriteNumbers(text, "selections", memory.selections);
  WriteNumbers(text, "signals", memory.signals);
  WriteList(text, "blocks", memory.blocks, [&](const auto& entry) {
    text += "{\"driver\": " + Quoted(entry.first.first) +
            ", \"parameter\": " + std::to_string(entry.first.second) + ", \"now\": \"" +
            Hex(entry.second.now) + "\", \"before\": \"" + Hex(entry.second.before) + "\"}";
  });
  WriteList(text, "received", memory.received, [&](const DriverRecord& record) {
    text += "{\"number\": " + std::to_string(record.number) +
            ", \"driver\": " + Quoted(record.driver) +
            ", \"parameter\": " + std::to_string(record.parameter) +
            ", \"selector\": " + std::to_string(record.selector) + ", \"bytes\": \"" +
            Hex(record.bytes) + "\"}";
  });
  WriteList(text, "refused", memory.refused, [&](const DriverRefusal& refusal) {
    text += "{\"number\": " + std::to_string(refusal.number) +
            ", \"driver\": " + Quoted(refusal.driver) +
            ", \"request\": " + Quoted(refusal.request) +
            ", \"reason\": " + Quoted(refusal.reason) +
            ", \"parameter\": " + std::to_string(refusal.parameter) +
            ", \"planned\": " + (refusal.planned ? "true" : "false") + "}";
  });
  return text + "}\n";
}

std::optional<DriverMemory> DecodeDriverMemory(std::string_view text, std::uint64_t& change,
                                               FileError& error) {
  const auto content = ParseLocatedJson(text, error);
  if (!content) return std::nullopt;
  try {
    return ReadMemory(JsonField(*content, {}), change);
  } catch (JsonRefusal& refusal) {
    error.line = refusal.line;
    error.reason = std::move(refusal.reason);
    return std::nullopt;
  }
}

}  // namespace orv
