// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/Builders.h"

#include <boost/scoped_ptr.hpp>
#include <string>
#include <vector>

#include "Common_Math/src/Average.h"
#include "Common_Math/src/MathBaseBasicTrace.h"
#include "Common_Math/src/MathBaseValueDouble.h"
#include "Common_Math/src/Peak.h"
#include "Common_Math/src/SimpleOp2.h"
#include "Common_Math/src/SimpleOp3.h"
#include "platform/base/Diagnostic.h"
#include "platform/wire/record_kinds.h"

namespace Lumenar {
namespace {

using Corvanta::RecordKind;
using Corvanta::BASIC_TRACE::BT_DATA;
using Corvanta::MathFactory::MathFactoryException;
using Corvanta::MathFactory::ReadingAttribSeq;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

constexpr const char* kBuildersPath = "Common_Math/src/MathFactory_i";

constexpr const char* kCumulativeAddName = "CumulativeAdd";

enum Kind { kLong = 0, kValueDouble = 1, kBasicTrace = 2 };

/// Before any call to an input.
void RequireCount(const ReadingAttribSeq& attribs, CORBA::ULong count, const char* builder, const char* sentence) {
  if (attribs.length() == count) return;
  Diagnose(kBuildersPath, builder, " Error: attribs length != ", count);
  throw MathFactoryException(sentence);
}

std::vector<int> KindsOf(const ReadingAttribSeq& attribs) {
  std::vector<int> kinds;
  for (CORBA::ULong i = 0; i < attribs.length(); ++i) kinds.push_back(GetType(attribs[i]));
  return kinds;
}

[[noreturn]] void RefuseKinds(const char* builder, const std::vector<int>& kinds) {
  std::string codes;
  for (const int kind : kinds) codes += (codes.empty() ? "" : ", ") + std::to_string(kind);
  Diagnose(kBuildersPath, builder, kinds.size() == 1 ? " Error: Invalid type: " : " Error: Invalid types: ", codes);
  throw MathFactoryException("Invalid attrib types");
}

using Kinds = std::vector<int>;

/// An operation of two inputs: what tells it from the others. Another one takes a constant of this kind and its row in
/// kOperations.
struct TwoInputOperation {
  const char* name;            // as TYPE and objects tell it
  const char* builder;         // in diagnostic lines
  const char* count_sentence;  // for another number of inputs
  SimpleOp2<Scalar, Scalar, Scalar>::Operation of_scalars;
  SimpleOp2<BT_DATA, BT_DATA, BT_DATA>::Operation of_traces;
  TwoInputRule rule;
};

bool IsOfDimension(const Value::Value_exception& refusal) noexcept {
  return dynamic_cast<const Value::UnitDimensionNotSame*>(&refusal) != nullptr;
}

bool IsOfUnits(const Value::Value_exception& refusal) noexcept {
  return IsOfDimension(refusal) || dynamic_cast<const Value::MissingUnitInFirstParameter*>(&refusal) != nullptr ||
         dynamic_cast<const Value::OperationNotValid*>(&refusal) != nullptr;
}

constexpr TwoInputOperation kSubtract{
    .name = "Subtract",
    .builder = "CreateSubtract",
    .count_sentence = "Subtract requires exactly two attributes.",
    .of_scalars = &operator-<Scalar>,
    .of_traces = &operator-<BT_DATA>,
    .rule = {.linear_operands = true, .is_silent = IsOfDimension},
};

constexpr TwoInputOperation kRelativeSubtract{
    .name = "RelativeSubtract",
    .builder = "CreateRelativeSubtract",
    .count_sentence = "Relative Subtract requires exactly two attributes.",
    .of_scalars = &RelativeSub<Scalar>,
    .of_traces = &RelativeSub<BT_DATA>,
    .rule = {.linear_operands = false, .is_silent = IsOfUnits},
};

template <class T>
boost::shared_ptr<MathBase> OwnTwoInput(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                        const ReadingAttribSeq& attribs, const TwoInputOperation& operation,
                                        typename SimpleOp2<T, T, T>::Operation function) {
  return MathBase::Own(
      new SimpleOp2<T, T, T>(namer, gui, operation.name, function, attribs[0], attribs[1], operation.rule));
}

template <const TwoInputOperation& kOperation>
boost::shared_ptr<MathBase> CreateTwoInput(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                           const ReadingAttribSeq& attribs) {
  RequireCount(attribs, 2, kOperation.builder, kOperation.count_sentence);
  const Kinds kinds = KindsOf(attribs);
  if (kinds == Kinds{kValueDouble, kValueDouble})
    return OwnTwoInput<Scalar>(namer, gui, attribs, kOperation, kOperation.of_scalars);
  if (kinds == Kinds{kBasicTrace, kBasicTrace})
    return OwnTwoInput<BT_DATA>(namer, gui, attribs, kOperation, kOperation.of_traces);
  RefuseKinds(kOperation.builder, kinds);
}

template <template <class, class> class Operation>
boost::shared_ptr<MathBase> CreateOneInput(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                           const ReadingAttribSeq& attribs, const char* builder) {
  // One sentence for both builders: it names Average also where a Peak is refused.
  RequireCount(attribs, 1, builder, "Average requires exactly one attribute.");
  const Kinds kinds = KindsOf(attribs);
  if (kinds[0] == kValueDouble) return MathBase::Own(new Operation<Scalar, Scalar>(namer, gui, attribs[0]));
  if (kinds[0] == kBasicTrace) return MathBase::Own(new Operation<BT_DATA, BT_DATA>(namer, gui, attribs[0]));
  RefuseKinds(builder, kinds);
}

constexpr OperationRow kOperations[] = {
    {kSubtract.name, CreateSubtract}, {kRelativeSubtract.name, CreateRelativeSubtract}, {kAverageName, CreateAverage},
    {kPeakName, CreatePeak},          {kCumulativeAddName, CreateCumulativeAdd},
};

}  // namespace

std::span<const OperationRow> Operations() noexcept { return kOperations; }

int GetType(Corvanta::EngineReadingBase_ptr reading) {
  const boost::scoped_ptr<Corvanta::TypeInfo> info(reading->CORBA_Type());
  const std::string type_name = info->type_name.in();
  if (type_name == RecordKind<CORBA::Long>::kTypeName) return kLong;
  if (type_name == RecordKind<Scalar>::kTypeName) return kValueDouble;
  if (type_name == RecordKind<BT_DATA>::kTypeName) return kBasicTrace;
  const std::string name = info->name.in();
  Diagnose(kBuildersPath, "GetType", " Error: Invalid attrib type: ", name);
  throw MathFactoryException(("Invalid Attrib Type: " + name).c_str());
}

boost::shared_ptr<MathBase> CreateSubtract(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                           const ReadingAttribSeq& attribs) {
  return CreateTwoInput<kSubtract>(namer, gui, attribs);
}

boost::shared_ptr<MathBase> CreateRelativeSubtract(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                                   const ReadingAttribSeq& attribs) {
  return CreateTwoInput<kRelativeSubtract>(namer, gui, attribs);
}

boost::shared_ptr<MathBase> CreateAverage(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                          const ReadingAttribSeq& attribs) {
  return CreateOneInput<Average>(namer, gui, attribs, "CreateAverage");
}

boost::shared_ptr<MathBase> CreatePeak(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                       const ReadingAttribSeq& attribs) {
  return CreateOneInput<Peak>(namer, gui, attribs, "CreatePeak");
}

boost::shared_ptr<MathBase> CreateCumulativeAdd(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                                const ReadingAttribSeq& attribs) {
  RequireCount(attribs, 3, "CreateCumulativeAdd", "Cumulative Add requires exactly three attributes.");
  const Kinds kinds = KindsOf(attribs);
  if (kinds != Kinds{kBasicTrace, kLong, kLong}) RefuseKinds("CreateCumulativeAdd", kinds);
  return MathBase::Own(new SimpleOp3<BT_DATA, int, int, Scalar>(
      namer, gui, kCumulativeAddName, &CumulativeAdd<Scalar, BT_DATA, int, int>, attribs[0], attribs[1], attribs[2]));
}

}  // namespace Lumenar
