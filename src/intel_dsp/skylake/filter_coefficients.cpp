#include "intel_dsp/skylake/filter_coefficients.h"

#include <new>
#include <utility>

#include "dsp_math/filter_design.h"
#include "intel_dsp/conversion/converters.h"
#include "records/layout.h"

namespace orv {
namespace {

constexpr const char* kWriter = "SetVQ3DFilterCoeff";

class BlockBuilder {
 public:
  explicit BlockBuilder(std::size_t capacity)
      : capacity_(capacity), bytes_(new (std::nothrow) std::byte[capacity]()) {
    if (bytes_ == nullptr) throw IntelException(kWriter, "malloc failed");
  }

  void Append(std::int32_t word) {
    if (used_ + sizeof word > capacity_) throw IntelException(kWriter, "block is full");
    StoreField({bytes_.get(), capacity_}, used_, FieldType::I32, word);
    used_ += sizeof word;
  }
  void Append(const std::vector<std::int32_t>& words, std::size_t count) {
    VerifyPointers(bytes_.get() + used_, words.data());
    if (words.size() != count) throw IntelException(kWriter, "set does not fit its order");
    for (const std::int32_t word : words) Append(word);
  }
  FilterBlock Finish(std::size_t trailer) {
    if (used_ + trailer > capacity_) throw IntelException(kWriter, "block is full");
    return {std::move(bytes_), used_ + trailer};
  }

 private:
  std::size_t capacity_;
  std::unique_ptr<std::byte[]> bytes_;
  std::size_t used_ = 0;
};

void VerifyOrders(const FilterCoefficients& filter) {
  if (!filter.equalizer) return;
  VerifyFilterOrder(filter.iir_order, 0, kMostIirOrder);
  VerifyFilterOrder(std::int64_t{filter.fir_length} + 1, 0, kMostFirTaps);
}

void AppendEqualizerHeader(BlockBuilder& block, const FilterCoefficients& filter) {
  block.Append(filter.equalizer ? 1 : 0);
  block.Append(filter.equalizer ? filter.iir_order : 0);
  const std::int32_t fir_length = filter.fir_length > 0 ? filter.fir_length : -1;
  block.Append(filter.equalizer ? fir_length : 0);
}

void AppendEqualizer(BlockBuilder& block, const FilterCoefficients& filter) {
  if (!filter.equalizer) return;
  block.Append(filter.iir_words, IirWords(filter.iir_order));
  if (filter.fir_length > 0) block.Append(filter.fir_words, FirWords(filter.fir_length));
}

}  // namespace

std::size_t IirWords(std::int32_t order) { return FilterWords(ButterworthSections(order)); }

std::size_t FirWords(std::int32_t length) {
  return length > 0 ? static_cast<std::size_t>(length) + 4 : 0;
}

std::vector<std::int32_t> DesignHighPass(float frequency, std::int32_t order,
                                         std::int32_t sample_rate) {
  const std::size_t sections = ButterworthSections(order);
  std::vector<std::int32_t> words(FilterWords(sections));
  std::vector<std::byte> workspace(FilterWorkspace(sections));
  const bool designed =
      frequency > 0 && DesignButterworth32(frequency, order, sample_rate, kButterworthHighPass,
                                           words.data(), workspace.data()) == kFilterOk;
  if (!designed) words.clear();
  return words;
}

void VerifyFilterOrder(std::int64_t value, std::int64_t minimum, std::int64_t maximum) {
  if (value < minimum || value > maximum)
    throw IntelException("VerifyFilterOrder()", "filter order out of range");
}

void VerifyPointers(const void* destination, const void* source) {
  if (destination == nullptr || source == nullptr)
    throw IntelException("VerifyPointers()", "pointers are null");
  if (destination == source)
    throw IntelException("VerifyPointers()", "both pointers are identical");
}

FilterBlock MakeLeftFilterBlock(const FilterCoefficients& filter) {
  if (filter.high_pass)
    VerifyFilterOrder(filter.high_pass_order, kFewestHighPassOrder, kMostHighPassOrder);
  VerifyOrders(filter);
  BlockBuilder block(kLeftFilterCapacity);
  block.Append(filter.high_pass ? 1 : 0);
  block.Append(filter.high_pass ? filter.high_pass_order : 0);
  block.Append(1);
  AppendEqualizerHeader(block, filter);
  if (filter.high_pass) block.Append(filter.high_pass_words, IirWords(filter.high_pass_order));
  AppendEqualizer(block, filter);
  return block.Finish(kLeftFilterTrailer);
}

FilterBlock MakeRightFilterBlock(const FilterCoefficients& filter) {
  VerifyOrders(filter);
  BlockBuilder block(kRightFilterCapacity);
  AppendEqualizerHeader(block, filter);
  AppendEqualizer(block, filter);
  return block.Finish(kRightFilterTrailer);
}

}  // namespace orv
