#include "simulated/drivers/driver_exchange.h"

#include <fmt/format.h>

#include <chrono>
#include <thread>

namespace orv {

std::uint32_t SystemErrorOf(std::int32_t status) noexcept {
  const auto bits = static_cast<std::uint32_t>(status);
  return (bits >> 16) == 0x8007 ? bits & 0xFFFF : bits;
}

bool DriverExchange::IsPlannedToFail(const std::vector<DriverMisbehaviour>& rules) {
  rule_ = store_.Due(rules, request_);
  if (Is(Kind::Late)) std::this_thread::sleep_for(std::chrono::milliseconds(rule_->delay_ms));
  std::string reason;
  if (Is(Kind::Absent))
    reason = "the machine's description leaves it out";
  else if (Is(Kind::Refuse) || (Is(Kind::Status) && rule_->status < 0))
    reason = fmt::format("the machine's description refuses it with 0x{:X}",
                         static_cast<std::uint32_t>(rule_->status));
  if (!reason.empty()) store_.NoteRefusal(request_, reason, true);
  return !reason.empty();
}

void DriverExchange::Distort(Bytes& answer) const {
  if (Is(Kind::Short) && rule_->size < answer.size()) answer.resize(rule_->size);
  if (Is(Kind::Corrupt) && rule_->offset < answer.size())
    answer[rule_->offset] ^= std::byte{rule_->mask};
}

std::optional<bool> DriverExchange::IsEnabled(const SimulatedModule& module) {
  std::optional<bool> enabled;
  store_.Read(
      [&](const DriverMemory& memory) { enabled = memory.IsEnabled(request_.driver, module); });
  return enabled;
}

std::optional<DriverExchange::Bytes> DriverExchange::Held(const BlockFormat& format) {
  std::optional<Bytes> block;
  store_.Read([&](const DriverMemory& memory) {
    if (const HeldBlock* held = memory.Held(request_.driver, request_.parameter))
      block = Is(Kind::Stale) ? held->before : held->now;
    if (!block || block->empty()) block = format.Initial();
  });
  return block;
}

std::string DriverExchange::Keep(const DriverStore::Body& body) {
  std::string reason;
  if (store_.Change(body, reason)) return {};
  return "the machine's folder cannot be written: " + reason;
}

std::string DriverExchange::Receive(std::uint32_t selector, std::span<const std::byte> block) {
  DriverRecord record{request_.driver, request_.parameter, selector, {block.begin(), block.end()}};
  return Keep([&](DriverMemory& memory) { memory.Receive(std::move(record)); });
}

}  // namespace orv
