#include "dsp_math/transform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <memory>
#include <numbers>
#include <numeric>
#include <random>
#include <vector>

#include "dsp_math/transform_kernels.h"

namespace orv {
namespace {

constexpr std::uint32_t kSizes[] = {32, 64, 128, 256, 512, 1024, 2048, 4096};

// A registered plan with an instance of it.
class Transform {
 public:
  explicit Transform(std::uint32_t size, std::uint32_t type = 1) : plan_({size, type}) {
    EXPECT_EQ(plan_.status(), kTransformOk);
    EXPECT_EQ(CreateTransformInstance(&instance_, memory_.data(), {size, type}), kTransformOk);
  }
  const TransformInstance& instance() const { return *instance_; }
  std::vector<float> operator()(const std::vector<float>& input) const {
    std::vector<float> output(input.size(), -77);
    RealTransform(*instance_, input.data(), output.data());
    return output;
  }

 private:
  RegisteredTransform plan_;
  std::array<char, 48> memory_{};
  TransformInstance* instance_ = nullptr;
};

// The discrete Fourier transform as it is defined, in halfcomplex order and divided by the size.
std::vector<long double> Definition(const std::vector<float>& input) {
  const std::size_t size = input.size();
  std::vector<long double> cosines(size);
  for (std::size_t n = 0; n < size; ++n)
    cosines[n] = std::cos(2 * std::numbers::pi_v<long double> * static_cast<long double>(n) /
                          static_cast<long double>(size));
  std::vector<long double> output(size);
  for (std::size_t i = 0; i < size; ++i) {
    const bool imaginary = i > size / 2;  // the sine, a cosine three quarters further on
    const std::size_t bin = imaginary ? size - i : i;
    std::size_t turn = imaginary ? 3 * size / 4 : 0;
    for (std::size_t n = 0; n < size; ++n, turn = (turn + bin) % size)
      output[i] += input[n] * cosines[turn];
    output[i] /= static_cast<long double>(size);
  }
  return output;
}

double RelativeError(const std::vector<float>& output, const std::vector<long double>& expected) {
  double error = 0;
  double power = 0;
  for (std::size_t i = 0; i < output.size(); ++i) {
    const auto difference = static_cast<double>(output[i] - expected[i]);
    error += difference * difference;
    power += static_cast<double>(expected[i]) * static_cast<double>(expected[i]);
  }
  return std::sqrt(error / power);
}

std::vector<float> Noise(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> sample(-1, 1);
  std::vector<float> noise(size);
  std::generate(noise.begin(), noise.end(), [&] { return sample(random); });
  return noise;
}

TEST(Transform, MatchesTheDefinitionForEverySizeTypeAndKernel) {
  for (const std::uint32_t size : kSizes) {
    std::vector<float> impulse(size);
    impulse[5] = 1;
    for (const auto& input : {Noise(size, size), impulse, std::vector<float>(size, 1.0F)}) {
      const auto expected = Definition(input);
      for (const std::uint32_t type : {0U, 1U}) {
        const Transform transform(size, type);
        const auto output = transform(input);
        EXPECT_LT(RelativeError(output, expected), 2e-7) << size;
        auto in_place = input;
        RealTransform(transform.instance(), in_place.data(), in_place.data());
        EXPECT_EQ(in_place, output);
      }
      for (const NamedTransformKernel* kernel = AvailableTransformKernels();
           kernel->kernel != nullptr; ++kernel) {
        std::vector<float> output(size, -77);
        kernel->kernel(input.data(), output.data(), size);
        EXPECT_LT(RelativeError(output, expected), 2e-7) << kernel->name << ' ' << size;
      }
    }
  }
}

TEST(Transform, SwapListReversesTheBitsOfEveryIndex) {
  for (const std::uint32_t size : kSizes) {
    const Transform transform(size);
    const std::uint32_t* list = transform.instance().swap_list;
    const auto* pairs = reinterpret_cast<const std::uint16_t*>(list + 1);
    std::vector<unsigned> order(size);
    std::iota(order.begin(), order.end(), 0U);
    for (std::uint32_t i = 0; i < *list; ++i)
      std::swap(order[pairs[2 * i]], order[pairs[2 * i + 1]]);
    for (unsigned i = 0; i < size; ++i) {
      unsigned reversed = 0;
      for (unsigned bit = 1; bit < size; bit *= 2)
        reversed = 2 * reversed + ((i & bit) != 0 ? 1 : 0);
      ASSERT_EQ(order[i], reversed) << size;
    }
    EXPECT_EQ(*list * 2, size - (1U << ((std::countr_zero(size) + 1) / 2)));
  }
}

std::int32_t TryInstance(const TransformKey& key) {
  alignas(8) std::array<char, 51> memory{};
  auto* instance = reinterpret_cast<TransformInstance*>(&memory);
  const std::int32_t status = CreateTransformInstance(&instance, memory.data() + 3, key);
  EXPECT_EQ(instance != nullptr, status == kTransformOk);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(instance) % 8, 0U);
  return status;
}

TEST(TransformRegistry, SeparatesTypesAndKeepsTheFirstOfTwoPlans) {
  const RegisteredTransform first({1024, 1});
  EXPECT_EQ(TryInstance({1024, 1}), kTransformOk);
  EXPECT_EQ(TryInstance({1024, 0}), kTransformNoPlan);
  std::vector<char> memory(PlanSize(1024), 0x11);
  EXPECT_EQ(RegisterPlan(memory.data(), 1024, 1), kTransformOk);
  EXPECT_EQ(memory, std::vector<char>(PlanSize(1024), 0x11));
  EXPECT_EQ(UnregisterPlan(1024, 1), kTransformOk);
  EXPECT_EQ(TryInstance({1024, 1}), kTransformNoPlan);
}

TEST(TransformRegistry, RefusesWhatHasNoPlan) {
  std::vector<char> memory(20000);
  for (const auto& [size, type] :
       {std::pair{1000U, 1U}, {16U, 1U}, {8192U, 1U}, {0U, 0U}, {65536U + 32U, 0U}, {1024U, 2U}}) {
    EXPECT_EQ(RegisterPlan(memory.data(), size, type), kTransformBadSize) << size << ' ' << type;
    EXPECT_EQ(PlanSize(size), size == 1024 ? 2104U : 0U);
  }
  EXPECT_EQ(PlanSize(32), 120U);
  EXPECT_EQ(PlanSize(4096), 56U + 8192U);
  EXPECT_LE(sizeof(TransformInstance) + 7, InstanceSize());
}

TEST(TransformRegistry, TenPlansFitAndRemovingOneMovesTheOthersDown) {
  std::vector<std::unique_ptr<RegisteredTransform>> plans;
  for (std::uint32_t i = 0; i < 10; ++i) {
    plans.push_back(std::make_unique<RegisteredTransform>(TransformKey{kSizes[i % 8], i / 8}));
    ASSERT_EQ(plans.back()->status(), kTransformOk);
  }
  EXPECT_EQ(RegisteredTransform({4096, 1}).status(), kTransformRegistryFull);
  EXPECT_EQ(RegisteredTransform({32, 0}).status(), kTransformOk);  // there already
  EXPECT_EQ(TryInstance({32, 0}), kTransformNoPlan);               // and now gone
  EXPECT_EQ(TryInstance({64, 0}), kTransformOk);
  EXPECT_EQ(TryInstance({64, 1}), kTransformOk);
  EXPECT_EQ(RegisteredTransform({4096, 1}).status(), kTransformOk);
}

}  // namespace
}  // namespace orv
