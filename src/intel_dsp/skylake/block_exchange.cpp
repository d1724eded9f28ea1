#include <algorithm>
#include <numeric>

#include "intel_dsp/skylake/blocks.h"
#include "platform/diagnostics.h"

namespace orv::skylake {
namespace {

// By the index of the block.
using Blocks = std::array<BlockBytes, kBlocks.size()>;

// What each writer built last. Writers are used one at a time.
Blocks cache{};

// `size` bytes of a block from `offset` on.
struct ImageSegment {
  std::uint32_t parameter;
  std::size_t offset;
  std::size_t size;
};
constexpr ImageSegment WholeBlock(std::uint32_t parameter) {
  return {parameter, 0, BlockOf(parameter).size};
}

// An image in its order. The first block's last field, the high-pass switch, comes further down.
constexpr std::array kImageSegments = {
    ImageSegment{kVQ3D, 0, kHighPassSwitch.offset},
    WholeBlock(kEVolHD),
    WholeBlock(kVocalift),
    WholeBlock(kPX3D),
    WholeBlock(kMXHP),
    WholeBlock(kCommon),
    WholeBlock(kGEQ),
    ImageSegment{kVQ3D, kHighPassSwitch.offset, FieldWidth(kHighPassSwitch.type)},
    WholeBlock(kAEQ),
    WholeBlock(kMasterVolume),
    WholeBlock(kHardLimiter),
    WholeBlock(kTone),
    WholeBlock(kAdvancedGains),
};
static_assert(std::accumulate(kImageSegments.begin(), kImageSegments.end(), std::size_t{0},
                              [](std::size_t size, const ImageSegment& segment) {
                                return size + segment.size;
                              }) == kSkylakeImageSize);

SkylakeImage ImageOf(const Blocks& blocks) {
  SkylakeImage image{};
  auto next = image.begin();
  for (const ImageSegment& segment : kImageSegments) {
    const std::span block(blocks[BlockIndex(segment.parameter)]);
    next = std::ranges::copy(block.subspan(segment.offset, segment.size), next).out;
  }
  return image;
}

HRESULT SendCoefficients(SkylakeDriver& driver, const CoefficientWrite& coefficients,
                         std::uint8_t apply, const char* operation) {
  std::array<std::byte, sizeof coefficients.words> bytes{};
  for (std::size_t i = 0; i < coefficients.count; ++i)
    StoreField(bytes, 4 * i, FieldType::I32, coefficients.words[i]);
  const HRESULT status = SendParameter(driver, coefficients.parameter,
                                       std::span(bytes).first(4 * coefficients.count), apply);
  ShowtOpStatus(SUCCEEDED(status), SkylakeBlockName(coefficients.parameter).c_str(), operation);
  return status;
}

}  // namespace

HRESULT ReadParameter(SkylakeDriver& driver, std::uint32_t parameter, std::span<std::byte> bytes,
                      std::uint8_t apply) {
  HRESULT status = E_FAIL;
  const bool succeeded = driver.GetParameter(status, parameter, bytes.data(),
                                             static_cast<std::uint32_t>(bytes.size()), apply);
  return StatusOf(succeeded, status);
}

HRESULT SendParameter(SkylakeDriver& driver, std::uint32_t parameter,
                      std::span<const std::byte> bytes, std::uint8_t apply) {
  HRESULT status = E_FAIL;
  const bool succeeded = driver.SetParameter(status, parameter, bytes.data(),
                                             static_cast<std::uint32_t>(bytes.size()), apply);
  return StatusOf(succeeded, status);
}

HRESULT ReadBlock(SkylakeDriver& driver, const Block& block, BlockBytes& bytes,
                  std::uint8_t apply) {
  BlockBytes read{};
  const HRESULT status =
      ReadParameter(driver, block.parameter, std::span(read).first(block.size), apply);
  if (SUCCEEDED(status)) bytes = read;
  return status;
}

HRESULT WriteBlock(SkylakeDriver& driver, const Block& block, const BlockBytes& bytes,
                   const std::optional<CoefficientWrite>& coefficients, std::uint8_t apply,
                   const char* operation) {
  RememberBlock(block, bytes);
  if (!InRange(block, bytes)) throw BlockOutOfRange();
  if (coefficients) {
    const HRESULT status = SendCoefficients(driver, *coefficients, apply, operation);
    if (FAILED(status)) return status;
  }
  const HRESULT status =
      SendParameter(driver, block.parameter, std::span(bytes).first(block.size), apply);
  ShowtOpStatus(SUCCEEDED(status), block.name, operation);
  return status;
}

void RememberBlock(const Block& block, const BlockBytes& bytes) noexcept {
  cache[BlockIndex(block.parameter)] = bytes;
}

}  // namespace orv::skylake

namespace orv {

using namespace skylake;

void ShowtOpStatus(bool success, const char* block, const char* operation) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_SKL::ShowtOpStatus");
  if (success)
    Diagnose(site, L"OK: [%S] %S() succeeded.", operation, block);
  else
    Diagnose(site, L"Error: [%S] %S() failed.", operation, block);
}

void KELAPOIntelDSP_SKL::ClearCache() { cache = {}; }

SkylakeImage KELAPOIntelDSP_SKL::CachedImage() { return ImageOf(cache); }

bool KELAPOIntelDSP_SKL::CachedProcessEnable() {
  const BlockBytes& bytes = cache[BlockIndex(kVQ3D)];
  return ReadField(bytes, kProcessEnable.offset, kProcessEnable.type) != 0;
}

HRESULT KELAPOIntelDSP_SKL::GetVQ3DParameters(SkylakeImage& image) {
  Blocks held{};
  HRESULT status = E_FAIL;
  for (const Block& block : kBlocks) {
    status = ReadBlock(driver_, block, held[BlockIndex(block.parameter)], 0);
    ShowtOpStatus(SUCCEEDED(status), block.name, "GetVQ3DParameters");
  }
  image = ImageOf(held);
  return status;
}

HRESULT KELAPOIntelDSP_SKL::ReadProcessEnable(bool& enabled, std::uint8_t apply) {
  BlockBytes bytes{};
  const HRESULT status = ReadBlock(driver_, BlockOf(kVQ3D), bytes, apply);
  if (SUCCEEDED(status))
    enabled = ReadField(bytes, kProcessEnable.offset, kProcessEnable.type) != 0;
  return status;
}

}  // namespace orv
