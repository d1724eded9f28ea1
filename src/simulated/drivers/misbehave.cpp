#include "simulated/drivers/misbehave.h"

#include <chrono>
#include <thread>

#include "simulated/drivers/block_format.h"

namespace orv {
namespace {

using Kind = DriverMisbehaviour::Kind;

}  // namespace

bool Is(const std::optional<DriverMisbehaviour>& rule, DriverMisbehaviour::Kind kind) noexcept {
  return rule && rule->kind == kind;
}

void Delay(const std::optional<DriverMisbehaviour>& rule) {
  if (Is(rule, Kind::Late)) std::this_thread::sleep_for(std::chrono::milliseconds(rule->delay_ms));
}

void Distort(const std::optional<DriverMisbehaviour>& rule, std::vector<std::byte>& answer) {
  if (Is(rule, Kind::Short) && rule->size < answer.size()) answer.resize(rule->size);
  if (Is(rule, Kind::Corrupt) && rule->offset < answer.size())
    answer[rule->offset] ^= std::byte{rule->mask};
}

std::string PlannedRefusal(const std::optional<DriverMisbehaviour>& rule) {
  if (Is(rule, Kind::Absent)) return "the machine's description leaves it out";
  if (!Is(rule, Kind::Refuse) && !(Is(rule, Kind::Status) && rule->status < 0)) return {};
  return "the machine's description refuses it with " +
         HexNumber(static_cast<std::uint32_t>(rule->status));
}

std::string NotStored(const std::string& reason) {
  return "the machine's folder cannot be written: " + reason;
}

std::uint32_t SystemErrorOf(std::int32_t status) noexcept {
  const auto bits = static_cast<std::uint32_t>(status);
  return (bits >> 16) == 0x8007 ? bits & 0xFFFF : bits;
}

std::vector<std::byte> HeldParameter(const DriverMemory& memory, const char* driver,
                                     std::uint32_t parameter, std::vector<std::byte> initial,
                                     bool stale) {
  const auto held = memory.blocks.find({driver, parameter});
  if (held == memory.blocks.end()) return initial;
  if (!stale) return held->second.now;
  return held->second.before.empty() ? initial : held->second.before;
}

}  // namespace orv
