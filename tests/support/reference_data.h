// Expected values of an independent implementation (tests/data, described in its README.md).
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "simulated/drivers/driver_memory.h"

namespace orv {

// The content of tests/data/FILE, kept until the program ends; the test ends with an exception if
// it cannot be read.
const nlohmann::json& ReferenceData(const std::string& file);

std::vector<std::byte> BytesOfHex(const std::string& digits);

// The first place where `bytes` is not what `expected` allows; empty text if there is none.
// `expected` has "bytes", and may have "open" and "tol_lsb" as the README describes them.
std::string DifferenceFrom(const nlohmann::json& expected, std::span<const std::byte> bytes);

// The same of blocks in their order, each with "id", and with "apply" and "bytes" if they matter.
std::string DifferenceFrom(const nlohmann::json& blocks, const std::vector<DriverRecord>& received);
// The number that an "id" writes.
std::uint32_t ParameterOf(const std::string& id);

}  // namespace orv
