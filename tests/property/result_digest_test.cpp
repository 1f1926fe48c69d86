// SPDX-License-Identifier: Apache-2.0
// One digest of what all trace operations give in all unit forms: the same on every processor, in every build and on
// every path of the kernels. Another digest means other bits in results.
#include <gtest/gtest.h>

#include "Common_Math/src/RunningMean.h"
#include "tests/support/trace_steps.h"

namespace Lumenar::Test {
namespace {

using Sample = Value::Value_object<float>;

/// FNV-1a, 64 bits, with the upper half of the sum mixed into the lower: a product carries differences upwards only, so
/// that of numbers with another sign, their uppermost bit, any two would make up for each other.
class Digest {
 public:
  void Add(std::uint64_t number) {
    sum_ = (sum_ ^ number) * 0x100000001b3;
    sum_ ^= sum_ >> 32;
  }

  void Add(const std::string& text) {
    for (const char letter : text) Add(static_cast<unsigned char>(letter));
  }

  void Add(const Value::Units& units) {
    Add(units.is_dB ? 1u : 0u);
    Add(static_cast<std::uint32_t>(units.base_power));
    for (const auto& slot : units.slots) {
      Add(static_cast<std::uint32_t>(slot.unit));
      Add(static_cast<std::uint32_t>(slot.exponent));
    }
  }

  void Add(const MathTrace& trace) {
    Add(VALUE::UnitsFromCorba(trace.record.units));
    for (CORBA::ULong i = 0; i < trace.record.samples.length(); ++i) Add(Bits(trace.record.samples[i]));
  }

  void Add(const Sample& value) {
    for (const float number : {value.Get_value(), value.Get_minus_err(), value.Get_plus_err()}) Add(Bits(number));
    Add(value.Get_unit());
  }

  std::uint64_t Sum() const { return sum_; }

 private:
  std::uint64_t sum_ = 0xcbf29ce484222325;
};

/// How a step ended, in words that do not depend on the compiler.
std::string Ending(const std::function<std::string()>& step) {
  try {
    return step();
  } catch (const Corvanta::MathFactory::MathFactoryException& refusal) {
    return refusal.text.in();
  } catch (const CORBA::SystemException& failure) {
    return failure._name();
  } catch (const std::out_of_range& failure) {
    return failure.what();
  } catch (const std::exception&) {
    return "refused";
  }
}

/// Each operation on each pair of unit forms, with another length each time, and the values of the samples after it.
void AddAllOperations(Digest& digest) {
  static constexpr int kLongest = 67;
  RandomTraces random(20260101);
  const std::vector<Value::Units> forms = UnitForms();
  int size = 0;
  for (int operation = 0; operation < kOperations; ++operation) {
    for (const Value::Units& form : forms) {
      for (const Value::Units& other_form : forms) {
        size = size == kLongest ? 0 : size + 1;
        MathTrace a(random.Trace(size, form));
        MathTrace b(random.Trace(size, other_form));
        digest.Add(Ending([&] { return Step(operation, a, b, b.record, {3, 1, 60}); }));
        digest.Add(a);
        digest.Add(Ending([&] {
          for (const Sample& value : a.SampleValues()) digest.Add(value);
          return "";
        }));
      }
    }
  }
}

/// Every pair of these numbers, in pairs of traces.
void AddPairs(Digest& digest, const std::vector<float>& numbers) {
  std::vector<float> left;
  std::vector<float> right;
  for (const float number : numbers) {
    left.insert(left.end(), numbers.size(), number);
    right.insert(right.end(), numbers.begin(), numbers.end());
  }
  for (int operation = 0; operation < kOperations; ++operation) {
    for (const Value::Units& units : {Value::C_Watts, InDecibels(Value::C_Watts), Value::C_Empty}) {
      MathTrace a(TraceOf(left, units));
      MathTrace b(TraceOf(right, units));
      digest.Add(Ending([&] { return Step(operation, a, b, b.record, {-3, 0, static_cast<int>(left.size()) - 1}); }));
      digest.Add(a);
    }
  }
}

/// Zeros of both signs and the numbers next to them; apart from those at the other end, for which operations are
/// refused.
void AddSpecialPairs(Digest& digest) {
  using Limits = std::numeric_limits<float>;
  AddPairs(digest,
           {0.0f, -0.0f, Limits::denorm_min(), -Limits::denorm_min(), Limits::min(), -Limits::min(), 1.0f, -1.0f});
  AddPairs(digest, {0.0f, -0.0f, 1.0f, Limits::max(), -Limits::max(), Limits::infinity(), -Limits::infinity(),
                    Limits::quiet_NaN()});
}

/// Long traces through every operation in turn, so that whole blocks of every kernel run.
void AddLongTraces(Digest& digest) {
  RandomTraces random(20260102);
  const std::vector<Value::Units> forms = UnitForms();
  for (int form = 0; form < kPowerForms; ++form) {
    for (const int operation : {0, 1, 2, 3, 4, 5, 6, 7, 8}) {
      MathTrace a(random.Trace(10001, forms[static_cast<std::size_t>(form)]));
      MathTrace b(random.Trace(10001, forms[static_cast<std::size_t>(random.Pick(kPowerForms))]));
      a.UpdateValues();
      digest.Add(Ending([&] { return Step(operation, a, b, b.record, {-7, 0, 10000}); }));
      digest.Add(a);
    }
  }
}

/// Running means, which have a kernel of their own for traces in one linear unit.
void AddMeans(Digest& digest) {
  RandomTraces random(20260103);
  const std::vector<Value::Units> forms = UnitForms();
  for (int form = 0; form < kPowerForms; ++form) {
    const Value::Units& units = forms[static_cast<std::size_t>(form)];
    RunningMean<BT_DATA> history;
    MathTrace mean(random.OrdinaryTrace(1001, units));
    mean.Remove_dB();
    history.Begin(mean);
    for (int sample = 0; sample < 12; ++sample) {
      MathTrace next(random.OrdinaryTrace(1001, units));
      next.Remove_dB();
      history.Continue(mean, std::move(next), 7);
      digest.Add(mean);
    }
  }
}

TEST(ResultDigest, OfAllTraceOperationsIsTheSameEverywhere) {
  CapturedOutput written;
  Digest digest;
  AddAllOperations(digest);
  AddSpecialPairs(digest);
  AddLongTraces(digest);
  AddMeans(digest);
  EXPECT_EQ(digest.Sum(), 0xad4ff646b57575d8u) << std::hex << digest.Sum();
}

}  // namespace
}  // namespace Lumenar::Test
