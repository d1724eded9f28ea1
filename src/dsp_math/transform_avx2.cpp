#include <immintrin.h>

#include "dsp_math/transform_lanes.inc"

namespace orv {
namespace {

template <>
struct Vector<8> {
  typedef float Type __attribute__((vector_size(32)));

  // Exchanges the halves of vectors on the way from memory, which is cheaper than to shuffle them:
  // vectors 0 to 3 get the low halves of all eight, the others the high halves.
  template <int Step>
  static Type LoadRow(const Type* z, int row) noexcept {
    const auto* half = reinterpret_cast<const float*>(z + Step * (row % 4)) + row / 4 * 4;
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_load_ps(half)),
                                _mm_load_ps(half + Step * 4 * 8), 1);
  }
  // Works within halves.
  static void Separate(Type& a, Type& b) noexcept {
    const Type odd = _mm256_shuffle_ps(a, b, 0xDD);
    a = _mm256_shuffle_ps(a, b, 0x88);
    b = odd;
  }
  static void StoreReversed(float* to, const Type& vector) noexcept {
    const Type halves = _mm256_shuffle_ps(vector, vector, 0x1B);
    _mm_storeu_ps(to, _mm256_extractf128_ps(halves, 1));
    _mm_storeu_ps(to + 4, _mm256_castps256_ps128(halves));
  }
};

}  // namespace

void TransformAvx2(const float* input, float* output, std::uint32_t size) {
  size >= 128 ? Lanes<8>::Run(input, output, size) : Lanes<4>::Run(input, output, size);
}

}  // namespace orv
