#include "dsp_math/elementary.h"
#include "dsp_math/filter_steps.h"

namespace orv {
namespace {

constexpr float kSmallestLargeSize = 275;  // Hz; from here on the resonators lie closer together

struct Resonator {
  double centre;  // Hz
  double gain;    // dB at the centre
  double quality;
};

// The analogue resonator's poles mapped by z = e^(sT), zeros at 0 and half the rate: -G, a1, a2.
void DesignResonator(const Resonator& resonator, std::int32_t sample_rate, bool single_cosine,
                     float* values) {
  const double w = 2 * kPi * resonator.centre / sample_rate;
  const double r = Exponential(-kPi * resonator.centre / (sample_rate * resonator.quality));
  const double theta = __builtin_sqrt(1 - 1 / (4 * resonator.quality * resonator.quality)) * w;
  const double a1 = 2 * r * Cosine(theta);
  const double cosine = single_cosine ? static_cast<float>(Cosine(w)) : Cosine(w);
  const double cosine2 = Cosine(2 * w);
  const double sine2 = Sine(2 * w);
  const double real = cosine2 - a1 * cosine + r * r;
  const double imaginary = sine2 - a1 * Sine(w);
  const double denominator = __builtin_sqrt(real * real + imaginary * imaginary);
  const double numerator = __builtin_sqrt((1 - cosine2) * (1 - cosine2) + sine2 * sine2);
  values[0] = static_cast<float>(-DecibelsToGain(resonator.gain) * denominator / numerator);
  values[1] = static_cast<float>(a1);
  values[2] = static_cast<float>(-r * r);
}

}  // namespace

std::array<float, 8> DesignResonatorSet(float size, std::int32_t sample_rate) {
  const double f = size;
  const bool small = size < kSmallestLargeSize;
  const Resonator first = small ? Resonator{1.01 * f, -2.5, 2.1} : Resonator{1.05 * f, 1.5, 1.77};
  const Resonator second =
      small ? Resonator{1.75 * f, 6.1, 1.34} : Resonator{1.05 * f + 147, 5.4, 1.82};
  std::array<float, 8> values{};
  // Bilinear transform without pre-warping; the corner lies where the magnitude falls by 3 dB.
  const double corner = 2 * kPi * f;
  const double bilinear = 2.0 * sample_rate * __builtin_sqrt(DecibelsToGain(6) - 1);
  values[0] = static_cast<float>(corner / (corner + bilinear));
  values[1] = static_cast<float>((bilinear - corner) / (bilinear + corner));
  DesignResonator(first, sample_rate, true, &values[2]);
  DesignResonator(second, sample_rate, false, &values[5]);
  return values;
}

float AllPassFrequency(float audio_size) {
  const double f = audio_size;
  return static_cast<float>(audio_size < kSmallestLargeSize ? f * 2.835 : f * 1.701 + 283.5);
}

}  // namespace orv
