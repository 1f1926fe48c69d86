// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <span>

#include "Common_Math/src/MathBase.h"
#include "MathFactory.hh"
#include "platform/components/GUI_AbleRegistration.h"
#include "platform/components/ItemNamer.h"

namespace Lumenar {

/// The kind of a reading, as it tells itself by one remote call: 0 long, 1 ValueDouble, 2 BasicTrace.
/// Errors   a diagnostic line and MathFactoryException, both naming the reading, for any other kind; CORBA system
///          exceptions.
int GetType(Corvanta::EngineReadingBase_ptr reading);

/// A builder checks number and kinds of the inputs and builds the operation for them, complete and with its first
/// result.
/// Errors   a diagnostic line and MathFactoryException for inputs that do not fit; CORBA system exceptions; the value
///          library's exceptions from the first computation. Nothing is left behind.
using Builder = boost::shared_ptr<MathBase> (*)(Corvanta::ItemNamer&, GUI_AbleRegistration&,
                                                const Corvanta::MathFactory::ReadingAttribSeq& attribs);

/// An operation as TYPE offers it, and what builds it.
struct OperationRow {
  const char* name;
  Builder builder;
};

/// All operations, each at its number in TYPE.
std::span<const OperationRow> Operations() noexcept;

/// First minus second: two traces or two scalars.
boost::shared_ptr<MathBase> CreateSubtract(Corvanta::ItemNamer&, GUI_AbleRegistration&,
                                           const Corvanta::MathFactory::ReadingAttribSeq& attribs);
/// Level of the first above the second: two traces or two scalars.
boost::shared_ptr<MathBase> CreateRelativeSubtract(Corvanta::ItemNamer&, GUI_AbleRegistration&,
                                                   const Corvanta::MathFactory::ReadingAttribSeq& attribs);
/// Mean of the last samples: one trace or scalar.
boost::shared_ptr<MathBase> CreateAverage(Corvanta::ItemNamer&, GUI_AbleRegistration&,
                                          const Corvanta::MathFactory::ReadingAttribSeq& attribs);
/// Largest value since RESET: one trace or scalar.
boost::shared_ptr<MathBase> CreatePeak(Corvanta::ItemNamer&, GUI_AbleRegistration&,
                                       const Corvanta::MathFactory::ReadingAttribSeq& attribs);
/// Sum over a range: trace, start and stop.
boost::shared_ptr<MathBase> CreateCumulativeAdd(Corvanta::ItemNamer&, GUI_AbleRegistration&,
                                                const Corvanta::MathFactory::ReadingAttribSeq& attribs);

}  // namespace Lumenar
