#include "support/reference_data.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/hex.hpp>
#include <fstream>
#include <map>
#include <stdexcept>

namespace orv {
namespace {

std::int64_t SignedNumber(std::span<const std::byte> bytes, std::size_t offset, std::size_t width) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < width; ++i)
    number |= std::to_integer<std::uint64_t>(bytes[offset + i]) << (8 * i);
  const unsigned unused = static_cast<unsigned>(64 - 8 * width);
  return static_cast<std::int64_t>(number << unused) >> unused;
}

}  // namespace

const nlohmann::json& ReferenceData(const std::string& file) {
  static std::map<std::string, nlohmann::json> contents;
  nlohmann::json& content = contents[file];
  if (!content.is_null()) return content;
  std::ifstream stream(std::string(ORV_TEST_DATA) + "/" + file);
  if (!stream) throw std::runtime_error("tests/data/" + file + " cannot be opened");
  return content = nlohmann::json::parse(stream);
}

std::vector<std::byte> BytesOfHex(const std::string& digits) {
  std::string bytes;
  boost::algorithm::unhex(digits, std::back_inserter(bytes));
  const auto view = std::as_bytes(std::span(bytes));
  return {view.begin(), view.end()};
}

std::string DifferenceFrom(const nlohmann::json& expected, std::span<const std::byte> bytes) {
  const std::vector<std::byte> wanted = BytesOfHex(expected.at("bytes"));
  if (wanted.size() != bytes.size())
    return fmt::format("{} bytes instead of {}", bytes.size(), wanted.size());
  std::vector<bool> compared(bytes.size());
  for (const auto& range : expected.value("open", nlohmann::json::array()))
    std::fill_n(compared.begin() + range.at(0).get<int>(), range.at(1).get<int>(), true);
  for (const auto& field : expected.value("tol_lsb", nlohmann::json::array())) {
    const std::size_t offset = field.at(0);
    const std::size_t width = field.at(1);
    const std::int64_t want = SignedNumber(wanted, offset, width);
    const std::int64_t have = SignedNumber(bytes, offset, width);
    if (std::abs(want - have) > field.at(2).get<std::int64_t>())
      return fmt::format("at offset {}: {} instead of {}", offset, have, want);
    std::fill_n(compared.begin() + static_cast<std::ptrdiff_t>(offset), width, true);
  }
  for (std::size_t i = 0; i < bytes.size(); ++i)
    if (!compared[i] && wanted[i] != bytes[i])
      return fmt::format("at offset {}: byte {} instead of {}", i, std::to_integer<int>(bytes[i]),
                         std::to_integer<int>(wanted[i]));
  return {};
}

std::string DifferenceFrom(const nlohmann::json& blocks,
                           const std::vector<DriverRecord>& received) {
  for (std::size_t i = 0; i < blocks.size() && i < received.size(); ++i) {
    const std::string id = blocks[i].at("id");
    if (received[i].parameter != ParameterOf(id))
      return fmt::format("{} instead of block {}", received[i].parameter, id);
    if (blocks[i].value("apply", received[i].selector) != received[i].selector)
      return fmt::format("block {} with selector {}", id, received[i].selector);
    if (!blocks[i].contains("bytes")) continue;
    const std::string difference = DifferenceFrom(blocks[i], received[i].bytes);
    if (!difference.empty()) return fmt::format("block {} {}", id, difference);
  }
  if (received.size() == blocks.size()) return {};
  return fmt::format("{} blocks instead of {}", received.size(), blocks.size());
}

std::uint32_t ParameterOf(const std::string& id) {
  return static_cast<std::uint32_t>(std::stoul(id, nullptr, 0));
}

}  // namespace orv
