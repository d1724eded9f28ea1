// What misbehaviour does to a request, the same for every driver.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "simulated/drivers/driver_store.h"

namespace orv {

// Waits when the request is to be late.
void Delay(const std::optional<DriverMisbehaviour>& rule);
// Shortens or corrupts an answer.
void Distort(const std::optional<DriverMisbehaviour>& rule, std::vector<std::byte>& answer);
bool Is(const std::optional<DriverMisbehaviour>& rule, DriverMisbehaviour::Kind kind) noexcept;
// Why a request fails that the machine's description has fail; empty when it does not.
std::string PlannedRefusal(const std::optional<DriverMisbehaviour>& rule);
// Why a request fails whose block cannot be kept.
std::string NotStored(const std::string& reason);
// The system error code that a status stands for.
std::uint32_t SystemErrorOf(std::int32_t status) noexcept;

// A parameter as a driver holds it; `stale`: as it was before the last write.
std::vector<std::byte> HeldParameter(const DriverMemory& memory, const char* driver,
                                     std::uint32_t parameter, std::vector<std::byte> initial,
                                     bool stale);

}  // namespace orv
