// SPDX-License-Identifier: Apache-2.0
// The decibel kernels on a trace of 10,001 points, beside the loop over the C library's function that they replace and
// beside VOLK, where it is installed; and how many results of those two are not the correctly rounded ones.
#include <benchmark/benchmark.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "bench/Comparisons.h"
#include "bench/Figures.h"
#include "platform/value/decibel_kernels.h"
#include "platform/value/decibel_paths.h"
#if LUMENAR_HAVE_VOLK
#include <volk/volk.h>
#endif

namespace Lumenar::Bench {
namespace {

using Value::Detail::Kernel_path;

constexpr std::size_t kPoints = 10001;
constexpr double kNanosecondsPerPoint = 1e9 / kPoints;

using Numbers = std::vector<float>;
using Conversion = void (*)(const float* in, float* out);

/// Levels as a spectrum has them.
const Numbers& Levels() {
  static const Numbers numbers = [] {
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> level(-120.0f, 30.0f);
    Numbers levels(kPoints);
    for (float& number : levels) number = level(generator);
    return levels;
  }();
  return numbers;
}

const Numbers& Powers() {
  static const Numbers numbers = [] {
    Numbers powers(kPoints);
    Value::Decibel_to_linear(Levels().data(), powers.data(), kPoints, 1);
    return powers;
  }();
  return numbers;
}

void LibraryToDecibel(const float* in, float* out) {
  for (std::size_t i = 0; i < kPoints; ++i) out[i] = static_cast<float>(10.0 * static_cast<double>(std::log10(in[i])));
}

void LibraryToLinear(const float* in, float* out) {
  for (std::size_t i = 0; i < kPoints; ++i) {
    out[i] = static_cast<float>(std::pow(10.0, static_cast<double>(in[i] / 10.0f)));
  }
}

#if LUMENAR_HAVE_VOLK
constexpr const char* kVolk = "VOLK";
const Conversion kVolkToDecibel = [](const float* in, float* out) {
  volk_32f_log2_32f(out, in, kPoints);
  volk_32f_s32f_multiply_32f(out, out, 3.01029995664f, kPoints);
};
const Conversion kVolkToLinear = [](const float* in, float* out) {
  static const Numbers ten(kPoints, 10.0f);
  volk_32f_s32f_multiply_32f(out, in, 0.1f, kPoints);
  volk_32f_x2_pow_32f(out, out, ten.data(), kPoints);
};
#else
constexpr const char* kVolk = "VOLK (not installed: libvolk2-dev)";
constexpr Conversion kVolkToDecibel = nullptr;
constexpr Conversion kVolkToLinear = nullptr;
#endif

/// The conversion of `in`, into an array of its own; nothing for a peer that is not there.
std::function<void()> Work(const Numbers& in, std::function<void(const float*, float*)> conversion) {
  if (!conversion) return {};
  return [&in, conversion, out = std::make_shared<Numbers>(kPoints)] {
    conversion(in.data(), out->data());
    benchmark::DoNotOptimize(out->data());
  };
}

struct Path {
  Kernel_path path;
  const char* name;
  std::optional<double> to_decibel;  // how many times as fast as the C library
  std::optional<double> to_linear;
};

const Path kPaths[] = {{Kernel_path::baseline, "baseline", {}, {}},
                       {Kernel_path::avx2, "AVX2", 5.0, 6.0},
                       {Kernel_path::avx512, "AVX-512", 7.0, 9.5}};

std::vector<Comparison> Comparisons() {
  std::vector<Comparison> all;
  const auto add = [&](const std::string& figure, auto subject, auto limit, std::optional<double> target) {
    all.push_back({figure, "ns/point", kNanosecondsPerPoint, subject, limit, target, true});
  };
  for (const auto& [path, name, to_decibel, to_linear] : kPaths) {
    if (!Value::Detail::Is_available(path)) continue;
    const auto decibel = [p = path](const float* in, float* out) {
      Value::Detail::Linear_to_decibel(p, in, out, kPoints, 1);
    };
    const auto linear = [p = path](const float* in, float* out) {
      Value::Detail::Decibel_to_linear(p, in, out, kPoints, 1);
    };
    const std::string with = std::string(", ") + name + ", faster than ";
    add("linear to dB" + with + "the C library's loop", Work(Powers(), decibel), Work(Powers(), LibraryToDecibel),
        to_decibel);
    add("dB to linear" + with + "the C library's loop", Work(Levels(), linear), Work(Levels(), LibraryToLinear),
        to_linear);
    add("linear to dB" + with + kVolk, Work(Powers(), decibel), Work(Powers(), kVolkToDecibel), {});
    add("dB to linear" + with + kVolk, Work(Levels(), linear), Work(Levels(), kVolkToLinear), {});
  }
  return all;
}

/// Results that are not the correctly rounded ones, which the one-sample functions give (see scripts/verify-kernels).
Figure Wrong(const std::string& figure, const Numbers& in, float (*rule)(float, double) noexcept, Conversion conversion,
             std::optional<double> target) {
  if (conversion == nullptr) return {figure, {}, "results", {}, {}, {}, {}};
  Numbers out(kPoints);
  conversion(in.data(), out.data());
  int wrong = 0;
  for (std::size_t i = 0; i < kPoints; ++i) {
    wrong += std::bit_cast<std::uint32_t>(out[i]) != std::bit_cast<std::uint32_t>(rule(in[i], 1)) ? 1 : 0;
  }
  return Plain(figure, wrong, "results", target);
}

std::vector<Figure> WrongResults() {
  const std::string decibel = "linear to dB, wrong of 10001 results of ";
  const std::string linear = "dB to linear, wrong of 10001 results of ";
  const Conversion our_decibel = [](const float* in, float* out) { Value::Linear_to_decibel(in, out, kPoints, 1); };
  const Conversion our_linear = [](const float* in, float* out) { Value::Decibel_to_linear(in, out, kPoints, 1); };
  return {Wrong(decibel + "the kernel", Powers(), Value::Linear_to_decibel, our_decibel, 0),
          Wrong(decibel + "the C library", Powers(), Value::Linear_to_decibel, LibraryToDecibel, {}),
          Wrong(decibel + kVolk, Powers(), Value::Linear_to_decibel, kVolkToDecibel, {}),
          Wrong(linear + "the kernel", Levels(), Value::Decibel_to_linear, our_linear, 0),
          Wrong(linear + "the C library", Levels(), Value::Decibel_to_linear, LibraryToLinear, {}),
          Wrong(linear + kVolk, Levels(), Value::Decibel_to_linear, kVolkToLinear, {})};
}

}  // namespace
}  // namespace Lumenar::Bench

int main(int argc, char** argv) {
  using namespace Lumenar::Bench;
  try {
    RunComparisons(argc, argv, Comparisons());
    Report(WrongResults());
  } catch (const std::exception& failure) {
    std::cerr << "kernels_benchmark: " << failure.what() << std::endl;
    return 1;
  }
}
