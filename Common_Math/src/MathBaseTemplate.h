// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "Common_Math/src/MathBase.h"
#include "Common_Math/src/MathValue.h"
#include "platform/components/GUI_AbleRegistration.h"
#include "platform/components/ItemNamer.h"
#include "platform/records/Records.h"

namespace Lumenar {

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

 protected:
  ~MathBaseTemplate() override = default;

  /// Stores and publishes a result; one that is given up is not copied.
  void SetResult(const MathValue<T>& value) { result_ = value.ToRecord(); }
  void SetResult(MathValue<T>&& value) { result_ = std::move(value).ToRecord(); }

  /// The present RESULT, read back.
  MathValue<T> GetResult() const { return result_.GetValue(); }

  void CloseParts() noexcept override { result_.Close(); }

 private:
  Reading result_;
};

}  // namespace Lumenar
