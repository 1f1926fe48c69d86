// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "Common_Math/src/MathBase.h"
#include "Common_Math/src/MathValue.h"
#include "platform/components/GUI_AbleRegistration.h"
#include "platform/components/ItemNamer.h"
#include "platform/records/Records.h"

namespace Lumenar {

/// The points of a result: the samples of a trace, 1 of a scalar.
inline CORBA::ULong PointsOf(const Corvanta::BASIC_TRACE::BT_DATA& trace) { return trace.samples.length(); }
inline CORBA::ULong PointsOf(const Corvanta::VALUE_DOUBLE::VALUE&) { return 1; }

/// The reading class of a record type; one specialisation for each type of result.
template <class T>
class ValReadingMap;

/// A math object with its output: the reading "RESULT", whose value is the type's default until the first result.
template <class T, class Reading>
class MathBaseTemplate : virtual public MathBase {
 public:
  MathBaseTemplate(Corvanta::ItemNamer& namer, GUI_AbleRegistration& gui)
      : result_(namer, gui, "RESULT", f_DefaultVal<T>()) {}

  Corvanta::EngineReadingBase_ptr AttrResult() override {
    RequireOpen();
    return result_._this();
  }

  void Describe(Corvanta::MathFactory::MathStatus& status) override {
    MathBase::Describe(status);
    status.result = AttrResult();
    status.result_info = result_.Info();
    status.result_topic = result_.GetDDS_Topic().c_str();
  }

  void Describe(Corvanta::MathFactory::MathReport& report) override {
    MathBase::Describe(report);
    report.result_topic = result_.GetDDS_Topic().c_str();
    report.result_kind = result_.Kind().type_name;
    result_.LookAt([&report](const T& present) {
      report.units = present.units;
      report.points = report.results == 0 ? 0 : PointsOf(present);
    });
  }

 protected:
  ~MathBaseTemplate() override = default;

  /// Stores and publishes a result; one that is given up is not copied.
  void SetResult(const MathValue<T>& value) {
    CountResult();
    result_ = value.ToRecord();
  }
  void SetResult(MathValue<T>&& value) {
    CountResult();
    result_ = std::move(value).ToRecord();
  }

  /// The present RESULT, read back.
  MathValue<T> GetResult() const { return result_.GetValue(); }

  void CloseParts() noexcept override { result_.Close(); }

 private:
  Reading result_;
};

}  // namespace Lumenar
