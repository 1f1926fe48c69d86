// SPDX-License-Identifier: Apache-2.0
#include "instruments/sim/Waveform.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Lumenar::Sim {
namespace {

constexpr std::uint64_t kGolden = 0x9e3779b97f4a7c15;

std::uint64_t Mix(std::uint64_t z) {
  z ^= z >> 30;
  z *= 0xbf58476d1ce4e5b9;
  z ^= z >> 27;
  z *= 0x94d049bb133111eb;
  return z ^ (z >> 31);
}

double FromHash(std::uint64_t hash) { return std::ldexp(static_cast<double>(hash >> 11), -52) - 1; }

}  // namespace

Waveform::Waveform(const WaveForm& form) : form_(form) {
  form_.period = std::max(form_.period, std::uint32_t{1});
  if (!IsCyclic()) return;
  cycle_.reserve(form_.period);
  for (std::uint32_t phase = 0; phase < form_.period; ++phase) {
    cycle_.push_back(form_.offset + form_.amplitude * OfPhase(phase));
  }
}

std::uint64_t Waveform::Hash(std::uint64_t seed, std::uint64_t n, std::uint64_t i) {
  return Mix(Mix(Mix(seed + kGolden) + n + kGolden) + i + kGolden);
}

bool Waveform::IsCyclic() const {
  return form_.wave == Wave::Ramp || form_.wave == Wave::Sine || form_.wave == Wave::Square;
}

double Waveform::OfPhase(std::uint32_t phase) const {
  const double turn = static_cast<double>(phase) / form_.period;
  if (form_.wave == Wave::Ramp) return turn;
  if (form_.wave == Wave::Sine) return std::sin(2 * std::numbers::pi * phase / form_.period);
  return std::uint64_t{2} * phase < form_.period ? 1 : -1;
}

double Waveform::At(std::uint64_t n, std::uint32_t i) const {
  if (IsCyclic()) return cycle_[(n % form_.period + i % form_.period) % form_.period];
  double w = 0;
  if (form_.wave == Wave::Count) w = static_cast<double>(n);
  if (form_.wave == Wave::Noise) w = FromHash(Hash(form_.seed, n, i));
  return form_.offset + form_.amplitude * w;
}

void Waveform::Fill(std::uint64_t n, std::span<float> points) const {
  std::uint32_t i = 0;
  for (float& point : points) point = static_cast<float>(At(n, i++));
}

}  // namespace Lumenar::Sim
