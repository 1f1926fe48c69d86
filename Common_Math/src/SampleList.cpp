// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/SampleList.h"

#include <utility>

namespace Lumenar {

SampleList::Sample InFormOf(const SampleList::Sample& form, float number) {
  // The larger error first: the constructor's sorting then leaves any pair as it is, also NaN and zeros of both signs.
  return SampleList::Sample(number, form.Get_unit(), form.Get_plus_err(), form.Get_minus_err());
}

void SampleList::Refresh(std::size_t size, const Value::Units& units) {
  size_ = size;
  departed_.reset();
  if (size_ > 0) form_ = Sample(0.0f, units, 0.0f, 0.0f);
}

void SampleList::SetForm(const Sample& form) {
  form_ = form;
  departed_.reset();
}

void SampleList::SetPeakHeld(std::vector<float> values, std::vector<unsigned char> replaced, const Sample& other_form) {
  departed_ = std::make_unique<Departed>(PeakHeld{std::move(values), std::move(replaced), other_form});
}

SampleList::Sample SampleList::At(std::size_t i, const float* samples) const {
  if (IsUniform()) return InFormOf(form_, samples[i]);
  if (const auto* objects = std::get_if<std::vector<Sample>>(departed_.get())) return objects->at(i);
  const auto& held = std::get<PeakHeld>(*departed_);
  return InFormOf(held.replaced.at(i) != 0 ? held.other_form : form_, held.values.at(i));
}

std::vector<SampleList::Sample> SampleList::Copies(const float* samples) const {
  std::vector<Sample> copies;
  copies.reserve(size_);
  for (std::size_t i = 0; i < size_; ++i) copies.push_back(At(i, samples));
  return copies;
}

std::vector<SampleList::Sample>& SampleList::Objects(const float* samples) {
  if (IsUniform() || !std::holds_alternative<std::vector<Sample>>(*departed_))
    departed_ = std::make_unique<Departed>(Copies(samples));
  return std::get<std::vector<Sample>>(*departed_);
}

}  // namespace Lumenar
