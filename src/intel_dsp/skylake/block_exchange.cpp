#include "intel_dsp/skylake/block_exchange.h"

#include <algorithm>

#include "intel_dsp/skylake/block_fields.h"
#include "intel_dsp/skylake/block_image.h"
#include "platform/diagnostics.h"

namespace orv {
namespace {

// What each writer built last, by the index of its block. Writers are used one at a time.
std::array<BlockBytes, kSkylakeBlocks.size()> cache{};

HRESULT Outcome(bool succeeded, HRESULT status) {
  return succeeded || FAILED(status) ? status : E_FAIL;
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
  return Outcome(succeeded, status);
}

HRESULT SendParameter(SkylakeDriver& driver, std::uint32_t parameter,
                      std::span<const std::byte> bytes, std::uint8_t apply) {
  HRESULT status = E_FAIL;
  const bool succeeded = driver.SetParameter(status, parameter, bytes.data(),
                                             static_cast<std::uint32_t>(bytes.size()), apply);
  return Outcome(succeeded, status);
}

HRESULT ReadBlock(SkylakeDriver& driver, const SkylakeBlock& block, BlockBytes& bytes,
                  std::uint8_t apply) {
  BlockBytes read{};
  const HRESULT status =
      ReadParameter(driver, block.parameter, std::span(read).first(block.size), apply);
  if (SUCCEEDED(status)) bytes = read;
  return status;
}

HRESULT WriteBlock(SkylakeDriver& driver, const SkylakeBlock& block, const BlockBytes& bytes,
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

void RememberBlock(const SkylakeBlock& block, const BlockBytes& bytes) noexcept {
  cache[BlockIndex(block.parameter)] = bytes;
}

void ShowtOpStatus(bool success, const char* block, const char* operation) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_SKL::ShowtOpStatus");
  if (success)
    Diagnose(site, L"OK: [%S] %S() succeeded.", operation, block);
  else
    Diagnose(site, L"Error: [%S] %S() failed.", operation, block);
}

void KELAPOIntelDSP_SKL::ClearCache() { cache = {}; }

SkylakeImage KELAPOIntelDSP_SKL::CachedImage() {
  SkylakeImage image{};
  auto next = image.begin();
  for (const ImageSegment& segment : kImageSegments) {
    const BlockBytes& bytes = cache[BlockIndex(segment.parameter)];
    next = std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(segment.offset), segment.size,
                       next);
  }
  return image;
}

bool KELAPOIntelDSP_SKL::CachedProcessEnable() {
  const BlockBytes& bytes = cache[BlockIndex(kSkylakeVQ3D)];
  return ReadField(bytes, kProcessEnable.offset, kProcessEnable.type) != 0;
}

HRESULT KELAPOIntelDSP_SKL::GetVQ3DParameters(SkylakeImage& image) {
  image = {};
  HRESULT status = E_FAIL;
  for (const SkylakeBlock& block : kSkylakeBlocks) {
    BlockBytes bytes{};
    status = ReadBlock(driver_, block, bytes, 0);
    ShowtOpStatus(SUCCEEDED(status), block.name, "GetVQ3DParameters");
    auto place = image.begin();
    for (const ImageSegment& segment : kImageSegments) {
      const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(segment.offset);
      if (segment.parameter == block.parameter) std::copy_n(from, segment.size, place);
      place += static_cast<std::ptrdiff_t>(segment.size);
    }
  }
  return status;
}

HRESULT KELAPOIntelDSP_SKL::GetVQ3DBlock(std::span<std::byte> block, std::uint8_t apply) {
  const SkylakeBlock& vq3d = BlockOf(kSkylakeVQ3D);
  if (block.size() < vq3d.size) return E_INVALIDARG;
  BlockBytes bytes{};
  const HRESULT status = ReadBlock(driver_, vq3d, bytes, apply);
  if (SUCCEEDED(status)) std::copy_n(bytes.begin(), vq3d.size, block.begin());
  return status;
}

}  // namespace orv
