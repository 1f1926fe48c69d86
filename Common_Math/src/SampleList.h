// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <variant>
#include <vector>

#include "platform/value/Value_object.h"

namespace Lumenar {

/// The values with units of a trace's samples, kept without an object for each sample.
///
/// Nearly always every entry is the record's sample in one unit with one pair of errors: then the list is its length
/// and one form. A peak hold against a trace in another unit makes entries of two forms; only operations on such a
/// list, and failures in the middle of a trace, keep an object for each entry.
class SampleList {
 public:
  using Sample = Value::Value_object<float>;

  std::size_t Size() const noexcept { return size_; }

  /// `size` entries, each its record's sample in `units`, without errors.
  /// Errors   OperationNotValid for malformed units when there are entries; the list has its new length all the same.
  void Refresh(std::size_t size, const Value::Units& units);

  /// Whether every entry is its record's sample in one form.
  bool IsUniform() const noexcept { return departed_ == nullptr; }

  /// Unit and errors of all entries of a uniform list; its number means nothing.
  const Sample& Form() const noexcept { return form_; }

  /// From now on every entry is its record's sample in this form.
  void SetForm(const Sample& form);

  /// From now on entry i is values[i], in other_form where replaced[i] is not 0, else in the form so far.
  void SetPeakHeld(std::vector<float> values, std::vector<unsigned char> replaced, const Sample& other_form);

  /// Entry i; `samples` are those of the record.
  Sample At(std::size_t i, const float* samples) const;

  /// The entries as objects, which the list keeps from now on instead of its form.
  std::vector<Sample>& Objects(const float* samples);

  std::vector<Sample> Copies(const float* samples) const;

 private:
  struct PeakHeld {
    std::vector<float> values;
    std::vector<unsigned char> replaced;
    Sample other_form;
  };

  using Departed = std::variant<PeakHeld, std::vector<Sample>>;

  std::size_t size_ = 0;
  Sample form_;
  std::unique_ptr<Departed> departed_;  ///< null for a uniform list, as nearly all of those are that stay
};

/// A number in the unit and with the errors of `form`.
SampleList::Sample InFormOf(const SampleList::Sample& form, float number);

}  // namespace Lumenar
