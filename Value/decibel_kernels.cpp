#include "Value/decibel_kernels.h"

#include <cmath>
#include <limits>

namespace Lumenar::Value {

namespace {

float Without_payload(float number) noexcept {
  return std::isnan(number) ? std::numeric_limits<float>::quiet_NaN() : number;
}

}  // namespace

float Log10_correctly_rounded(float x) noexcept {
  return Without_payload(static_cast<float>(std::log10(static_cast<long double>(x))));
}

float Linear_to_decibel(float x, double k) noexcept {
  return Without_payload(static_cast<float>(10.0 * k * static_cast<double>(Log10_correctly_rounded(x))));
}

float Decibel_to_linear(float x, double k) noexcept {
  return Without_payload(static_cast<float>(k * std::pow(10.0L, static_cast<long double>(x / 10.0f))));
}

void Linear_to_decibel(const float* in, float* out, std::size_t count, double k) noexcept {
  for (std::size_t i = 0; i < count; ++i) out[i] = Linear_to_decibel(in[i], k);
}

void Decibel_to_linear(const float* in, float* out, std::size_t count, double k) noexcept {
  for (std::size_t i = 0; i < count; ++i) out[i] = Decibel_to_linear(in[i], k);
}

}  // namespace Lumenar::Value
