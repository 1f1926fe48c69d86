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

namespace Lumenar {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using Corvanta::MathFactory::MathFactoryException;
using Corvanta::MathFactory::ReadingAttribSeq;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

constexpr const char* kBuildersPath = "Common_Math/src/MathFactory_i";

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

/// What tells Subtract and RelativeSubtract apart.
struct TwoInputNames {
  const char* builder;
  const char* count_sentence;
  const char* type;
};

boost::shared_ptr<MathBase> CreateTwoInput(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                           const ReadingAttribSeq& attribs, const TwoInputNames& names,
                                           SimpleOp2<Scalar, Scalar, Scalar>::Operation scalar_op,
                                           SimpleOp2<BT_DATA, BT_DATA, BT_DATA>::Operation trace_op) {
  RequireCount(attribs, 2, names.builder, names.count_sentence);
  const Kinds kinds = KindsOf(attribs);
  if (kinds == Kinds{kValueDouble, kValueDouble}) {
    return MathBase::Own(
        new SimpleOp2<Scalar, Scalar, Scalar>(namer, gui, names.type, scalar_op, attribs[0], attribs[1]));
  }
  if (kinds == Kinds{kBasicTrace, kBasicTrace}) {
    return MathBase::Own(
        new SimpleOp2<BT_DATA, BT_DATA, BT_DATA>(namer, gui, names.type, trace_op, attribs[0], attribs[1]));
  }
  RefuseKinds(names.builder, kinds);
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

}  // namespace

int GetType(Corvanta::EngineReadingBase_ptr reading) {
  const boost::scoped_ptr<Corvanta::TypeInfo> info(reading->CORBA_Type());
  const std::string type_name = info->type_name.in();
  if (type_name == "long") return kLong;
  if (type_name == "ValueDouble") return kValueDouble;
  if (type_name == "BasicTrace") return kBasicTrace;
  const std::string name = info->name.in();
  Diagnose(kBuildersPath, "GetType", " Error: Invalid attrib type: ", name);
  throw MathFactoryException(("Invalid Attrib Type: " + name).c_str());
}

boost::shared_ptr<MathBase> CreateSubtract(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                           const ReadingAttribSeq& attribs) {
  const TwoInputNames names{"CreateSubtract", "Subtract requires exactly two attributes.", "Subtract"};
  return CreateTwoInput(namer, gui, attribs, names, &operator-<Scalar>, &operator-<BT_DATA>);
}

boost::shared_ptr<MathBase> CreateRelativeSubtract(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui,
                                                   const ReadingAttribSeq& attribs) {
  const TwoInputNames names{"CreateRelativeSubtract", "Relative Subtract requires exactly two attributes.",
                            "RelativeSubtract"};
  return CreateTwoInput(namer, gui, attribs, names, &RelativeSub<Scalar>, &RelativeSub<BT_DATA>);
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
      namer, gui, "CumulativeAdd", &CumulativeAdd<Scalar, BT_DATA, int, int>, attribs[0], attribs[1], attribs[2]));
}

}  // namespace Lumenar
