// Control blocks between the cache, the driver and images.
#include <algorithm>
#include <numeric>

#include "intel_dsp/skylake/blocks.h"
#include "intel_dsp/skylake/writers.h"
#include "platform/diagnostics.h"

namespace orv::skylake {
namespace {

// By the index of the block.
using Blocks = std::array<BlockBytes, kBlocks.size()>;

// The last block of each writer. Writers run one at a time.
Blocks cache{};

// The order of the blocks in an image. The last field of the first one, the high-pass switch, comes
// after the graphic equaliser.
constexpr std::uint32_t kImageOrder[] = {kVQ3D,         kEVolHD,      kVocalift, kPX3D,
                                         kMXHP,         kCommon,      kGEQ,      kAEQ,
                                         kMasterVolume, kHardLimiter, kTone,     kAdvancedGains};
static_assert(std::accumulate(kBlocks.begin(), kBlocks.end(), std::size_t{0},
                              [](std::size_t size, const Block& block) {
                                return size + block.size;
                              }) == kSkylakeImageSize);

SkylakeImage ImageOf(const Blocks& blocks) {
  SkylakeImage image{};
  auto next = image.begin();
  const auto append = [&](std::uint32_t parameter, std::size_t begin, std::size_t end) {
    const std::span block(blocks[BlockIndex(parameter)]);
    next = std::ranges::copy(block.subspan(begin, end - begin), next).out;
  };
  for (const std::uint32_t parameter : kImageOrder) {
    append(parameter, 0, parameter == kVQ3D ? kHighPassSwitch.offset : BlockOf(parameter).size);
    if (parameter == kGEQ) append(kVQ3D, kHighPassSwitch.offset, BlockOf(kVQ3D).size);
  }
  return image;
}

bool ProcessEnableOf(const BlockBytes& bytes) { return kProcessEnable.Read(bytes) != 0; }

// Reports the first field whose number is outside its range.
void RequireInRange(const Block& block, const BlockBytes& bytes) {
  const Field* const field = records::FindOutOfRange(block.fields, bytes);
  if (field == nullptr) return;
  Diagnose(ORV_HERE(block.writer), L"%s: %lld is not within %lld...%lld\n", field->control,
           static_cast<long long>(field->Read(bytes)), static_cast<long long>(field->low),
           static_cast<long long>(field->high));
  throw BlockOutOfRange();
}

HRESULT SendCoefficients(SkylakeDriver& driver, const CoefficientWrite& coefficients,
                         std::uint8_t apply, const char* operation) {
  std::vector<std::byte> bytes(4 * coefficients.words.size());
  for (std::size_t i = 0; i < coefficients.words.size(); ++i)
    StoreField(bytes, 4 * i, FieldType::I32, coefficients.words[i]);
  const HRESULT status = SendParameter(driver, coefficients.parameter, bytes, apply);
  ReportOperation(SUCCEEDED(status), BlockName(coefficients.parameter).c_str(), operation);
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

HRESULT SendBlock(SkylakeDriver& driver, const Block& block, const BlockBytes& bytes,
                  std::uint8_t apply, const char* operation) {
  const HRESULT status =
      SendParameter(driver, block.parameter, std::span(bytes).first(block.size), apply);
  ReportOperation(SUCCEEDED(status), block.name, operation);
  return status;
}

HRESULT WriteBlock(SkylakeDriver& driver, const Block& block, const BlockBytes& bytes,
                   const std::optional<CoefficientWrite>& coefficients, std::uint8_t apply,
                   const char* operation) {
  RememberBlock(block, bytes);
  RequireInRange(block, bytes);
  if (coefficients) {
    const HRESULT status = SendCoefficients(driver, *coefficients, apply, operation);
    if (FAILED(status)) return status;
  }
  return SendBlock(driver, block, bytes, apply, operation);
}

void RememberBlock(const Block& block, const BlockBytes& bytes) noexcept {
  cache[BlockIndex(block.parameter)] = bytes;
}

void ReportOperation(bool success, const char* block, const char* operation) {
  Diagnose(ORV_HERE("KELAPOIntelDSP_SKL::ShowtOpStatus"),
           success ? L"OK: [%S] %S() succeeded." : L"Error: [%S] %S() failed.", operation, block);
}

void KELAPOIntelDSP_SKL::ClearCache() { cache = {}; }

SkylakeImage KELAPOIntelDSP_SKL::CachedImage() { return ImageOf(cache); }

bool KELAPOIntelDSP_SKL::CachedProcessEnable() { return ProcessEnableOf(cache[BlockIndex(kVQ3D)]); }

HRESULT KELAPOIntelDSP_SKL::GetVQ3DParameters(SkylakeImage& image) {
  Blocks held{};
  HRESULT status = E_FAIL;
  for (const Block& block : kBlocks) {
    status = ReadBlock(driver_, block, held[BlockIndex(block.parameter)], 0);
    ReportOperation(SUCCEEDED(status), block.name, "GetVQ3DParameters");
  }
  image = ImageOf(held);
  return status;
}

HRESULT KELAPOIntelDSP_SKL::ReadProcessEnable(bool& enabled, std::uint8_t apply) {
  BlockBytes bytes{};
  const HRESULT status = ReadBlock(driver_, BlockOf(kVQ3D), bytes, apply);
  if (SUCCEEDED(status)) enabled = ProcessEnableOf(bytes);
  return status;
}

}  // namespace orv::skylake
