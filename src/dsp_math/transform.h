// Fast Fourier transform of real input, with plans registered once per process.
//
// A plan for a size N (a power of two from 32 to 4096) and a type (0 or 1) lives in memory of its
// registrant. Instances are light copies of a plan and have no state of their own: two of them may
// transform on different threads. Registration belongs to load and unload and is not synchronised.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace orv {

// Statuses.
inline constexpr std::int32_t kTransformOk = 0;
inline constexpr std::int32_t kTransformBadSize = -995;  // not a size or type that plans exist for
inline constexpr std::int32_t kTransformNoPlan = -996;   // none of this size and type is registered
inline constexpr std::int32_t kTransformRegistryFull = -999;

inline constexpr std::size_t kTransformPlans = 10;  // plans that can be registered at once

struct TransformPlan {
  // The bit reversal: a count, then that many pairs of 16-bit indices. For readers of an instance;
  // the kernels reverse while they load.
  const std::uint32_t* swap_list;
  void* reserved1;
  std::uint32_t size;
  void* reserved2;
  std::uint32_t type;
};

// A copy of a plan's fields. Valid while the plan stays registered and its memory alive.
struct TransformInstance : TransformPlan {};

struct TransformKey {
  std::uint32_t size;
  std::uint32_t type;
};

// The one transform that analysis uses, registered as long as the component is loaded.
inline constexpr TransformKey kAnalysisTransform{1024, 1};

// Bytes a plan needs: 56 + 2N; 0 for a size that no plan exists for.
std::size_t PlanSize(std::uint32_t size);
// Builds a plan in `memory` (PlanSize bytes, any alignment) and registers it. A plan of that size
// and type that is there already stays, and the memory is not touched.
std::int32_t RegisterPlan(void* memory, std::uint32_t size, std::uint32_t type);
// Always 0, whether or not there was such a plan.
std::int32_t UnregisterPlan(std::uint32_t size, std::uint32_t type);

std::size_t InstanceSize();  // 48
// Makes an instance in `memory` (InstanceSize bytes, any alignment). `instance` is null after a
// failure.
std::int32_t CreateTransformInstance(TransformInstance** instance, void* memory,
                                     const TransformKey& key);

// A plan in memory of its own, registered as long as this lives. One owner to a size and type: the
// destructor unregisters that plan, even one that another registered.
class RegisteredTransform : boost::noncopyable {
 public:
  explicit RegisteredTransform(const TransformKey& key);
  ~RegisteredTransform();

  std::int32_t status() const { return status_; }  // of RegisterPlan

 private:
  TransformKey key_;
  std::unique_ptr<std::byte[]> memory_;
  std::int32_t status_;
};

// Transforms N values; `input` and `output` may be the same buffer, but not overlap otherwise. With
// X the discrete Fourier transform of the input: output[k] = Re(X[k])/N for k = 0..N/2, output[N-k]
// = -Im(X[k])/N for k = 1..N/2-1. Never allocates.
void RealTransform(const TransformInstance& instance, const float* input, float* output);

}  // namespace orv
