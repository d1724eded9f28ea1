#include "dsp_math/transform.h"

#include <array>
#include <bit>

#include "dsp_math/transform_kernels.h"

namespace orv {
namespace {

constexpr std::uint32_t kSmallest = 32;
constexpr std::uint32_t kLargest = 4096;
constexpr std::size_t kAlignment = 8;
constexpr std::size_t kMostReversed = 64;  // of half the index bits of the largest size

// Filled from the first slot without gaps.
std::array<const TransformPlan*, kTransformPlans> g_plans{};

bool IsPlanSize(std::uint32_t size) {
  return std::has_single_bit(size) && size >= kSmallest && size <= kLargest;
}

template <class T>
T* Aligned(void* memory) {
  return reinterpret_cast<T*>((reinterpret_cast<std::uintptr_t>(memory) + (kAlignment - 1)) &
                              ~(kAlignment - 1));
}

// Slot of the plan with this size and type, or the first empty one (the number of plans when all
// are taken).
std::size_t FindSlot(std::uint32_t size, std::uint32_t type) {
  std::size_t slot = 0;
  while (slot < g_plans.size() && g_plans[slot] != nullptr &&
         (g_plans[slot]->size != size || g_plans[slot]->type != type)) {
    ++slot;
  }
  return slot;
}

// Writes the pairs of the bit-reversal permutation after their count: with the index split into a
// high part of `k` bits and a low part of the others, reversing swaps the two and reverses each.
void BuildSwapList(std::uint32_t size, std::uint32_t* list) {
  const auto bits = static_cast<unsigned>(std::countr_zero(size));
  const unsigned k = (bits + 1) / 2;
  std::array<std::uint16_t, kMostReversed> reversed{0, 1};
  for (unsigned known = 2; known < (1U << k); known *= 2) {
    for (unsigned i = 0; i < known; ++i) {
      reversed[i] = static_cast<std::uint16_t>(2 * reversed[i]);
      reversed[known + i] = static_cast<std::uint16_t>(reversed[i] + 1);
    }
  }
  auto* pairs = reinterpret_cast<std::uint16_t*>(list + 1);
  const std::uint32_t low = 1U << (bits / 2);
  std::uint32_t count = 0;
  const auto append = [&](std::uint32_t i, std::uint32_t j) {
    pairs[2 * count] = static_cast<std::uint16_t>(i);
    pairs[2 * count + 1] = static_cast<std::uint16_t>(j);
    ++count;
  };
  for (std::uint32_t a = 1; a < low; ++a) {
    append(a, low * reversed[a]);
    for (std::uint32_t b = 1; b < reversed[a]; ++b)
      append(b * low + a, low * reversed[a] + reversed[b]);
  }
  *list = count;
}

// Chosen when the library is loaded.
const TransformKernel g_kernel = AvailableTransformKernels()->kernel;

}  // namespace

std::size_t PlanSize(std::uint32_t size) {
  return IsPlanSize(size) ? 56 + 2 * static_cast<std::size_t>(size) : 0;
}

std::int32_t RegisterPlan(void* memory, std::uint32_t size, std::uint32_t type) {
  if (!IsPlanSize(size) || type > 1) return kTransformBadSize;
  const std::size_t slot = FindSlot(size, type);
  if (slot == g_plans.size()) return kTransformRegistryFull;
  if (g_plans[slot] != nullptr) return kTransformOk;
  auto* plan = Aligned<TransformPlan>(memory);
  auto* list = reinterpret_cast<std::uint32_t*>(plan + 1);
  *plan = {list, nullptr, size, nullptr, type};
  BuildSwapList(size, list);
  g_plans[slot] = plan;
  return kTransformOk;
}

std::int32_t UnregisterPlan(std::uint32_t size, std::uint32_t type) {
  std::size_t slot = FindSlot(size, type);
  if (slot == g_plans.size()) return kTransformOk;
  for (; slot + 1 < g_plans.size(); ++slot) g_plans[slot] = g_plans[slot + 1];
  g_plans[slot] = nullptr;
  return kTransformOk;
}

std::size_t InstanceSize() { return 48; }

std::int32_t CreateTransformInstance(TransformInstance** instance, void* memory,
                                     const TransformKey& key) {
  *instance = nullptr;
  const std::size_t slot = FindSlot(key.size, key.type);
  if (slot == g_plans.size() || g_plans[slot] == nullptr) return kTransformNoPlan;
  auto* made = Aligned<TransformInstance>(memory);
  *static_cast<TransformPlan*>(made) = *g_plans[slot];
  *instance = made;
  return kTransformOk;
}

RegisteredTransform::RegisteredTransform(const TransformKey& key)
    : key_(key),
      memory_(std::make_unique<std::byte[]>(PlanSize(key.size))),
      status_(RegisterPlan(memory_.get(), key.size, key.type)) {}

RegisteredTransform::~RegisteredTransform() {
  if (status_ == kTransformOk) UnregisterPlan(key_.size, key_.type);
}

void RealTransform(const TransformInstance& instance, const float* input, float* output) {
  g_kernel(input, output, instance.size);
}

}  // namespace orv
